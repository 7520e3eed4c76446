#include "Output.h"

#include "DisplayText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace cli {

ExitStatus statusOf(base::Failure failure)
{
    switch (failure) {
    case base::Failure::Usage:
    case base::Failure::InvalidArgument:
        return ExitStatus::Usage;
    case base::Failure::NoSuchItem:
        return ExitStatus::NoSuchItem;
    case base::Failure::NoAnswer:
        return ExitStatus::NoAnswer;
    case base::Failure::NoServer:
        return ExitStatus::NoServer;
    default:
        return ExitStatus::Failed;
    }
}

Output::Output(QString program)
    : m_program(std::move(program))
    , m_isTerminal(::isatty(STDOUT_FILENO) == 1)
    , m_hasColour(m_isTerminal && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb")
{
}

ExitStatus Output::line(const QString& text)
{
    const QByteArray bytes = text.toUtf8() + '\n';
    if (std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout)
            == static_cast<std::size_t>(bytes.size())
        && std::fflush(stdout) == 0) {
        return ExitStatus::Done;
    }
    // Whoever closes the pipe ("head") has what was wanted.
    if (errno != EPIPE) {
        note(QStringLiteral("standard output cannot be written: %1")
                 .arg(QString::fromLocal8Bit(
                     std::strerror(errno)))); // NOLINT(concurrency-mt-unsafe): one thread
    }
    return ExitStatus::Failed;
}

ExitStatus Output::lines(const QStringList& texts)
{
    const bool done = std::all_of(texts.begin(), texts.end(),
                                  [this](const QString& text) { return line(text) == ExitStatus::Done; });
    return done ? ExitStatus::Done : ExitStatus::Failed;
}

void Output::note(const QString& message)
{
    const QByteArray bytes = m_program.toUtf8() + ": " + escaped(message).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
}

ExitStatus Output::fail(const base::Error& error)
{
    note(error.text);
    return statusOf(error.kind);
}

int Output::columns() const
{
    winsize size{};
    if (!m_isTerminal || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        return 0;
    }
    return size.ws_col;
}

QString Output::dim(const QString& text) const
{
    return m_hasColour ? QStringLiteral("\x1b[2m%1\x1b[0m").arg(text) : text;
}

QString Output::bold(const QString& text) const
{
    return m_hasColour ? QStringLiteral("\x1b[1m%1\x1b[0m").arg(text) : text;
}

} // namespace cli
