#include "Commands.h"
#include "Ending.h"
#include "Goal.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "LiveItems.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>

namespace itemctl {
namespace {

QString changeLine(const Item& item, Change change, const Output& output)
{
    QString line = output.bold(escaped(shownName(item, output)));
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
    Output& m_output;
    int m_printed = 0;
    Ending m_ending;
};

Watch::Watch(const Request& request, LiveItems& items, Output& output)
    : m_request(request)
    , m_output(output)
    , m_ending(items, output)
{
    connect(&items, &LiveItems::itemChanged, this,
            [this, &items](int position, Change change) { print(items.items()[position], change); });
    connect(&items, &LiveItems::serverLeft, this, [this](const QString& server) {
        m_output.note(QStringLiteral("server %1 left the bus; waiting for its return").arg(server));
    });
    connect(&items, &LiveItems::serverReturned, this, [this](const QString& server) {
        m_output.note(QStringLiteral("server %1 is back").arg(server));
    });
    if (request.timeout) {
        m_ending.awaitTimeout(*request.timeout, [this] { endOfTime(); });
    }
}

void Watch::print(const Item& item, Change change)
{
    const QStringList& patterns = m_request.arguments;
    if (m_ending.isReached() || (!patterns.isEmpty() && !matchesAny(item, patterns))) {
        return;
    }
    const ExitStatus status = m_output.line(m_request.json ? base::jsonText(changeJson(item, change))
                                                           : changeLine(item, change, m_output));
    ++m_printed;
    if (status != ExitStatus::Done || m_printed == m_request.count) {
        m_ending.reach(status);
    }
}

void Watch::endOfTime()
{
    if (!m_request.count) {
        return m_ending.reach(ExitStatus::Done);
    }
    m_ending.reach(base::Error{
        QStringLiteral("time is over after %1 of %2 changes").arg(m_printed).arg(*m_request.count),
        base::Failure::NoAnswer });
}

} // namespace

base::Result<ExitStatus> watch(const Request& request, Output& output)
{
    auto servers = serversFor(request, request.arguments);
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    if (request.timeout) {
        servers->setTimeout(Patience(request).ofAnAnswer());
    }
    LiveItems items(std::move(*servers));
    const auto present = items.start();
    if (!present) {
        return tl::unexpected(present.error());
    }
    noteSilent(items.servers(), output);
    return checkAllMatch(*present, items.servers(), request.arguments).map([&] {
        const Watch watch(request, items, output);
        return static_cast<ExitStatus>(QCoreApplication::exec());
    });
}

} // namespace itemctl
