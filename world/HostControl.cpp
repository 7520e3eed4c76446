#include "HostControl.h"

#include "HostControlNames.h"

#include <csignal>

namespace world {

namespace {

const QLatin1String Connection("bluetoothworld serves hostctl");

} // namespace

HostControl::HostControl(World& world)
    : m_world(world)
    , m_bus(QDBusConnection::connectToBus(world.sessionBusAddress(), Connection))
{
    m_bus.registerObject(QLatin1String(ControlPath), this, QDBusConnection::ExportAllSlots);
    m_bus.registerService(QLatin1String(ControlName));
}

HostControl::~HostControl()
{
    QDBusConnection::disconnectFromBus(Connection);
}

void HostControl::serve(const std::function<base::Result<>()>& request)
{
    // The world runs an event loop until its host is ready.
    if (m_isBusy) {
        sendErrorReply(QDBusError::LimitsExceeded,
                       QStringLiteral("another hostctl is at work in this world; wait for its end"));
        return;
    }
    m_isBusy = true;
    const auto done = request();
    m_isBusy = false;
    if (!done) {
        sendErrorReply(QDBusError::Failed, done.error().text);
    }
}

void HostControl::Start()
{
    serve([this] { return m_world.startHost(); });
}

void HostControl::Stop()
{
    serve([this] {
        m_world.stopHost();
        return base::Result<>();
    });
}

void HostControl::Restart()
{
    serve([this] { return m_world.restartHost(); });
}

void HostControl::Kill()
{
    serve([this] { return m_world.signalHost(SIGKILL).map([this] { m_world.stopHost(); }); });
}

void HostControl::Freeze()
{
    serve([this] { return m_world.signalHost(SIGSTOP); });
}

void HostControl::Thaw()
{
    serve([this] { return m_world.signalHost(SIGCONT); });
}

} // namespace world
