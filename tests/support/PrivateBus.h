#pragma once

#include "MessageBus.h"
#include "ProblemOf.h"

#include <QFile>
#include <QTemporaryDir>

/// A bus for this test program and what it starts. Make it before anything asks for the bus: Qt keeps the
/// first address that it saw.
template <world::MessageBus::Kind BusKind>
class PrivateBus
{
public:
    /// What went wrong; empty when the bus is there.
    [[nodiscard]] QString start()
    {
        QFile log(m_folder.filePath("output"));
        QString problem = "a log cannot be written";
        if (log.open(QIODevice::ReadWrite)) {
            problem = problemOf(m_bus.start(BusKind, m_folder.path(), log.handle()));
        }
        if (!problem.isEmpty() && log.seek(0)) {
            problem += '\n' + QString::fromLocal8Bit(log.readAll());
        }
        constexpr bool IsSystem = BusKind == world::MessageBus::Kind::System;
        qputenv(IsSystem ? "DBUS_SYSTEM_BUS_ADDRESS" : "DBUS_SESSION_BUS_ADDRESS",
                m_bus.address().toLocal8Bit());
        return problem;
    }
    void stop() { m_bus.stop(); }
    [[nodiscard]] QString address() const { return m_bus.address(); }
    [[nodiscard]] pid_t pid() const { return m_bus.pid(); }

private:
    QTemporaryDir m_folder;
    world::MessageBus m_bus;
};

using PrivateSystemBus = PrivateBus<world::MessageBus::Kind::System>;
using PrivateSessionBus = PrivateBus<world::MessageBus::Kind::Session>;
