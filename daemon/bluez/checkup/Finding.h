#pragma once

#include <QString>
#include <QVector>

namespace bt {

/// One thing that was looked at. It is never changed by that.
struct Finding
{
    enum class Level {
        Fine,
        Note, ///< the radio works, but a person should know
        Fault ///< it does not
    };

    Level level = Level::Fine;
    QString subject;
    QString text;
    QString remedy; ///< empty when there is nothing to do
};

using Findings = QVector<Finding>;

} // namespace bt
