#include "Commands.h"
#include "Recording.h"
#include "base/EndingSignals.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>

namespace simctl {

base::Result<cli::ExitStatus> runRecord(const Request& request, cli::Output& output)
{
    using cli::ExitStatus;
    if (const auto bus = systemBus(); !bus) {
        return tl::unexpected(bus.error());
    }
    const QString path = request.arguments.value(0);
    if (!path.endsWith(QLatin1String(".rec"))) {
        return base::error(QStringLiteral("\"%1\" is no name of a recording, which ends with .rec").arg(path),
                           base::Failure::Usage);
    }
    const base::EndingSignals signalsToEnd;
    QObject::connect(&signalsToEnd, &base::EndingSignals::received, qApp, &QCoreApplication::quit);
    Recording recording;
    ExitStatus status = ExitStatus::Done;
    QObject::connect(&recording, &Recording::propertiesMissing, qApp, [&](const QString& reason) {
        output.note(
            QStringLiteral("the daemon does not tell its properties, so that the recording has it appear "
                           "without them: %1")
                .arg(reason));
        status = ExitStatus::NoAnswer;
    });
    if (const QString problem = recording.begin(path); !problem.isEmpty()) {
        return base::error(problem);
    }
    if (request.timeout) {
        QTimer::singleShot(*request.timeout, qApp, &QCoreApplication::quit);
    } else {
        output.note(QStringLiteral("recording to %1; Ctrl-C ends it").arg(path));
    }
    QCoreApplication::exec();
    recording.end();
    if (const QString problem = recording.problem(); !problem.isEmpty()) {
        return base::error(problem);
    }
    output.note(recording.lines() == 1 ? QStringLiteral("1 event recorded")
                                       : QStringLiteral("%1 events recorded").arg(recording.lines()));
    return status;
}

} // namespace simctl
