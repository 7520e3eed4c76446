#pragma once

#include "BluetoothIf.h"
#include "world/ChildProcess.h"

#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QSignalSpy>
#include <QTemporaryFile>

/// The running program, and a client that keeps what it tells.
class Bluesim
{
public:
    static QString service() { return QStringLiteral("com.qarn.bluetooth"); }

    /// Fifty times faster than real: an inquiry takes a tenth of a second.
    static constexpr const char* Scale = "50";

    Bluesim()
    {
        registerDaemonTypes();
        if (m_log.open()) {
            m_logPath = m_log.fileName();
        }
    }

    /// @return 0 once it runs; see log() for what it says.
    int start(const QStringList& arguments = { QStringLiteral("TORLO-test\n"), QStringLiteral("1"),
                                               QStringLiteral("1") })
    {
        world::Command command;
        command.arguments = QStringList(QStringLiteral(BLUESIM)) + arguments;
        command.output = m_log.handle();
        return m_process.start(command);
    }

    /// Starts it and waits until the radio is on.
    bool switchOn(const char* scale = Scale)
    {
        qputenv("BLUESIM_TIME_SCALE", scale);
        QDBusServiceWatcher watcher(service(), QDBusConnection::systemBus(),
                                    QDBusServiceWatcher::WatchForRegistration);
        QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
        if (start() != 0 || (registered.isEmpty() && !registered.wait())) {
            return false;
        }
        proxy.reset(new BluetoothIf(service(), QStringLiteral("/com/qarn/Bluetooth"),
                                    QDBusConnection::systemBus(), nullptr));
        QSignalSpy status(proxy.data(), &BluetoothIf::statusChanged);
        while (proxy->status() != 3) {
            if (status.isEmpty() && !status.wait()) {
                return false;
            }
            status.clear();
        }
        QCoreApplication::processEvents(); // signals that came before the answer
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
