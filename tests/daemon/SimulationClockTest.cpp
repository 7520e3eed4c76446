#include "SimulationClock.h"
#include "support/Rows.h"

#include <QtTest>

using namespace std::chrono_literals;

class SimulationClockTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsInTheOrderOfSimulatedTime_data()
    {
        const Rows<double> row("scale");
        row("nearly as slow as real", 2.0);
        row("everything is due in one tick of the real timer", 10000.0);
    }

    void runsInTheOrderOfSimulatedTime()
    {
        QFETCH(double, scale);

        bt::SimulationClock clock(scale);
        QStringList order;
        const auto note = [&order](const char* what) {
            return [&order, what] {
                order << QString::fromLatin1(what);
            };
        };
        clock.after(75ms, this, note("75"));
        clock.after(50ms, this, note("50"));
        clock.after(25ms, this, [&] {
            order << "25";
            clock.after(24ms, this, note("25+24"));
            clock.after(26ms, this, note("25+26"));
        });
        clock.after(50ms, this, note("50 again"));
        QTRY_COMPARE(order, (QStringList{ "25", "25+24", "50", "50 again", "25+26", "75" }));
    }

    void forgetsStepsOfWhatIsGone()
    {
        bt::SimulationClock clock(100);
        bool ran = false;
        QObject early;
        auto late = std::make_unique<QObject>();
        clock.after(20ms, late.get(), [&ran] { ran = true; });
        clock.after(10ms, &early, [&late] { late.reset(); });
        bool last = false;
        clock.after(30ms, this, [&last] { last = true; });
        QTRY_VERIFY(last);
        QVERIFY(!ran);
    }

    void canBeDriven()
    {
        bt::SimulationClock clock(1e6);
        clock.pause();
        const auto begin = clock.now();
        QStringList order;
        clock.after(10s, this, [&] {
            order << "10";
            clock.after(0s, this, [&] { order << "10+0"; });
            clock.after(20s, this, [&] { order << "10+20"; });
        });
        QCoreApplication::processEvents(); // a million times faster it would be due, if it ran
        QVERIFY(order.isEmpty());
        clock.advance(10s);
        QCOMPARE(order, (QStringList{ "10", "10+0" }));
        QVERIFY(clock.now() - begin == 10s);
        clock.advance(19s);
        QCOMPARE(order.size(), 2);
        clock.setScale(2e4);
        QVERIFY(clock.isPaused() && clock.now() - begin == 29s);
        clock.resume();
        QTRY_COMPARE(order.size(), 3);
        QVERIFY(clock.now() - begin >= 30s);
    }

    void changesItsSpeedWhileItRuns()
    {
        bt::SimulationClock standing(1, true);
        bt::SimulationClock clock(1e4);
        bool first = false;
        bool second = false;
        clock.after(100s, this, [&first] { first = true; });
        clock.after(24h, this, [&second] { second = true; });
        QTRY_VERIFY(first);
        clock.setScale(1);
        QVERIFY2(clock.now() >= 100s, "what has passed stays");
        clock.setScale(1e6); // the next step is due a good deal sooner
        QTRY_VERIFY(second);

        QElapsedTimer running;
        running.start();
        standing.resume();
        const auto passed = standing.now();
        QVERIFY2(passed.count() <= running.elapsed() + 1, "what it stood is not made up for");
    }
};

QTEST_GUILESS_MAIN(SimulationClockTest)
#include "SimulationClockTest.moc"
