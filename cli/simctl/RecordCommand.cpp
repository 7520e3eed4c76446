#include "Commands.h"
#include "EndingSignals.h"
#include "RecordingWriter.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>

namespace simctl {

base::Result<cli::ExitStatus> record(const Request& request, cli::Output& output)
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
    recording::RecordingWriter writer;
    ExitStatus status = ExitStatus::Done;
    QObject::connect(
        &writer, &recording::RecordingWriter::propertiesMissing, qApp, [&](const QString& reason) {
            output.note(
                QStringLiteral("the daemon does not tell its properties, so that the recording has it appear "
                               "without them: %1")
                    .arg(reason));
            status = ExitStatus::NoAnswer;
        });
    if (const auto begun = writer.begin(path); !begun) {
        return tl::unexpected(begun.error());
    }
    if (request.timeout) {
        QTimer::singleShot(*request.timeout, qApp, &QCoreApplication::quit);
    } else {
        output.note(QStringLiteral("recording to %1; Ctrl-C ends it").arg(path));
    }
    QCoreApplication::exec();
    return writer.end().map([&](int events) {
        output.note(events == 1 ? QStringLiteral("1 event recorded")
                                : QStringLiteral("%1 events recorded").arg(events));
        return status;
    });
}

} // namespace simctl
