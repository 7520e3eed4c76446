#include "EverydayOutput.h"

#include <QRegularExpression>

namespace world {

QString withoutEverydayLines(const QString& output)
{
    // A bus always wants 65536 file descriptors when it is root, and a container's root may be refused them;
    // it tells of the monitor through which the world sees what actions answer; and the module writes two
    // configs that only the device's own framework brings along.
    static const QRegularExpression everyday(
        QStringLiteral("^(dbus-daemon\\[\\d+\\]: .*(Failed to set fd limit to .*|became a monitor\\."
                       "|Monitoring connection \\S+ closed\\.)"
                       "|bluetooth has no config \"(state|str)\")\\n"),
        QRegularExpression::MultilineOption);
    return QString(output).remove(everyday);
}

} // namespace world
