#include "AdapterChoice.h"

#include "Notice.h"

#include <BluezQt/InitManagerJob>

#include <QDBusConnection>
#include <QDBusError>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr auto NextTry = 2s;

/// "/org/bluez/hci2" goes before "/org/bluez/hci10".
bool goesBefore(const BluezQt::AdapterPtr& left, const BluezQt::AdapterPtr& right)
{
    const QString one = left->ubi();
    const QString other = right->ubi();
    return one.size() != other.size() ? one.size() < other.size() : one < other;
}

} // namespace

void AdapterChoice::follow()
{
    // BluezQt would wait for ever.
    if (const QDBusConnection bus = QDBusConnection::systemBus(); !bus.isConnected()) {
        say(QStringLiteral("the machine's system bus, where bluetoothd is, cannot be reached: %1; start both "
                           "and switch the radio on again")
                .arg(bus.lastError().message()));
        return;
    }
    m_manager = std::make_unique<BluezQt::Manager>();
    BluezQt::Manager* const manager = m_manager.get();
    connect(manager, &BluezQt::Manager::adapterAdded, this, &AdapterChoice::choose);
    connect(manager, &BluezQt::Manager::adapterRemoved, this, [this](const BluezQt::AdapterPtr& adapter) {
        if (adapter == m_adapter) {
            lose();
            choose();
        }
    });
    connect(manager, &BluezQt::Manager::operationalChanged, this, [this](bool operational) {
        if (operational) {
            Q_EMIT bluezCame();
        } else {
            lose();
        }
        choose();
    });
    connect(manager, &BluezQt::Manager::bluetoothBlockedChanged, this, &AdapterChoice::blockedChanged);
    askForAdapters();
}

void AdapterChoice::askForAdapters()
{
    BluezQt::InitManagerJob* job = m_manager->init();
    connect(job, &BluezQt::InitManagerJob::result, this, [this](BluezQt::InitManagerJob* done) {
        if (done->error() == BluezQt::InitManagerJob::NoError) {
            choose();
            return;
        }
        say(QStringLiteral("bluetoothd does not tell of its adapters: %1; it does to root and to whoever is "
                           "logged in at the machine")
                .arg(done->errorText()));
        QTimer::singleShot(NextTry, this, &AdapterChoice::follow);
    });
    job->start();
}

void AdapterChoice::choose()
{
    if (m_adapter || m_stopped || !m_manager->isInitialized()) {
        return;
    }
    if (!m_manager->isOperational()) {
        say(QStringLiteral("bluetoothd is not there: org.bluez is not on the system bus; start it, by "
                           "\"systemctl start bluetooth\" for instance"));
        return;
    }
    const QList<BluezQt::AdapterPtr> adapters = m_manager->adapters();
    const auto first = std::min_element(adapters.begin(), adapters.end(), goesBefore);
    if (first == adapters.end()) {
        say(QStringLiteral("bluetoothd has no Bluetooth adapter; plug one in"));
        return;
    }
    m_adapter = *first;
    sayWhich();
    Q_EMIT found(m_adapter);
}

void AdapterChoice::sayWhich()
{
    say(QStringLiteral("the radio is %1, %2").arg(m_adapter->ubi(), m_adapter->address()));
}

void AdapterChoice::lose()
{
    if (!m_adapter) {
        return;
    }
    notice(QStringLiteral("the adapter %1 is gone").arg(m_adapter->ubi()));
    m_said.clear();
    m_adapter.clear();
    Q_EMIT lost();
}

BluezQt::DevicePtr AdapterChoice::device(const QString& path) const
{
    const BluezQt::DevicePtr device = m_manager ? m_manager->deviceForUbi(path) : BluezQt::DevicePtr();
    return device && device->adapter() == m_adapter ? device : BluezQt::DevicePtr();
}

void AdapterChoice::say(const QString& text)
{
    if (std::exchange(m_said, text) != text) {
        notice(text);
    }
}

} // namespace bt
