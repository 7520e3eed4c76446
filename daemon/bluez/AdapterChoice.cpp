#include "AdapterChoice.h"

#include "Notice.h"

#include <BluezQt/InitManagerJob>

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr auto NextTry = 2s;
// bluetoothd tells of its adapters one after another when it starts. BluezQt makes its objects twice when we
// start at the same time, and the first ones follow nothing any more.
constexpr auto SettlingTime = 300ms;

/// "/org/bluez/hci2" goes before "/org/bluez/hci10".
bool goesBefore(const BluezQt::AdapterPtr& left, const BluezQt::AdapterPtr& right)
{
    const QString one = left->ubi();
    const QString other = right->ubi();
    return one.size() != other.size() ? one.size() < other.size() : one < other;
}

QString nameOf(const BluezQt::AdapterPtr& adapter)
{
    return adapter->ubi().section(QLatin1Char('/'), -1);
}

} // namespace

AdapterChoice::AdapterChoice(QString wanted)
    : m_wanted(std::move(wanted))
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(SettlingTime);
    connect(&m_settling, &QTimer::timeout, this, &AdapterChoice::choose);
    connect(&m_bus, &BluezBus::joined, this, &AdapterChoice::followBluez);
    connect(&m_bus, &BluezBus::failed, this, [this](const QString& why) {
        say(QStringLiteral("the machine's system bus, where bluetoothd is, cannot be reached: %1; %2")
                .arg(why,
                     m_bus.isWatched() ? QStringLiteral("the radio comes up when both are there")
                                       : QStringLiteral("start both, and switch the radio on again")));
    });
    connect(&m_bus, &BluezBus::lost, this, [this] {
        m_settling.stop();
        m_bluezRuns = false;
        lose();
        m_manager.reset();
        say(m_bus.isWatched()
                ? QStringLiteral("the machine's system bus has ended; the radio comes up again with it")
                : QStringLiteral("the machine's system bus has ended; switch the radio off and on when it is "
                                 "there again"));
    });
}

void AdapterChoice::followBluez()
{
    m_manager = std::make_unique<BluezQt::Manager>();
    BluezQt::Manager* const manager = m_manager.get();
    connect(manager, &BluezQt::Manager::adapterAdded, this, &AdapterChoice::chooseSoon);
    connect(manager, &BluezQt::Manager::adapterRemoved, this, [this](const BluezQt::AdapterPtr& adapter) {
        if (adapter == m_adapter) {
            lose();
            chooseSoon();
        }
    });
    connect(manager, &BluezQt::Manager::operationalChanged, this, [this](bool operational) {
        if (!operational) {
            m_settling.stop();
            lose();
        } else {
            m_settling.start();
        }
        if (std::exchange(m_bluezRuns, operational) != operational && operational) {
            Q_EMIT bluezCame();
        }
        chooseSoon();
    });
    connect(manager, &BluezQt::Manager::bluetoothBlockedChanged, this, &AdapterChoice::blockedChanged);
    askForAdapters();
}

void AdapterChoice::askForAdapters()
{
    BluezQt::InitManagerJob* job = m_manager->init();
    connect(job, &BluezQt::InitManagerJob::result, this, [this](BluezQt::InitManagerJob* done) {
        if (done->error() == BluezQt::InitManagerJob::NoError) {
            chooseSoon();
            return;
        }
        say(QStringLiteral(
                "bluetoothd does not tell of its adapters: %1; where the system bus refuses it, its rules "
                "for org.bluez have to let this user")
                .arg(done->errorText()));
        QTimer::singleShot(NextTry, m_manager.get(), [this] { followBluez(); });
    });
    job->start();
}

// Who is wanted is known at once, when bluetoothd runs already.
void AdapterChoice::chooseSoon()
{
    const bool settles = m_wanted.isEmpty() || m_settling.isActive();
    m_manager->isOperational() && settles ? m_settling.start() : choose();
}

void AdapterChoice::choose()
{
    if (m_adapter || m_stopped || !m_manager->isInitialized()) {
        return;
    }
    QList<BluezQt::AdapterPtr> adapters = m_manager->adapters();
    std::sort(adapters.begin(), adapters.end(), goesBefore);
    const auto ours = std::find_if(adapters.cbegin(), adapters.cend(),
                                   [this](const auto& adapter) { return mayBeOurs(adapter); });
    if (ours == adapters.cend() || !m_manager->isOperational()) {
        say(whyNone());
        return;
    }
    m_adapter = *ours;
    m_wanted = m_adapter->address();
    sayWhich();
    Q_EMIT found(m_adapter);
}

bool AdapterChoice::mayBeOurs(const BluezQt::AdapterPtr& adapter) const
{
    return m_wanted.isEmpty() || adapter->address().compare(m_wanted, Qt::CaseInsensitive) == 0
        || nameOf(adapter) == m_wanted;
}

QString AdapterChoice::whyNone() const
{
    if (!m_manager->isOperational()) {
        return QStringLiteral("bluetoothd is not there: org.bluez is not on the system bus; start it, by "
                              "\"systemctl start bluetooth\" for instance");
    }
    if (m_manager->adapters().isEmpty()) {
        return QStringLiteral("bluetoothd has no Bluetooth adapter; plug one in");
    }
    QStringList others;
    for (const BluezQt::AdapterPtr& adapter : m_manager->adapters()) {
        others << QStringLiteral("%1 (%2)").arg(nameOf(adapter), adapter->address());
    }
    return QStringLiteral(
               "the adapter %1 is not there, and another is not touched unasked; plug it in, or choose "
               "by BLUEZ_ADAPTER or --adapter: %2")
        .arg(m_wanted, others.join(QStringLiteral(", ")));
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
