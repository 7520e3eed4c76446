#pragma once

#include "EmulatedControllers.h"
#include "SecondRadio.h"

#include <QDBusContext>
#include <QDBusServer>
#include <QObject>

#include <functional>

/// What radio2 asks for, done by the second radio.
class RadioDriver : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "tov.guest.Radio2")

public:
    /// @param address where radio2 reaches it, as D-Bus writes addresses
    RadioDriver(EmulatedControllers& machine, const QString& address);

    [[nodiscard]] base::Result<> start();

public Q_SLOTS:
    /// @param verb a subcommand of radio2 @param argument its word, or empty
    /// @return what is to be printed
    QString Do(const QString& verb, const QString& argument);

private:
    using Done = base::Result<QString>;
    Done perform(const QString& verb, const QString& argument);
    Done show();
    base::Result<> answerBy(const QString& capability, const QString& pin);
    base::Result<> beLowEnergy(bool shows);
    base::Result<> pair();
    base::Result<> setPresence(bool there);
    /// Ready for a connection from this side.
    base::Result<> setCaller(bool second);

    EmulatedControllers& m_machine;
    SecondRadio m_radio;
    QDBusServer m_server;
    QString m_way = QStringLiteral("code");
    bool m_isBusy = false;
};
