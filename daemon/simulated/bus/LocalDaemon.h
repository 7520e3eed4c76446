#pragma once

#include "DaemonService.h"
#include "Result.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace bt {

/// The daemon's D-Bus side as any radio has it, behind the daemon's place on the bus instead of on it: QtDBus
/// answers what a connection asks itself inside of the program, as it would on the bus. There is one in a
/// program.
class LocalDaemon : public QObject
{
    Q_OBJECT

public:
    /// \a radio has to outlive it.
    explicit LocalDaemon(Radio& radio);
    ~LocalDaemon() override;

    /// Answers from now on.
    [[nodiscard]] base::Result<> serve();
    /// \a request has the path, interface, member and arguments that a client chose.
    [[nodiscard]] QDBusMessage answer(const QDBusMessage& request) const;

Q_SIGNALS:
    /// A signal of the daemon's interface.
    void sent(const QString& signal, const QVariantList& arguments);

private Q_SLOTS:
    void relay(const QDBusVariant& value);

private:
    DaemonService m_service;
    QDBusConnection m_line; ///< with no name on the bus
};

} // namespace bt
