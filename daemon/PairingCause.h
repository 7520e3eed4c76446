#pragma once

#include "RadioTypes.h"

#include <array>

namespace bt {

/// Why a pairing or a connection came to nothing, as far as the radio knows; it claims no more.
enum class Cause {
    RefusedHere,
    RefusedThere,
    WrongPin,
    NoCommonKey,
    NoAnswerHere,
    NoAnswerThere,
    OutOfRange,
    LinkLost,
    ForgotUs,
    Busy,
    NotAllowed,
    RadioGone,
    Unknown
};

/// What is told of a cause, whichever radio met it. The same two sentences stand in docs/troubleshooting.md.
struct CauseWords
{
    Cause cause;
    PairState end; ///< of the pairing
    const char* happened;
    const char* remedy;
};

inline constexpr std::array Causes{
    CauseWords{ Cause::RefusedHere, PairState::Failed, "it was refused here", "to agree, pair again" },
    CauseWords{ Cause::RefusedThere, PairState::FailedAuthentication, "the other device refused",
                "pair again and agree over there" },
    CauseWords{ Cause::WrongPin, PairState::FailedAuthentication, "the other device did not take the PIN",
                "pair again with the one that it shows or its manual names, often 0000 or 1234" },
    CauseWords{ Cause::NoCommonKey, PairState::FailedAuthentication, "the two did not agree on a key",
                "mostly a wrong PIN or a refusal over there: pair again and watch the other device" },
    CauseWords{ Cause::NoAnswerHere, PairState::FailedAuthentication, "nobody here answered in time",
                "pair again and answer sooner" },
    CauseWords{ Cause::NoAnswerThere, PairState::FailedAuthentication, "the other device stopped answering",
                "see whether it asks something, and pair again" },
    CauseWords{ Cause::OutOfRange, PairState::FailedConnection, "the other device does not answer",
                "see that it is on, near and visible" },
    CauseWords{ Cause::LinkLost, PairState::FailedConnection, "the link was lost",
                "bring the two nearer to each other and try again" },
    CauseWords{ Cause::ForgotUs, PairState::FailedAuthentication,
                "the other device has forgotten the pairing", "unpair it here as well, and pair anew" },
    CauseWords{ Cause::Busy, PairState::Failed, "somebody else is busy with the device",
                "end what another program does with it, or wait for that" },
    CauseWords{ Cause::NotAllowed, PairState::Failed, "this user may not do that at the system bus",
                "docs/bluez-mapping.md says who may" },
    CauseWords{ Cause::RadioGone, PairState::Idle, "the radio went off or away",
                "switch it on and try again" },
    CauseWords{ Cause::Unknown, PairState::Failed, "the reason is not known", "try again" },
};

const CauseWords& wordsOf(Cause cause);

/// What happened and what to do, in one line.
/// @param detail what else is known, as the other side of an interface put it; may be empty
QString causeText(Cause cause, const QString& detail = {});

} // namespace bt
