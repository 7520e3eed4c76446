#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <vterm.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// A program at a terminal of its own, 80 columns wide, and what its screen shows. The terminal outlives
/// the program.
class PseudoTerminal
{
public:
    explicit PseudoTerminal(int height = 24);
    /// Ends the program, if it still runs.
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// Starts the program as the leader of the terminal's session.
    [[nodiscard]] bool start(const QStringList& words,
                             const std::vector<std::pair<QString, QString>>& environment = {});
    void type(const QByteArray& keys) const;
    void resize(int height);

    /// Waits until the screen is as asked for. @return whether it came to that.
    [[nodiscard]] bool waitUntil(const std::function<bool(const QStringList& lines)>& holds);
    [[nodiscard]] bool shows(const QString& text);
    [[nodiscard]] bool hides(const QString& text);
    /// The screen's lines without blanks at their ends.
    [[nodiscard]] QStringList lines() const;
    /// The same as one text, for a message.
    [[nodiscard]] QByteArray screen() const { return '\n' + lines().join('\n').toUtf8(); }
    /// The first line in reverse video.
    [[nodiscard]] QString reversedLine() const;

    /// Waits for the program's end. @return its status as a shell counts it; -1 when it goes on.
    [[nodiscard]] int finish();

    [[nodiscard]] pid_t program() const { return static_cast<pid_t>(m_process.processId()); }
    /// The process group that the terminal's keys go to.
    [[nodiscard]] pid_t foreground() const;
    /// All that tcgetattr() tells, to be compared.
    [[nodiscard]] QByteArray settings() const;

private:
    class Process : public QProcess
    {
    public:
        int terminal = -1;

    protected:
        void setupChildProcess() override;
    };
    using Emulator = std::unique_ptr<VTerm, decltype(&vterm_free)>;

    void takeOutput();

    int m_height;
    int m_keyboard = -1; ///< the side of the person
    Process m_process;
    Emulator m_emulator;
};
