#include "Programs.h"

void start(QProcess& process, const QString& program, const QStringList& arguments, const Run& how)
{
    QStringList words{ program };
    if (how.ordinaryUser) {
        words = QStringList{ "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", program };
    }
    words << arguments;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : how.environment) {
        environment.insert(name, value);
    }
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(how.folder);
    process.start(words.takeFirst(), words);
}

Finished run(const QString& program, const QStringList& arguments, const Run& how)
{
    QProcess process;
    start(process, program, arguments, how);
    return finish(process);
}

Finished finish(QProcess& process)
{
    // A process whose end was noticed already is not waited for again: that would fail.
    const bool hasEnded = process.error() != QProcess::FailedToStart
        && (process.state() == QProcess::NotRunning || process.waitForFinished(100'000));
    if (!hasEnded) {
        return {};
    }
    const int base = process.exitStatus() == QProcess::NormalExit ? 0 : 128;
    return { base + process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}
