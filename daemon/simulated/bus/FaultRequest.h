#pragma once

#include <QStringList>
#include <QVariant>

#include <chrono>
#include <optional>

namespace bt {

/// What is sent in the place of a value.
struct Payload
{
    QString signature;
    QString json; ///< as it was asked for; empty for whatever the signature allows
    QVariant value;
};

/// What somebody wants to go wrong.
struct FaultRequest
{
    enum class Kind {
        None,
        Stall,
        Crash,
        Leave,
        Handover,
        IgnoreSigterm,
        Slow,
        Error,
        Payload,
        Burst,
        SilentProperty
    };

    Kind kind = Kind::None;
    QString name; ///< of a signal or property
    Payload payload;
    /// Real time; of Stall and Leave how long it lasts, without it until Kind::None.
    std::optional<std::chrono::milliseconds> duration;
    int count = 0; ///< of Burst

    /// @param arguments the kind, and what belongs to it.
    /// @param problem what is wrong and what would be right.
    [[nodiscard]] static std::optional<FaultRequest> parse(const QStringList& arguments, QString& problem);
};

} // namespace bt
