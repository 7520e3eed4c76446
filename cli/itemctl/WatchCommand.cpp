#include "Commands.h"
#include "Ending.h"
#include "ItemNames.h"
#include "JsonText.h"
#include "LiveItems.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>

namespace itemctl {
namespace {

QString changeLine(const Item& item, Change change, const Output& output)
{
    QString line = output.bold(escaped(output.nameOf(item)));
    if (change.value) {
        line += QLatin1Char(' ') + shownValue(item);
    }
    if (change.applicability) {
        line += item.applicable ? QStringLiteral(" [applies]") : QStringLiteral(" [does not apply]");
    }
    return line;
}

/// Prints changes until enough were seen, time is over, or the bus is lost.
class Watch : public QObject
{
public:
    Watch(const Request& request, LiveItems& items, Output& output);

private:
    void print(const Item& item, Change change);
    void endOfTime();

    const Request& m_request;
    LiveItems& m_items;
    Output& m_output;
    int m_printed = 0;
    Ending m_ending;
    QTimer m_timer;
};

Watch::Watch(const Request& request, LiveItems& items, Output& output)
    : m_request(request)
    , m_items(items)
    , m_output(output)
    , m_ending(output)
{
    connect(&items, &LiveItems::itemChanged, this,
            [this](int position, Change change) { print(m_items.items()[position], change); });
    connect(&items, &LiveItems::serverLeft, this, [this](const QString& server) {
        m_output.note(QStringLiteral("server %1 left the bus; waiting for its return").arg(server));
    });
    connect(&items, &LiveItems::serverReturned, this, [this](const QString& server) {
        m_output.note(QStringLiteral("server %1 is back").arg(server));
    });
    connect(&items, &LiveItems::failed, this,
            [this](const Failure& failure) { m_output.note(failure.message); });
    connect(&items, &LiveItems::busLost, this, [this] {
        m_ending.reach({ ExitStatus::NoServer, QStringLiteral("the session bus went away") });
    });
    connect(&m_timer, &QTimer::timeout, this, [this] { endOfTime(); });
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    if (request.timeout) {
        m_timer.start(*request.timeout);
    }
}

void Watch::print(const Item& item, Change change)
{
    if (m_ending.isReached()) {
        return;
    }
    const bool wanted = m_request.arguments.isEmpty()
        || std::any_of(m_request.arguments.begin(), m_request.arguments.end(),
                       [&](const QString& pattern) { return matches(item, pattern); });
    if (!wanted) {
        return;
    }
    const QString line =
        m_request.json ? jsonText(changeJson(item, change)) : changeLine(item, change, m_output);
    const bool written = m_output.line(line);
    ++m_printed;
    if (!written || m_printed == m_request.count) {
        m_ending.reach(written ? ExitStatus::Done : ExitStatus::Failed);
    }
}

void Watch::endOfTime()
{
    if (!m_request.count) {
        return m_ending.reach(ExitStatus::Done);
    }
    m_ending.reach(
        { ExitStatus::NoAnswer,
          QStringLiteral("time is over after %1 of %2 changes").arg(m_printed).arg(*m_request.count) });
}

} // namespace

ExitStatus runWatch(const Request& request, Output& output)
{
    auto servers = serversFor(request, request.arguments);
    if (!servers) {
        return output.fail(servers.failure());
    }
    LiveItems items(std::move(*servers));
    const auto present = items.start();
    if (!present) {
        return output.fail(present.failure());
    }
    for (const Failure& failure : items.silent()) {
        output.note(failure.message);
    }
    if (const QStringList left = unmatched(*present, request.arguments); !left.isEmpty()) {
        return output.fail(notFound(*present, items.servers(), left.first(), nothingMatches(*present, left)));
    }
    const Watch watch(request, items, output);
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

} // namespace itemctl
