#include "DiscoverySwitch.h"

#include "BluezCall.h"

#include <utility>

namespace bt {

DiscoverySwitch::DiscoverySwitch(BluezQt::AdapterPtr adapter)
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
    askBluez({ m_adapter->ubi(), AdapterInterface, method, {} }, this, [this, on](const QDBusError& error) {
        const bool runs = on && (!error.isValid() || m_adapter->isDiscovering());
        if (on && !runs) {
            tellFailure(QStringLiteral("looking for devices"), error);
        }
        answered(on, runs);
    });
}

// A start that fails because it was under way already, or is never answered, may run all the same. What
// cannot be stopped was not running: the adapter went off, or bluetoothd was new.
void DiscoverySwitch::answered(bool on, bool runs)
{
    m_waits = false;
    m_runs = runs;
    if (m_wanted && on) {
        m_wanted = m_runs;
        if (!m_runs) {
            Q_EMIT refused();
        }
    } else if (m_runs != m_wanted) {
        ask();
    }
}

} // namespace bt
