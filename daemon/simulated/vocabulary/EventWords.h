#pragma once

#include "Scenario.h"

#include <array>

namespace bt {

/// What can happen around the radio, in the timeline of a scenario file.
struct EventWord
{
    const char* word;
    ScenarioEvent::Kind kind;
};

inline constexpr std::array EventWords{
    EventWord{ "connect", ScenarioEvent::Kind::Connect },
    EventWord{ "pair-request", ScenarioEvent::Kind::PairRequest },
    EventWord{ "drop", ScenarioEvent::Kind::Drop },
    EventWord{ "disappear", ScenarioEvent::Kind::Disappear },
    EventWord{ "appear", ScenarioEvent::Kind::Appear },
    EventWord{ "move", ScenarioEvent::Kind::Move },
};

} // namespace bt
