#include "BluezRadio.h"

#include "AddressHelper.h"
#include "BluezCall.h"
#include "DeviceServices.h"
#include "Notice.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QTimer>

#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

// Of the second that the end of this program may take.
constexpr auto PutBackLimit = 500ms;
// For another's switching of the power to show.
constexpr auto BusyLimit = 2s;

/// Returns when all calls are answered, or the limit has passed. @return whether all went well
bool waitFor(const QList<QDBusPendingCall>& calls, std::chrono::milliseconds limit)
{
    QEventLoop loop;
    int open = calls.size();
    bool done = true;
    for (const QDBusPendingCall& call : calls) {
        auto* watcher = new QDBusPendingCallWatcher(call, &loop);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &loop, [&loop, &open, &done, watcher] {
            if (watcher->isError()) {
                done = false;
                tellFailure(QStringLiteral("putting the adapter back"), watcher->error());
            }
            if (--open == 0) {
                loop.quit();
            }
        });
    }
    if (open > 0) {
        QTimer::singleShot(limit, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return done && open == 0;
}

} // namespace

BluezRadio::BluezRadio(QString name, QString adapter, bool isPrivate)
    : m_name(std::move(name))
    , m_isPrivate(isPrivate)
    , m_choice(std::move(adapter))
{
    m_time.start();
    m_busy.setSingleShot(true);
    m_busy.setInterval(BusyLimit);
    connect(&m_busy, &QTimer::timeout, this, [this] {
        if (m_adapter && m_adapter->isPowered() != m_wantsOn) {
            askForPower(m_wantsOn);
        }
    });
    connect(&m_settings, &AdapterSettings::named, this, &BluezRadio::followAdapter);
    connect(&m_choice, &AdapterChoice::bluezCame, this, [this] {
        m_agent.registerAtBluez();
        m_profiles.registerAll();
    });
    connect(&m_choice, &AdapterChoice::found, this, &BluezRadio::useAdapter);
    connect(&m_choice, &AdapterChoice::lost, this, &BluezRadio::loseAdapter);
    connect(&m_choice, &AdapterChoice::blockedChanged, this, [this](bool blocked) {
        if (m_adapter && blocked && !m_adapter->isPowered()) {
            followPower();
        } else if (m_adapter && !blocked && m_wantsOn) {
            m_choice.sayWhich();
            switchOn();
        }
    });
    connect(&m_agent, &PairingAgent::asked, this, &BluezRadio::takeQuestion);
    connect(&m_agent, &PairingAgent::cancelled, this, [this] {
        if (m_pairing) {
            m_pairing->questionCancelled();
        }
    });
    connect(
        &m_agent, &PairingAgent::serviceWanted, this,
        [this](const QString& path, const QString& uuid, bool& allowed) {
            const BluezQt::DevicePtr device = m_choice.device(path);
            const bool isPaired = !device.isNull() && device->isPaired();
            allowed = isPaired && isServed(uuid);
            if (isPaired && !allowed) {
                notice(
                    QStringLiteral(
                        "%1 wants to use the service %2, which this radio is not for; BLUEZ_SERVICES names "
                        "those that it is for")
                        .arg(device->address(), uuid));
            }
        });
    connect(&m_profiles, &RfcommProfiles::connected, this, [this](const QString& path) {
        if (const BluezQt::DevicePtr device = m_choice.device(path)) {
            Q_EMIT companionConnected(AddressHelper::str2int(device->address()));
        }
    });
}

BluezRadio::~BluezRadio() = default;

void BluezRadio::start()
{
    m_wantsOn = true;
    Q_EMIT localNameChanged(m_name);
    Q_EMIT statusChanged(status());
    m_choice.follow();
}

void BluezRadio::useAdapter(const BluezQt::AdapterPtr& adapter)
{
    m_adapter = adapter;
    m_settings.remember(*adapter);
    connect(adapter.data(), &BluezQt::Adapter::poweredChanged, this, &BluezRadio::followPower);
    for (const auto changed :
         { &BluezQt::Adapter::discoverableChanged, &BluezQt::Adapter::pairableChanged }) {
        // The power goes first, and is told of behind.
        connect(adapter.data(), changed, this, &BluezRadio::followAdapter, Qt::QueuedConnection);
    }
    connect(adapter.data(), &BluezQt::Adapter::nameChanged, this, &BluezRadio::followAdapter);
    connect(adapter.data(), &BluezQt::Adapter::deviceAdded, this, [this](const BluezQt::DevicePtr& device) {
        if (m_pairing && m_pairing->isLooking()
            && AddressHelper::str2int(device->address()) == m_pairing->address()) {
            endSearch();
            m_pairing->found(device);
        }
    });
    Q_EMIT addressChanged(AddressHelper::str2int(adapter->address()));
    m_discoverySwitch = std::make_unique<DiscoverySwitch>(adapter);
    m_bonded = std::make_unique<BondedDevices>();
    connect(m_bonded.get(), &BondedDevices::listChanged, this, &Radio::pairListChanged);
    connect(m_bonded.get(), &BondedDevices::connectionEstablished, this, &Radio::connectionEstablished);
    connect(m_bonded.get(), &BondedDevices::headsetConnected, this, &Radio::headsetConnected);
    connect(m_bonded.get(), &BondedDevices::deviceDisconnected, this, &Radio::deviceDisconnected);
    m_bonded->follow(adapter);
    if (m_isPrivate) {
        followAdapter();
    }
    if (m_wantsOn) {
        switchOn();
    } else {
        followPower();
    }
}

void BluezRadio::loseAdapter()
{
    m_adapter->disconnect(this);
    silence();
    m_switching = false;
    m_wasOpen = false;
    m_busy.stop();
    m_discoverySwitch.reset();
    m_adapter.clear();
    m_bonded->clear();
    m_bonded.reset();
    m_scanResults = {};
    Q_EMIT scanResultsChanged(m_scanResults);
    setStatus(Status::NoDevice);
}

void BluezRadio::silence()
{
    endScan();
    endSearch();
    breakOff();
}

void BluezRadio::stop()
{
    m_choice.stop();
    silence();
    if (m_choice.bluezRuns()) {
        putBack();
    }
    setStatus(m_adapter ? Status::Off : Status::NoDevice);
}

// The power last: a radio that is off takes no settings. The settings before the agent, with which bluetoothd
// ends "Pairable" by itself.
void BluezRadio::putBack()
{
    const BluezQt::AdapterPtr adapter = m_adapter; // may be lost meanwhile
    QList<QDBusPendingCall> calls;
    if (adapter) {
        adapter->disconnect(this);
        calls << m_settings.restore(*adapter);
    }
    m_agent.unregisterAtBluez();
    m_profiles.unregisterAll();
    if (!adapter.isNull() && waitFor(calls << m_settings.restorePower(*adapter), PutBackLimit)) {
        AdapterSettings::forget(*adapter);
    }
}

QString BluezRadio::whyNotOn() const
{
    return status() != Status::NoDevice     ? RadioRules::whyNotOn()
        : m_adapter && m_choice.isBlocked() ? QString::fromLatin1(Blocked)
        : m_choice.lastSaid().isEmpty()     ? QStringLiteral("bluetoothd has not told of an adapter yet")
                                            : m_choice.lastSaid();
}

base::Result<> BluezRadio::setPowered(bool on)
{
    if (!m_adapter) {
        return base::error(whyNotOn(), base::Failure::NotReady);
    }
    m_wantsOn = on;
    if (on != goesOn()) {
        on ? switchOn() : switchOff();
    }
    return {};
}

void BluezRadio::takeName(const QString& name)
{
    m_name = name;
    if (m_adapter) {
        m_settings.setName(*m_adapter, name);
    }
}

base::Result<> BluezRadio::registerRfcommUuid(const QString& uuid)
{
    return m_profiles.add(uuid, m_choice.bluezRuns());
}

base::Result<> BluezRadio::unregisterRfcommUuid(const QString& uuid)
{
    return m_profiles.remove(uuid);
}

base::Result<> BluezRadio::sendWifedSocket(const QString& /*text*/)
{
    if (!std::exchange(m_saidWifed, true)) {
        notice(QStringLiteral(
            "a Wi-FED's command socket is not supported by this radio; it is left where it is"));
    }
    return {};
}

} // namespace bt
