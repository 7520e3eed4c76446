#pragma once

#include "Commands.h"
#include "Expectations.h"
#include "Patience.h"

#include <functional>

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

    /// Whether a condition that holds when a request is answered counts, or only once its item has changed
    /// since.
    enum class Counts { Present, News };
    /// Sends the request; calls the function once, before anything is told that came behind the answer.
    using Begin = std::function<base::Result<ExitStatus>(const std::function<void(Counts)>& answered)>;

    /// Returns when all hold, after a turn of the servers; the error is that one holds that should not, that
    /// time is over, or the bus. With a request that begins it, prints each change of the items from its
    /// answer on.
    base::Result<ExitStatus> reach(const Patience& patience, const Request& request, Output& output,
                                   const Begin& begin = {});
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
