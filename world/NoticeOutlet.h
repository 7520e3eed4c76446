#pragma once

#include "Attendant.h"

#include <QByteArray>

#include <chrono>

namespace world {

/// Where a person is told what is good to know now: the terminal, or the live view's pipe. Never waits for
/// it; a flood is cut short, and how much was left out is said.
class NoticeOutlet : public Attendant
{
public:
    /// Notices at once; after these, one in each interval.
    static constexpr int Burst = 20;
    static constexpr std::chrono::seconds Interval{ 5 };

    explicit NoticeOutlet(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    /// Shows one notice, whatever it holds as one safe line.
    void show(const QByteArray& text);
    /// What is shown from now on goes elsewhere, also what waits.
    void redirect(int descriptor) { m_descriptor = descriptor; }
    /// Says what was left out, and gives what waits a last moment.
    void finish();

    [[nodiscard]] pollfd awaits() const override;
    void attend() override;

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] bool isAllowed();
    void queue(const QByteArray& text);
    void write();

    int m_descriptor;
    int m_allowance = Burst;
    int m_leftOut = 0;
    Clock::time_point m_refilled = Clock::now();
    QByteArray m_waiting; ///< whole lines, until the descriptor takes them
};

} // namespace world
