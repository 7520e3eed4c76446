#include "RecordingWriter.h"

#include "ValueJson.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace recording {
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

Json signalLine(const QDBusMessage& signal)
{
    Json line;
    line["signal"] = signal.member().toStdString();
    if (signal.signature() == QLatin1String("v")) {
        line["value"] = base::typedJson(signal.arguments().first().value<QDBusVariant>().variant());
        return line;
    }
    line["arguments"] = Json::array();
    for (const QVariant& argument : signal.arguments()) {
        line["arguments"].push_back(base::typedJson(argument));
    }
    return line;
}

} // namespace

RecordingWriter::RecordingWriter()
    : m_watcher(Daemon, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &RecordingWriter::noteOwner);
}

base::Result<> RecordingWriter::begin(const QString& path)
{
    // Opening a pipe would wait for somebody to read it.
    if (const QFileInfo info(path); info.exists() && !info.isFile()) {
        return base::error(QStringLiteral("%1 cannot be written: it is no regular file").arg(path));
    }
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return base::error(QStringLiteral("%1 cannot be written: %2").arg(path, m_file.errorString()));
    }
    m_clock.start();
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.connect(Daemon, DaemonPath, Daemon, QString(), this, SLOT(noteSignal(QDBusMessage)));
    // The question comes behind the request for the signals, so nothing is missed in between.
    noteOwner(Daemon, {}, bus.interface()->serviceOwner(Daemon).value());
    return {};
}

base::Result<int> RecordingWriter::end()
{
    for (const auto& event : std::exchange(m_events, {})) {
        // An appearance, which has its line only when it is known.
        if (event->lines.empty()) {
            Q_EMIT propertiesMissing(QStringLiteral("no answer until the end"));
            event->lines.push_back({ { "appeared", Json::object() } });
        }
        write(*event);
    }
    if (m_file.error() != QFileDevice::NoError) {
        return base::error(
            QStringLiteral("%1 cannot be written: %2").arg(m_file.fileName(), m_file.errorString()));
    }
    return m_lines;
}

double RecordingWriter::now() const
{
    return static_cast<double>(m_clock.elapsed()) / 1000;
}

std::shared_ptr<RecordingWriter::Event> RecordingWriter::note(double time)
{
    m_events.push_back(std::make_shared<Event>());
    m_events.back()->time = time;
    return m_events.back();
}

void RecordingWriter::writeKnown()
{
    while (!m_events.empty() && m_events.front()->isKnown) {
        write(*m_events.front());
        m_events.pop_front();
    }
}

void RecordingWriter::write(const Event& event)
{
    m_lastTime = std::max(m_lastTime, event.time);
    for (const Json& content : event.lines) {
        Json line;
        line["time"] = m_lastTime;
        line.update(content);
        m_file.write(QByteArray::fromStdString(line.dump(-1, ' ', false, Json::error_handler_t::replace))
                     + '\n');
        ++m_lines;
    }
    m_file.flush(); // whoever looks at it meanwhile sees whole lines
}

void RecordingWriter::readProperties(std::function<void(const Properties& properties)> then)
{
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(readAll()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, then = std::move(then)] {
        then(*watcher);
        watcher->deleteLater();
        writeKnown();
    });
}

void RecordingWriter::noteOwner(const QString& /*name*/, const QString& /*before*/, const QString& now)
{
    const QString before = std::exchange(m_owner, now);
    if (before == now) {
        return; // known from the begin
    }
    ++m_signals; // an answer to an earlier question tells of the owner before
    if (before.isEmpty()) {
        noteAppearance();
        return;
    }
    const double time = this->now();
    note(time)->lines.push_back({ { now.isEmpty() ? "left" : "handover", true } });
    writeKnown();
    if (!now.isEmpty()) {
        noteUnheardChanges(time);
    }
}

// What the daemon tells until it has answered is noted behind it.
void RecordingWriter::noteAppearance()
{
    const auto event = note(now());
    event->isKnown = false;
    readProperties([this, event](const Properties& properties) {
        if (properties.isError()) {
            Q_EMIT propertiesMissing(properties.error().message());
        }
        m_known.clear();
        Json values = Json::object();
        const QVariantMap map = properties.isError() ? QVariantMap() : properties.value();
        for (auto value = map.begin(); value != map.end(); ++value) {
            const std::string name = value.key().toStdString();
            m_known[name] = base::typedJson(value.value());
            values[name] = m_known[name];
        }
        event->lines.push_back({ { "appeared", std::move(values) } });
        event->isKnown = true;
    });
}

void RecordingWriter::noteSignal(const QDBusMessage& signal)
{
    const auto event = note(now());
    const QString member = signal.member();
    Json line = signalLine(signal);
    const int count = ++m_signals;
    const std::string property =
        member.endsWith(ChangeSuffix) ? member.chopped(ChangeSuffix.size()).toStdString() : std::string();
    if (m_known.count(property) != 0 && line.contains("value")) {
        m_known[property] = line["value"];
    }
    event->lines.push_back(std::move(line));
    // Clients read a property when they see one of these, so that it goes first.
    if (member.startsWith(QLatin1String("wifed"))) {
        event->isKnown = false;
        readProperties([this, event, count](const Properties& properties) {
            const std::vector<Json> changes = unheardChanges(properties, count);
            event->lines.insert(event->lines.begin(), changes.begin(), changes.end());
            event->isKnown = true;
        });
    }
    writeKnown();
    noteUnheardChanges(event->time);
}

// The answer tells how things stood at that time, unless something else was written meanwhile.
void RecordingWriter::noteUnheardChanges(double time)
{
    readProperties([this, time, count = m_signals](const Properties& properties) {
        std::vector<Json> changes = unheardChanges(properties, count);
        if (!changes.empty()) {
            note(time)->lines = std::move(changes);
        }
    });
}

// Another signal may have come between question and answer. Then that alone tells what its property was in
// between, and only the property that has no signal of its own is news.
std::vector<RecordingWriter::Json> RecordingWriter::unheardChanges(const Properties& properties,
                                                                   int signalsBefore)
{
    std::vector<Json> changes;
    const QVariantMap values = properties.isError() ? QVariantMap() : properties.value();
    for (auto value = values.begin(); value != values.end(); ++value) {
        if (signalsBefore != m_signals && value.key() != QLatin1String("wifedsConnected")) {
            continue;
        }
        const std::string name = value.key().toStdString();
        Json now = base::typedJson(value.value());
        if (m_known[name] != now) {
            changes.push_back({ { "property", name }, { "value", now } });
            m_known[name] = std::move(now);
        }
    }
    return changes;
}

} // namespace recording
