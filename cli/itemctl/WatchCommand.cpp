#include "Commands.h"
#include "Ending.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "Opening.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

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
    Watch(const Request& request, const Patience& patience, LiveItems& items, Output& output);

    /// All that is watched as it is.
    ExitStatus printPresent();
    [[nodiscard]] ExitStatus await() const { return m_ending.await(); }

private:
    [[nodiscard]] bool isWatched(const Item& item) const;
    ExitStatus print(const Item& item, Change change);
    void printChange(const Item& item, Change change);
    void endOfTime();

    const Request& m_request;
    LiveItems& m_items;
    Output& m_output;
    int m_printed = 0;
    Ending m_ending;
};

Watch::Watch(const Request& request, const Patience& patience, LiveItems& items, Output& output)
    : m_request(request)
    , m_items(items)
    , m_output(output)
    , m_ending(items, output)
{
    connect(&items, &LiveItems::itemChanged, this,
            [this](int position, Change change) { printChange(m_items.items()[position], change); });
    connect(&items, &LiveItems::serverLeft, this, [this](const QString& server) {
        m_output.note(QStringLiteral("server %1 left the bus; waiting for its return").arg(server));
    });
    connect(&items, &LiveItems::serverReturned, this, [this](const QString& server) {
        m_output.note(QStringLiteral("server %1 is back").arg(server));
    });
    if (patience.hasEnd()) {
        m_ending.awaitTimeout(patience.left(), [this] { endOfTime(); });
    }
}

bool Watch::isWatched(const Item& item) const
{
    return m_request.arguments.isEmpty() || matchesAny(item, m_request.arguments);
}

ExitStatus Watch::printPresent()
{
    for (const Item& item : m_items.items()) {
        // An action has no value; of the others it is news when they do not apply.
        const Change present{ !item.isAction(), item.isAction() || !item.applicable || m_request.json };
        const ExitStatus status = isWatched(item) ? print(item, present) : ExitStatus::Done;
        if (status != ExitStatus::Done) {
            return status;
        }
    }
    return ExitStatus::Done;
}

ExitStatus Watch::print(const Item& item, Change change)
{
    return m_output.line(m_request.json ? base::jsonText(changeJson(item, change))
                                        : changeLine(item, change, m_output));
}

void Watch::printChange(const Item& item, Change change)
{
    if (m_ending.isReached() || !isWatched(item)) {
        return;
    }
    const ExitStatus status = print(item, change);
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
    const Patience patience(request.timeout);
    const auto live = openLive(request, request.arguments, patience, output, [&request](LiveItems& items) {
        return checkAllMatch(items.items(), items.servers(), request.arguments);
    });
    if (!live) {
        return tl::unexpected(live.error());
    }
    Watch watch(request, patience, **live, output);
    const ExitStatus printed = request.initial ? watch.printPresent() : ExitStatus::Done;
    if (printed != ExitStatus::Done) {
        return printed;
    }
    return watch.await();
}

} // namespace itemctl
