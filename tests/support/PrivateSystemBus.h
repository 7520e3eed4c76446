#pragma once

#include "world/MessageBus.h"

#include <QTemporaryDir>

/// A system bus for this test program and what it starts. Make it before anything asks for the system bus: Qt
/// keeps the first address that it saw.
class PrivateSystemBus
{
public:
    /// What went wrong; empty when the bus is there.
    [[nodiscard]] QString start()
    {
        const QString problem = m_bus.start(world::MessageBus::Kind::System, m_folder.path());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().toLocal8Bit());
        return problem;
    }
    void stop() { m_bus.stop(); }
    [[nodiscard]] QString address() const { return m_bus.address(); }

private:
    QTemporaryDir m_folder;
    world::MessageBus m_bus;
};
