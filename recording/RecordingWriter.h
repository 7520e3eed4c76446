#pragma once

#include "Result.h"

#include <nlohmann/json.hpp>

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QVariantMap>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace recording {

/// Writes down what the Bluetooth daemon on the system bus does, whichever it is: one JSON object a line,
/// with "time" in seconds since the begin, never less than in the line before, and one of
///
///     "appeared": { PROPERTY: VALUE, … }   the daemon is on the bus, with these properties
///     "signal": NAME, "value": VALUE
///     "signal": NAME, "arguments": [ VALUE, … ]   one that carries something else than one variant
///     "property": NAME, "value": VALUE     a property that changed without a signal that says so
///     "handover": true                     its name passed to another owner without a gap
///     "left": true
///
/// VALUE is { "type": its D-Bus signature, "value": it in JSON }, as base::typedJson() makes it.
class RecordingWriter : public QObject
{
    Q_OBJECT

public:
    RecordingWriter();

    [[nodiscard]] base::Result<> begin(const QString& path);
    /// Writes what still waits for an answer of the daemon without that.
    /// @return how many events are in the file.
    [[nodiscard]] base::Result<int> end();

Q_SIGNALS:
    /// The daemon appeared, but does not tell its properties.
    void propertiesMissing(const QString& reason);

private Q_SLOTS:
    void noteSignal(const QDBusMessage& signal);
    void noteOwner(const QString& name, const QString& before, const QString& now);

private:
    using Json = nlohmann::ordered_json;
    using Properties = QDBusPendingReply<QVariantMap>;

    /// What happened at one time. What comes later waits behind it until it is known, so that all is written
    /// in the order in which it happened.
    struct Event
    {
        double time = 0;
        bool isKnown = true;
        std::vector<Json> lines;
    };

    std::shared_ptr<Event> note(double time);
    void noteAppearance();
    /// Asks what changed without a signal that says so, and notes it at \a time.
    void noteUnheardChanges(double time);
    /// One line a property. \a signalsBefore had come when the question was asked.
    [[nodiscard]] std::vector<Json> unheardChanges(const Properties& properties, int signalsBefore);
    void readProperties(std::function<void(const Properties& properties)> then);
    void writeKnown();
    void write(const Event& event);
    [[nodiscard]] double now() const;

    QFile m_file;
    QElapsedTimer m_clock;
    QDBusServiceWatcher m_watcher;
    QString m_owner; ///< of the daemon's name; empty while it is away
    std::deque<std::shared_ptr<Event>> m_events; ///< that are not written yet
    std::map<std::string, Json> m_known; ///< the properties, as far as the recording tells
    int m_signals = 0;
    int m_lines = 0;
    double m_lastTime = 0;
};

} // namespace recording
