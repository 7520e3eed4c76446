#pragma once

#include <nlohmann/json.hpp>

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QVariantMap>

#include <map>
#include <string>

namespace simctl {

/// Writes down what the Bluetooth daemon on the system bus does, whichever it is: one JSON object a line,
/// with "time" in seconds since the begin, and one of
///
///     "appeared": { PROPERTY: VALUE, … }   the daemon is on the bus, with these properties
///     "signal": NAME, "value": VALUE
///     "property": NAME, "value": VALUE     a property that changed without a signal that says so
///     "left": true
///
/// VALUE is { "type": its D-Bus signature, "value": it in JSON }.
class Recording : public QObject
{
    Q_OBJECT

public:
    Recording();

    /// @return why it cannot be; empty when the recording goes on.
    [[nodiscard]] QString begin(const QString& path);
    /// The file could not be written any more; empty when all is well.
    [[nodiscard]] QString problem() const;
    [[nodiscard]] int lines() const { return m_lines; }

private Q_SLOTS:
    void noteSignal(const QDBusMessage& signal);
    void noteOwner(const QString& name, const QString& before, const QString& now);

private:
    using Json = nlohmann::ordered_json;

    void noteAppearance();
    void noteDifferences(const QVariantMap& properties, int signalCount, double time);
    void write(double time, const char* kind, Json content, const Json& value = nullptr);
    [[nodiscard]] double now() const;

    QFile m_file;
    QElapsedTimer m_clock;
    QDBusServiceWatcher m_watcher;
    std::map<std::string, Json> m_known; ///< the properties, as far as the recording tells
    int m_signals = 0;
    int m_lines = 0;
};

} // namespace simctl
