#pragma once

#include "Common.h"
#include "Conditions.h"
#include "LiveItems.h"

#include <nlohmann/json_fwd.hpp>

#include <vector>

namespace itemctl {

/// Conditions, each with the item that it is about.
class Expectations
{
public:
    /// Fails when an item is not there, or a value can never be its. \a items has to outlive it.
    static base::Result<Expectations> of(const std::vector<Condition>& conditions, const LiveItems& items);

    /// From now on a condition holds only once its item has changed, which noteChange() tells.
    void forgetThePresent();
    void noteChange(int position);

    [[nodiscard]] bool areAbout(int position) const;
    [[nodiscard]] bool allHold() const;
    /// The first that holds, and what is there; empty when none does.
    [[nodiscard]] QString firstThatHolds() const;
    /// What does not hold, and what is there instead.
    [[nodiscard]] QString shortfall() const;
    /// Their items.
    [[nodiscard]] nlohmann::ordered_json json() const;

private:
    struct Expectation
    {
        Condition condition;
        QVector<int> positions; ///< several of a list
        bool counts = true;
    };

    explicit Expectations(const LiveItems& items)
        : m_items(&items)
    {
    }
    [[nodiscard]] bool holds(const Expectation& expectation) const;
    [[nodiscard]] QString rowsOf(const Expectation& expectation) const;
    [[nodiscard]] QString stateOf(const Expectation& expectation) const;

    const LiveItems* m_items;
    std::vector<Expectation> m_expectations;
};

} // namespace itemctl
