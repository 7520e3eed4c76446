#include "DiscoverySwitch.h"

#include "BluezCall.h"

#include <utility>

namespace bt {

DiscoverySwitch::DiscoverySwitch(QString adapter)
    : m_adapter(std::move(adapter))
{
}

void DiscoverySwitch::set(bool on)
{
    m_wanted = on;
    if (!m_waits && m_runs != m_wanted) {
        ask();
    }
}

void DiscoverySwitch::ask()
{
    m_waits = true;
    const bool on = m_wanted;
    const QString method = on ? QStringLiteral("StartDiscovery") : QStringLiteral("StopDiscovery");
    askBluez({ m_adapter, AdapterInterface, method, {} }, this, [this, on](const QDBusError& error) {
        if (on && error.isValid()) {
            tellFailure(QStringLiteral("looking for devices"), error);
        }
        answered(on, error.isValid());
    });
}

// What cannot be stopped was not running: the adapter went off, or bluetoothd was new.
void DiscoverySwitch::answered(bool on, bool failed)
{
    m_waits = false;
    m_runs = on && !failed;
    if (m_wanted && on) {
        m_wanted = m_runs;
        m_runs ? Q_EMIT started() : Q_EMIT refused();
    } else if (m_runs != m_wanted) {
        ask();
    }
}

} // namespace bt
