#pragma once

#include "Commands.h"
#include "Expectations.h"
#include "Patience.h"

namespace itemctl {

/// What a person waits for, as the command line tells it.
struct GoalConditions
{
    std::vector<Condition> until; ///< all of them
    std::vector<Condition> unless; ///< any of them

    static base::Result<GoalConditions> parse(const QStringList& until, const QStringList& unless);
    /// The items that they name.
    [[nodiscard]] QStringList items() const;
};

/// How long a request waits for its goal.
[[nodiscard]] Patience patienceOf(const Request& request);

/// Conditions, with the items that they are about, and the way there.
class Goal
{
public:
    static base::Result<Goal> of(const GoalConditions& conditions, LiveItems& items);

    /// From now on a condition counts only once its item has changed.
    void forgetThePresent();
    /// Returns when all hold, after a turn of the servers; the error is that one holds that should not, that
    /// time is over, or the bus. With \a shows it prints each change of the items on its way.
    base::Result<ExitStatus> reach(const Patience& patience, bool shows, const Request& request,
                                   Output& output);
    /// Of all that has to hold.
    [[nodiscard]] const Expectations& expectations() const { return m_until; }

private:
    Goal(Expectations until, Expectations unless, LiveItems& items);
    /// Done, a failure, or nothing so far.
    [[nodiscard]] std::optional<base::Result<ExitStatus>> outcome() const;

    Expectations m_until;
    Expectations m_unless;
    LiveItems* m_items;
};

} // namespace itemctl
