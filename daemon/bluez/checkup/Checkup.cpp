#include "Checkup.h"

#include "Programs.h"
#include "Settings.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QMap>

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;
using Level = Finding::Level;
using Interfaces = QMap<QString, QVariantMap>;

constexpr auto Patience = 3s;

const QString& bluezName()
{
    static const QString name = QStringLiteral("org.bluez");
    return name;
}

QString content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.read(256)).trimmed() : QString();
}

bool isTrue(const QVariantMap& properties, const char* name)
{
    return properties.value(QLatin1String(name)).toBool();
}

/// Joining has no time limit of its own: a bus may take the connection and then say nothing.
std::future<QDBusConnection> joinBus(const QString& address)
{
    std::packaged_task<QDBusConnection()> join([address] {
        return address.isEmpty() ? QDBusConnection::systemBus()
                                 : QDBusConnection::connectToBus(address, QStringLiteral("bluez"));
    });
    std::future<QDBusConnection> joined = join.get_future();
    std::thread(std::move(join)).detach();
    return joined;
}

/// "hci0" of "/org/bluez/hci0".
QString shortName(const QVariantMap& adapter)
{
    return adapter.value(QStringLiteral("Path")).toString().section(QLatin1Char('/'), -1);
}

} // namespace

Checkup::Checkup(QString address, QString wanted, QString root)
    : m_address(std::move(address))
    , m_bus(QString())
    , m_wanted(std::move(wanted))
    , m_root(std::move(root))
{
}

Findings Checkup::run()
{
    lookAtRfkill();
    if (lookAtBus() && lookAtBluez()) {
        lookAtAdapters();
        lookAtPrograms();
    }
    lookAtSettings();
    return m_findings;
}

void Checkup::add(Level level, const QString& subject, const QString& text, const QString& remedy)
{
    m_findings.append({ level, subject, text, remedy });
}

void Checkup::lookAtRfkill()
{
    const QDir folder(m_root + QStringLiteral("/sys/class/rfkill"));
    const QString subject = QStringLiteral("rfkill");
    bool isBlocked = false;
    for (const QString& entry : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = folder.filePath(entry);
        if (content(path + QStringLiteral("/type")) != QLatin1String("bluetooth")) {
            continue;
        }
        const QString name = content(path + QStringLiteral("/name"));
        if (content(path + QStringLiteral("/hard")) == QLatin1String("1")) {
            isBlocked = true;
            add(Level::Fault, subject, QStringLiteral("%1 is blocked by a switch of the machine").arg(name),
                QStringLiteral("turn that switch, or allow Bluetooth in the firmware's set-up"));
        } else if (content(path + QStringLiteral("/soft")) == QLatin1String("1")) {
            isBlocked = true;
            add(Level::Fault, subject, QStringLiteral("%1 is blocked").arg(name),
                QStringLiteral("rfkill unblock bluetooth"));
        }
    }
    if (!isBlocked) {
        add(Level::Fine, subject, QStringLiteral("nothing is blocked"));
    }
}

bool Checkup::lookAtBus()
{
    const QString subject = QStringLiteral("bus");
    std::future<QDBusConnection> joined = joinBus(m_address);
    const bool isJoined = joined.wait_for(Patience) == std::future_status::ready;
    if (isJoined) {
        m_bus = joined.get();
    }
    if (isJoined && !m_bus.isConnected()) {
        add(Level::Fault, subject,
            QStringLiteral("the system bus cannot be reached: %1").arg(m_bus.lastError().message()),
            QStringLiteral("systemctl start dbus, or name another bus by DBUS_SYSTEM_BUS_ADDRESS"));
        return false;
    }
    if (isJoined) {
        m_bus.interface()->setTimeout(static_cast<int>(std::chrono::milliseconds(Patience).count()));
        m_names = m_bus.interface()->registeredServiceNames();
    }
    if (m_names.isEmpty()) { // its own name is always there
        add(Level::Fault, subject, QStringLiteral("it does not answer"),
            QStringLiteral("systemctl restart dbus"));
        return false;
    }
    add(Level::Fine, subject, QStringLiteral("it answers"));
    return true;
}

bool Checkup::lookAtBluez()
{
    const QString subject = QStringLiteral("bluetoothd");
    if (!m_names.contains(bluezName())) {
        add(Level::Fault, subject, QStringLiteral("it does not run"),
            QStringLiteral("systemctl start bluetooth (Debian's package bluez)"));
        return false;
    }
    QDBusMessage question = QDBusMessage::createMethodCall(
        bluezName(), QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
        QStringLiteral("GetManagedObjects"));
    question.setAutoStartService(false);
    const QDBusMessage reply = m_bus.call(question, QDBus::Block, m_bus.interface()->timeout());
    if (reply.type() != QDBusMessage::ReplyMessage) {
        const bool isDenied = QDBusError(reply).type() == QDBusError::AccessDenied;
        add(Level::Fault, subject,
            isDenied ? QStringLiteral("this user may not speak to it")
                     : QStringLiteral("it does not answer: %1").arg(reply.errorMessage()),
            isDenied ? QStringLiteral("be root, or logged in at the machine itself (not by ssh)")
                     : QStringLiteral("systemctl restart bluetooth"));
        return false;
    }
    const auto objects = qdbus_cast<QMap<QDBusObjectPath, Interfaces>>(reply.arguments().value(0));
    for (auto object = objects.begin(); object != objects.end(); ++object) {
        QVariantMap adapter = object->value(QStringLiteral("org.bluez.Adapter1"));
        if (!adapter.isEmpty()) {
            adapter.insert(QStringLiteral("Path"), object.key().path());
            m_adapters.append(adapter);
        }
    }
    const QString version = versionOfBluez(m_bus);
    add(Level::Fine, subject,
        version.isEmpty() ? QStringLiteral("it answers")
                          : QStringLiteral("it answers, version %1").arg(version));
    return true;
}

void Checkup::lookAtAdapters()
{
    const QString subject = QStringLiteral("adapter");
    if (m_adapters.isEmpty()) {
        const QStringList ofKernel = QDir(m_root + QStringLiteral("/sys/class/bluetooth"))
                                         .entryList({ QStringLiteral("hci*") }, QDir::AllEntries);
        add(Level::Fault, subject,
            ofKernel.isEmpty() ? QStringLiteral("the machine has none")
                               : QStringLiteral("the kernel has %1, bluetoothd does not")
                                     .arg(ofKernel.join(QStringLiteral(", "))),
            ofKernel.isEmpty() ? QStringLiteral("plug one in; \"dmesg\" tells of one that lacks its firmware")
                               : QStringLiteral("systemctl restart bluetooth"));
        return;
    }
    // As the radio itself chooses: hci2 is lower than hci10.
    std::stable_sort(m_adapters.begin(), m_adapters.end(), [](const auto& left, const auto& right) {
        return shortName(left).size() < shortName(right).size();
    });
    const auto isWanted = [this](const QVariantMap& adapter) {
        return m_wanted.isEmpty() || m_wanted == shortName(adapter)
            || m_wanted.compare(adapter.value(QStringLiteral("Address")).toString(), Qt::CaseInsensitive)
            == 0;
    };
    const auto* const taken = std::find_if(m_adapters.cbegin(), m_adapters.cend(), isWanted);
    if (taken == m_adapters.cend()) {
        add(Level::Fault, subject, QStringLiteral("%1 is not there").arg(m_wanted),
            QStringLiteral("plug it in, or choose one of those below by --adapter or BLUEZ_ADAPTER"));
    }
    for (const QVariantMap& adapter : qAsConst(m_adapters)) {
        QStringList states;
        const bool isOn = isTrue(adapter, "Powered");
        states << (isOn ? QStringLiteral("on") : QStringLiteral("off"));
        if (isOn && isTrue(adapter, "Discoverable")) {
            states << QStringLiteral("visible to others");
        }
        if (isTrue(adapter, "Discovering")) {
            states << QStringLiteral("another program looks for devices");
        }
        const QString text =
            QStringLiteral("%1 %2 \"%3\": %4%5")
                .arg(shortName(adapter), adapter.value(QStringLiteral("Address")).toString(),
                     adapter.value(QStringLiteral("Alias")).toString(), states.join(QStringLiteral(", ")),
                     &adapter == taken ? QStringLiteral("; it is the one that is taken") : QString());
        add(Level::Fine, subject, text);
        const QStringList services = adapter.value(QStringLiteral("UUIDs")).toStringList();
        m_hasAudio |= std::any_of(services.begin(), services.end(), isAudioService);
    }
}

void Checkup::lookAtSettings()
{
    m_findings += findingsOfSettings(m_root + QStringLiteral("/etc/bluetooth/main.conf"));
}

void Checkup::lookAtPrograms()
{
    m_findings += findingsOfPrograms(m_bus, m_names);
    if (!m_adapters.isEmpty()) {
        add(m_hasAudio ? Level::Fine : Level::Note, QStringLiteral("audio"),
            m_hasAudio ? QStringLiteral("a program plays and takes audio")
                       : QStringLiteral("no program offers audio, so that headsets connect without sound"),
            m_hasAudio
                ? QString()
                : QStringLiteral("start PipeWire or PulseAudio with its Bluetooth part, if sound matters"));
    }
}

} // namespace bt
