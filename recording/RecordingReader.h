#pragma once

#include "Result.h"

#include <QVariantMap>

#include <chrono>

namespace recording {

/// Something that a daemon did.
struct RecordedEvent
{
    enum class Kind {
        Appeared, ///< on the bus, with these properties
        Left,
        HandedOver, ///< its name passed to another owner without a gap
        Signal,
        Property ///< changed without a signal of its own
    };

    std::chrono::milliseconds time{ 0 };
    Kind kind = Kind::Signal;
    QString name; ///< of the signal or property
    QVariant value; ///< of Property, and of a Signal that carries one
    QVariantList arguments; ///< of Signal, as they are sent
    QVariantMap properties; ///< of Appeared
};

/// What a daemon did in its time, as "simctl record" wrote it down.
struct RecordedRun
{
    std::vector<RecordedEvent> events; ///< by time; the first is Appeared, at 0
};

/// The error, with its line, is of the first thing that is wrong with the text.
[[nodiscard]] base::Result<RecordedRun> readRecording(const QByteArray& text);

} // namespace recording
