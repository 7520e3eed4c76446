#pragma once

#include <QHash>
#include <QSet>
#include <QStringList>
#include <QVariant>

#include <chrono>
#include <optional>

namespace bt {

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
    QVariant payload;
    /// Real time; of Stall and Leave how long it lasts, without it until Kind::None.
    std::optional<std::chrono::milliseconds> duration;
    int count = 0; ///< of Burst

    /// @param arguments the kind, and what belongs to it.
    /// @param problem what is wrong and what would be right.
    [[nodiscard]] static std::optional<FaultRequest> parse(const QStringList& arguments, QString& problem);
};

/// What goes wrong until it is told otherwise.
struct Faults
{
    bool answersErrors = false;
    std::chrono::milliseconds answersLate{ 0 };
    std::chrono::milliseconds ignoresSigterm{ 0 };
    int burst = 0; ///< signals go out when so many have gathered; 0 and 1: at once
    QHash<QString, QVariant> payloads; ///< by the name of the signal or property
    QSet<QString> silent; ///< signals that are not sent

    /// Takes up a request of a kind that lasts.
    void apply(const FaultRequest& request);
    /// For a person, a line each.
    [[nodiscard]] QStringList texts() const;
};

} // namespace bt
