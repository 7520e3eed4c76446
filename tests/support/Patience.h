#pragma once

#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

/// How long a test program waits for what does not come. Each wait that was in vain halves the next ones, so
/// that one fault costs a program twice the first wait at most, however many rows it fails. Included in front
/// of every test: QTRY_… waits that long, and not twice more only to tell whether that would have done.
class Patience
{
public:
    static constexpr int Usual = 5000; // ms
    static constexpr int Least = 50;
    static constexpr int Step = 10;

    explicit Patience(int milliseconds = Usual)
        : m_deadline(std::max(milliseconds >> std::min(inVain(), 8), Least))
    {
    }
    [[nodiscard]] bool isLeft() const
    {
        const bool left = !m_deadline.hasExpired();
        inVain() += left ? 0 : 1;
        return left;
    }
    /// QTest::qWaitFor().
    template <typename Holds>
    [[nodiscard]] static bool waitFor(Holds holds)
    {
        for (const Patience patience; patience.isLeft(); QTest::qWait(Step)) {
            if (holds()) {
                return true;
            }
        }
        return holds();
    }
    /// QSignalSpy::wait().
    [[nodiscard]] static bool wait(QSignalSpy& spy)
    {
        const Patience patience;
        const bool came = spy.wait(static_cast<int>(patience.m_deadline.remainingTime()));
        inVain() += came ? 0 : 1;
        return came;
    }

private:
    static int& inVain()
    {
        static int count = 0;
        return count;
    }

    QDeadlineTimer m_deadline;
};

#undef QTRY_IMPL
#define QTRY_IMPL(expr, timeout)                                                                             \
    for (const Patience patience(timeout); !(expr) && patience.isLeft();)                                    \
        QTest::qWait(Patience::Step);
