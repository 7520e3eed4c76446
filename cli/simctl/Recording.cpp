#include "Recording.h"

#include "common/ValueJson.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace simctl {
namespace {

using Json = nlohmann::ordered_json;

const QString Daemon = QStringLiteral("com.qarn.bluetooth");
const QString DaemonPath = QStringLiteral("/com/qarn/Bluetooth");
const QLatin1String ChangeSuffix("Changed");

QDBusMessage readAll()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        Daemon, DaemonPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    call << Daemon;
    return call;
}

Json typed(const QVariant& value)
{
    const QString type = value.userType() == qMetaTypeId<QDBusArgument>()
        ? value.value<QDBusArgument>().currentSignature()
        : QLatin1String(QDBusMetaType::typeToSignature(value.userType()));
    return { { "type", type.toStdString() }, { "value", cli::toJson(value) } };
}

} // namespace

Recording::Recording()
    : m_watcher(Daemon, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &Recording::noteOwner);
}

QString Recording::begin(const QString& path)
{
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QStringLiteral("%1 cannot be written: %2").arg(path, m_file.errorString());
    m_clock.start();
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.connect(Daemon, DaemonPath, Daemon, QString(), this, SLOT(noteSignal(QDBusMessage)));
    // The question comes behind the request for the signals, so nothing is missed in between.
    if (bus.interface()->isServiceRegistered(Daemon))
        noteAppearance();
    return {};
}

QString Recording::problem() const
{
    return m_file.error() == QFileDevice::NoError
        ? QString()
        : QStringLiteral("%1 cannot be written: %2").arg(m_file.fileName(), m_file.errorString());
}

double Recording::now() const
{
    return static_cast<double>(m_clock.elapsed()) / 1000;
}

void Recording::write(double time, const char* kind, Json content, const Json& value)
{
    Json line;
    line["time"] = time;
    line[kind] = std::move(content);
    if (!value.is_null())
        line["value"] = value;
    m_file.write(QByteArray::fromStdString(line.dump(-1, ' ', false, Json::error_handler_t::replace)) + '\n');
    m_file.flush(); // whoever looks at it meanwhile sees whole lines
    ++m_lines;
}

void Recording::noteOwner(const QString& /*name*/, const QString& before, const QString& now)
{
    if (now.isEmpty())
        write(this->now(), "left", true);
    else if (before.isEmpty())
        noteAppearance();
}

// Waits for the answer: what the daemon tells later is noted later.
void Recording::noteAppearance()
{
    const double time = now();
    const QDBusReply<QVariantMap> reply = QDBusConnection::systemBus().call(readAll());
    Json properties = Json::object();
    m_known.clear();
    const QVariantMap values = reply.value();
    for (auto value = values.begin(); value != values.end(); ++value) {
        m_known[value.key().toStdString()] = typed(value.value());
        properties[value.key().toStdString()] = m_known[value.key().toStdString()];
    }
    write(time, "appeared", properties);
}

void Recording::noteSignal(const QDBusMessage& signal)
{
    const double time = now();
    const QString member = signal.member();
    const Json value = typed(signal.arguments().value(0).value<QDBusVariant>().variant());
    const int count = ++m_signals;
    const std::string property =
        member.endsWith(ChangeSuffix) ? member.chopped(ChangeSuffix.size()).toStdString() : std::string();
    if (m_known.count(property) != 0)
        m_known[property] = value;
    // Clients read a property when they see one of these, so that it goes first.
    if (member.startsWith(QLatin1String("wifed"))) {
        const QDBusReply<QVariantMap> reply = QDBusConnection::systemBus().call(readAll());
        noteDifferences(reply.value(), count, time);
    }
    write(time, "signal", member.toStdString(), value);
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(readAll()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, count, time] {
        const QDBusPendingReply<QVariantMap> reply = *watcher;
        noteDifferences(reply.value(), count, time);
        watcher->deleteLater();
    });
}

// Another signal may have come meanwhile; then only that tells what a property was in between, and what has
// no signal is the only news.
void Recording::noteDifferences(const QVariantMap& properties, int signalCount, double time)
{
    for (auto value = properties.begin(); value != properties.end(); ++value) {
        const std::string name = value.key().toStdString();
        if (signalCount != m_signals && value.key() != QLatin1String("wifedsConnected"))
            continue;
        Json now = typed(value.value());
        if (m_known[name] != now) {
            write(time, "property", name, now);
            m_known[name] = std::move(now);
        }
    }
}

} // namespace simctl
