#pragma once

#include <QByteArray>
#include <QSocketNotifier>

#include <chrono>
#include <optional>

namespace world {

/// Where a person is told what is good to know now: the terminal, or the live view's pipe. Never waits for
/// it; a flood is cut short, and how much was left out is said.
class NoticeOutlet
{
public:
    /// Notices at once; after these, one in each interval.
    static constexpr int Burst = 20;
    static constexpr std::chrono::seconds Interval{ 5 };

    explicit NoticeOutlet(int descriptor) { redirect(descriptor); }

    /// Shows one notice, whatever it holds as one safe line.
    void show(const QByteArray& text);
    /// What is shown from now on goes elsewhere, also what waits.
    void redirect(int descriptor);
    /// Says what was left out, and gives what waits a last moment.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] bool isAllowed();
    void queue(const QByteArray& text);
    void write();
    void writeWhatIsTaken();

    int m_descriptor = -1;
    std::optional<QSocketNotifier> m_writable; ///< enabled while something waits
    int m_allowance = Burst;
    int m_leftOut = 0;
    Clock::time_point m_refilled = Clock::now();
    QByteArray m_waiting; ///< whole lines, until the descriptor takes them
};

} // namespace world
