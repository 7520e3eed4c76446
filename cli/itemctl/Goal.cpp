#include "Goal.h"

#include "Ending.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>

#include <algorithm>

namespace itemctl {
namespace {

constexpr std::chrono::milliseconds DefaultWait{ 10'000 };

base::Result<std::vector<Condition>> parseAll(const QStringList& texts)
{
    std::vector<Condition> conditions;
    for (const QString& text : texts) {
        const auto condition = Condition::parse(text);
        if (!condition) {
            return tl::unexpected(condition.error());
        }
        conditions.push_back(*condition);
    }
    return conditions;
}

/// As a person follows it: an enumeration's label alone.
QString followedValue(const Item& item)
{
    const QString raw = base::rawText(item.value);
    return item.isEnumeration && !item.text.isEmpty() ? escaped(item.text)
        : raw.isEmpty()                               ? QStringLiteral("(empty)")
                                                      : escaped(raw);
}

QString followedChange(const Item& before, const Item& now, Change change)
{
    QStringList news;
    if (change.value) {
        news << followedValue(before) + QStringLiteral(" -> ") + followedValue(now);
    }
    if (change.applicability) {
        news << (now.applicable ? QStringLiteral("applies") : QStringLiteral("does not apply"));
    }
    return now.idWithIndex() + QStringLiteral("  ") + news.join(QStringLiteral(", "));
}

} // namespace

base::Result<GoalConditions> GoalConditions::parse(const QStringList& until, const QStringList& unless)
{
    return parseAll(until).and_then([&unless](const std::vector<Condition>& all) {
        return parseAll(unless).map([&all](const std::vector<Condition>& any) {
            return GoalConditions{ all, any };
        });
    });
}

QStringList GoalConditions::items() const
{
    QStringList names;
    for (const auto* conditions : { &until, &unless }) {
        for (const Condition& condition : *conditions) {
            names += condition.item();
        }
    }
    return names;
}

Patience patienceOf(const Request& request)
{
    return Patience(request.timeout.value_or(DefaultWait));
}

Goal::Goal(Expectations until, Expectations unless, LiveItems& items)
    : m_until(std::move(until))
    , m_unless(std::move(unless))
    , m_items(&items)
{
}

base::Result<Goal> Goal::of(const GoalConditions& conditions, LiveItems& items)
{
    return Expectations::of(conditions.until, items).and_then([&](const Expectations& until) {
        return Expectations::of(conditions.unless, items).map([&](const Expectations& unless) {
            return Goal(until, unless, items);
        });
    });
}

std::optional<base::Result<ExitStatus>> Goal::outcome() const
{
    if (const QString unwanted = m_unless.firstThatHolds(); !unwanted.isEmpty()) {
        return base::error(unwanted);
    }
    return m_until.allHold() ? std::optional(base::Result<ExitStatus>(ExitStatus::Done)) : std::nullopt;
}

base::Result<ExitStatus> Goal::reach(const Patience& patience, const Request& request, Output& output,
                                     const Begin& begin)
{
    Ending ending(*m_items, output);
    bool follows = false;
    const auto take = [&](int position, Change change, const Item& before) {
        m_until.noteChange(position);
        m_unless.noteChange(position);
        const Item& item = m_items->items()[position];
        const bool isShown =
            m_until.areAbout(position) || m_unless.areAbout(position) || matchesAny(item, request.show);
        if (follows && isShown && !ending.isReached()) {
            const ExitStatus written = output.line(request.json ? base::jsonText(changeJson(item, change))
                                                                : followedChange(before, item, change));
            if (written != ExitStatus::Done) {
                ending.reach(written);
            }
        }
    };
    QObject::connect(m_items, &LiveItems::itemChanged, &ending, take);
    const auto look = [&] {
        if (const auto reached = outcome()) {
            *reached ? ending.reach(**reached) : ending.reach(reached->error());
        }
    };
    if (begin) {
        auto begun = begin([&](Counts counts) {
            follows = true;
            if (counts == Counts::News) {
                m_until.forgetThePresent();
                m_unless.forgetThePresent();
            }
            QObject::connect(m_items, &LiveItems::turnEnded, &ending, look);
        });
        if (!begun || *begun != ExitStatus::Done) {
            return begun;
        }
    } else {
        QObject::connect(m_items, &LiveItems::turnEnded, &ending, look);
    }
    look();
    ending.awaitTimeout(patience.left(), [&] {
        ending.reach(
            base::Error{ QStringLiteral("timed out after %1: %2").arg(patience.text(), m_until.shortfall()),
                         base::Failure::NoAnswer });
    });
    return ending.await();
}

} // namespace itemctl
