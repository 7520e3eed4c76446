#pragma once

#include <array>

namespace bt {

/// In the order in which they are shown.
enum class FaultKind {
    Error,
    Slow,
    IgnoreSigterm,
    Burst,
    Payload,
    SilentProperty,
    Drop,
    Double,
    Stall,
    Leave,
    Handover,
    Crash,
    None
};

/// How a person asks for a fault, and reads of it. A row here and its effect in bus/BusFront are a
/// fault; docs/simctl.1, control/tov.sim.Radio1.xml and tests/cli/check-completion name the words.
struct FaultWord
{
    FaultKind kind;
    const char* word;
    /// Those in brackets may be left out: SECONDS, N and TIMES (a number), SIGNAL, PROPERTY, SHAPE, VALUE.
    const char* arguments;
    const char* help; ///< each line as it is printed
    /// What it does while it lasts, with {name}, {signature}, {value}, {seconds} and {count} as they were
    /// told.
    const char* text = "";
    double harmless = -1; ///< the number with which nothing goes wrong
};

inline constexpr std::array FaultWords{
    FaultWord{ FaultKind::Stall, "stall", "[SECONDS]",
               "answers nothing and tells nothing; until \"none\", or so long", "answers nothing" },
    FaultWord{ FaultKind::Crash, "crash", "", "ends without a word" },
    FaultWord{ FaultKind::Leave, "leave", "[SECONDS]",
               "gives its bus name up; comes back with \"none\", or then", "has left the bus" },
    FaultWord{ FaultKind::Handover, "handover", "",
               "passes its bus name to another connection, without a gap" },
    FaultWord{ FaultKind::IgnoreSigterm, "ignore-sigterm", "SECONDS", "ends only so long after SIGTERM",
               "ignores SIGTERM for {seconds} s", 0 },
    FaultWord{ FaultKind::Slow, "slow", "SECONDS", "takes up every request so much later",
               "answers {seconds} s late", 0 },
    FaultWord{ FaultKind::Error, "error", "", "answers every request with an error",
               "answers every request with an error" },
    FaultWord{ FaultKind::Payload, "payload", "SIGNAL|PROPERTY SHAPE [VALUE]",
               "sends a value of another D-Bus signature, like \"a(t)\"; of your own\n"
               "in JSON: payload scanResults \"a(tis)\" '[[11,-40,\"x\"]]'",
               "sends {name} as {signature} {value}" },
    FaultWord{ FaultKind::Burst, "burst", "N", "holds signals back until N have gathered",
               "sends signals in bursts of {count}", 1 },
    FaultWord{ FaultKind::SilentProperty, "silent-property", "PROPERTY",
               "does not tell that the property changes", "does not tell that {name} changes" },
    FaultWord{ FaultKind::Drop, "drop", "SIGNAL [TIMES]",
               "does not send the signal; until \"none\", or so often", "does not send {name}" },
    FaultWord{ FaultKind::Double, "double", "SIGNAL [TIMES]",
               "sends the signal twice; until \"none\", or so often", "sends {name} twice" },
    FaultWord{ FaultKind::None, "none", "", "nothing goes wrong any more" },
};

} // namespace bt
