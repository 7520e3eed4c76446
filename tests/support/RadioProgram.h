#pragma once

#include "BluetoothIf.h"
#include "ChildProcess.h"

#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QSignalSpy>
#include <QTemporaryFile>

#include <utility>

/// A running controller program, and a client that keeps what it tells.
class RadioProgram
{
public:
    static QString service() { return QStringLiteral("com.qarn.bluetooth"); }

    explicit RadioProgram(QString program)
        : m_program(std::move(program))
    {
        registerDaemonTypes();
        if (m_log.open()) {
            m_logPath = m_log.fileName();
        }
    }

    /// Returns once it runs; see log() for what it says.
    base::Result<> start(const QStringList& arguments = { QStringLiteral("TORLO-test\n"), QStringLiteral("1"),
                                                          QStringLiteral("1") })
    {
        world::Command command;
        command.arguments = QStringList(m_program) + arguments;
        command.output = m_log.handle();
        return m_process.start(command);
    }

    /// Starts it and waits until it is on the bus.
    bool appear()
    {
        QDBusServiceWatcher watcher(service(), QDBusConnection::systemBus(),
                                    QDBusServiceWatcher::WatchForRegistration);
        QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
        if (!start() || (registered.isEmpty() && !registered.wait())) {
            return false;
        }
        proxy.reset(new BluetoothIf(service(), QStringLiteral("/com/qarn/Bluetooth"),
                                    QDBusConnection::systemBus(), nullptr));
        return true;
    }

    [[nodiscard]] QString log() const
    {
        QFile file(m_logPath);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    world::ChildProcess& process() { return m_process; }

    QScopedPointer<BluetoothIf> proxy;

private:
    QString m_program;
    QTemporaryFile m_log;
    QString m_logPath;
    world::ChildProcess m_process;
};

/// What a change signal carried.
template <typename Type>
Type carried(const QList<QVariant>& signal)
{
    const QVariant value = signal.first().value<QDBusVariant>().variant();
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        return qdbus_cast<Type>(value.value<QDBusArgument>());
    }
    return value.value<Type>();
}

template <typename Type>
QList<Type> allCarried(const QSignalSpy& spy)
{
    QList<Type> values;
    for (const QList<QVariant>& signal : spy) {
        values.append(carried<Type>(signal));
    }
    return values;
}
