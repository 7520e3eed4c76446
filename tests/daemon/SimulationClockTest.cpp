#include "SimulationClock.h"

#include <QtTest>

using namespace std::chrono_literals;

class SimulationClockTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsInTheOrderOfSimulatedTime_data();
    void runsInTheOrderOfSimulatedTime();
    void forgetsStepsOfWhatIsGone();
};

void SimulationClockTest::runsInTheOrderOfSimulatedTime_data()
{
    QTest::addColumn<double>("scale");
    QTest::newRow("nearly as slow as real") << 2.0;
    QTest::newRow("everything is due in one tick of the real timer") << 10000.0;
}

void SimulationClockTest::runsInTheOrderOfSimulatedTime()
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
        order << QStringLiteral("25");
        clock.after(24ms, this, note("25+24"));
        clock.after(26ms, this, note("25+26"));
    });
    clock.after(50ms, this, note("50 again"));
    QTRY_COMPARE(order, (QStringList{ "25", "25+24", "50", "50 again", "25+26", "75" }));
}

void SimulationClockTest::forgetsStepsOfWhatIsGone()
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

QTEST_GUILESS_MAIN(SimulationClockTest)
#include "SimulationClockTest.moc"
