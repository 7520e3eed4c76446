// What the module does when the daemon behind it does not behave, seen through its items alone.
#include "SimulatedWorld.h"
#include "support/Rows.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QSignalSpy>

namespace {

const char* const Headset = "00:11:22:33:44:02";

} // namespace

class DaemonFaultsTest : public QObject
{
    Q_OBJECT

public:
    explicit DaemonFaultsTest(testkit::SimulatedWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void init() { QVERIFY2(m_world.start(), qPrintable(m_world.problem())); }

    // The module forwards without waiting; what it was asked is done when the daemon can.
    void stallHoldsNobodyUp()
    {
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        QVERIFY(m_world.fault({ "stall" }));
        for (const char* action : { "scan", "cancelscan", "scan" })
            QVERIFY(m_world.trigger(action));
        QCOMPARE(m_world.text("scanstate"), "0");
        QVERIFY(m_world.fault({ "none" }));
        QVERIFY2(m_world.stepUntil("scanstate", "2"), qPrintable(m_world.problem()));
        QCOMPARE(m_world.calls(), (QStringList{ "Scan", "CancelScan", "Scan" }));
    }

    void crashSwitchesOff()
    {
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        QVERIFY(m_world.fault({ "crash" }));
        QVERIFY2(m_world.waitFor("enabled", "false"), qPrintable(m_world.problem()));
        QCOMPARE(m_world.text("status"), "0");
        QVERIFY(!m_world.isApplicable("scan"));
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem())); // and it can be had again
    }

    void daemonThatLeavesAndComesBack()
    {
        QVERIFY2(ownDaemonIsOn(), qPrintable(m_world.problem()));
        QVERIFY(pairHeadset());
        QVERIFY(m_world.fault({ "leave" }));
        QVERIFY(m_world.waitForApplicable("scan", false));
        QVERIFY(m_world.waitFor("pairlistAddr:0", {}));
        QCOMPARE(m_world.text("status"), "0");

        QVERIFY(m_world.fault({ "none" }));
        QVERIFY(m_world.waitFor("status", "3")); // the refresh reads everything anew
        QVERIFY(m_world.waitFor("pairlistAddr:0", Headset));
        QVERIFY(m_world.waitForApplicable("scan", true));
    }

    // The bus passes the name on in one step: the watcher is silent and nothing is read again, but the new
    // owner's signals arrive.
    void handoverIsNotSeen()
    {
        QVERIFY2(ownDaemonIsOn(), qPrintable(m_world.problem()));
        QDBusServiceWatcher watcher("com.qarn.bluetooth", QDBusConnection::systemBus(),
                                    QDBusServiceWatcher::WatchForOwnerChange);
        QSignalSpy owners(&watcher, &QDBusServiceWatcher::serviceOwnerChanged);
        QVERIFY(m_world.fault({ "silent-property", "pairList" }));
        QVERIFY(pairHeadset()); // a new pairing that nobody tells of
        QVERIFY(m_world.fault({ "handover" }));
        QTRY_COMPARE(owners.size(), 1);
        QVERIFY(!owners.first().at(1).toString().isEmpty() && !owners.first().at(2).toString().isEmpty());

        QVERIFY(m_world.trigger("scan")); // goes to the new owner, and its signals come
        QVERIFY2(m_world.stepUntil("scanstate", "2"), qPrintable(m_world.problem()));
        QCOMPARE(m_world.text("pairlistAddr:0"), QString());
        QCOMPARE(m_world.text("status"), "3");
        QVERIFY(m_world.isApplicable("scan"));
    }

    void switchingOffWaitsForTheController()
    {
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        constexpr int Ignored = 300; // ms
        QVERIFY(m_world.fault({ "ignore-sigterm", "0.3" }));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(m_world.set("enabled", false));
        QCOMPARE(m_world.text("status"), "0");
        QVERIFY2(clock.elapsed() >= Ignored, qPrintable(QString::number(clock.elapsed())));
    }

    void slowAnswersHoldNobodyUp()
    {
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        constexpr int Late = 400; // ms
        QVERIFY(m_world.fault({ "slow", "0.4" }));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(m_world.trigger("pair", Headset));
        QVERIFY(m_world.waitFor("pairstate", "1"));
        QVERIFY2(clock.elapsed() >= Late, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(m_world.calls(), QStringList{ "Pair" });
    }

    // A refresh whose reads fail publishes 0, empty texts and empty lists.
    void errorsReadAsNothing()
    {
        QVERIFY2(ownDaemonIsOn(), qPrintable(m_world.problem()));
        QVERIFY(pairHeadset());
        QVERIFY(m_world.fault({ "error" }));
        QVERIFY(m_world.fault({ "leave", "0" })); // and comes back at once
        QVERIFY(m_world.waitFor("pairlistAddr:0", {}));
        QVERIFY(m_world.waitForApplicable("scan", true));
        QCOMPARE(m_world.text("status"), "0");
        QCOMPARE(m_world.text("pairstate"), "0");

        QVERIFY(m_world.trigger("scan")); // refused, which the module does not read
        QVERIFY(Patience::waitFor([this] { return m_world.calls().contains("Scan"); }));
        QVERIFY(m_world.fault({ "none" }));
        QVERIFY(m_world.step(10));
        QVERIFY(m_world.trigger("pair", "00:11:22:33:44:0B"));
        QVERIFY(m_world.stepUntil("pairstate", "100"));
        QCOMPARE(m_world.text("scanstate"), "0");
    }

    void payloadOfAnotherShape_data()
    {
        // "shown" is the scan state, which is 1 meanwhile.
        const Rows<QStringList, QString> row("shape", "shown");
        row("what does not convert is ignored", { "as" }, "0");
        row("a number in a text", { "s", "\"2\"" }, "2");
    }

    void payloadOfAnotherShape()
    {
        QFETCH(QStringList, shape);
        QFETCH(QString, shown);
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        QVERIFY2(m_world.fault(QStringList{ "payload", "scanStateChanged" } + shape),
                 qPrintable(m_world.problem()));
        QVERIFY(m_world.trigger("scan"));
        QVERIFY(m_world.stepUntil([this] { return !m_world.text("scanresultsAddr:0").isEmpty(); }));
        QCOMPARE(m_world.text("scanstate"), shown);
    }

    // A refresh takes what it cannot read for 0, empty texts and empty lists.
    void propertiesOfAnotherShape()
    {
        QVERIFY2(ownDaemonIsOn(), qPrintable(m_world.problem()));
        QVERIFY(pairHeadset());
        QVERIFY(m_world.fault({ "payload", "pairList", "a(sss)" }));
        QVERIFY(m_world.fault({ "payload", "confirmationCode", "s" }));
        QVERIFY(m_world.fault({ "leave", "0" })); // and comes back at once
        QVERIFY(m_world.waitFor("confirmationcode", "x")); // the one that can be read
        QVERIFY(m_world.waitForApplicable("scan", true));
        QCOMPARE(m_world.text("pairlistAddr:0"), QString());
    }

    void burstsArriveInOrder()
    {
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        QVERIFY(m_world.fault({ "burst", "100000" }));
        QVERIFY(m_world.trigger("pair", Headset));
        QVERIFY(Patience::waitFor([this] { return m_world.calls().contains("Pair"); }));
        QVERIFY(m_world.step(30));
        QCOMPARE(m_world.text("pairstate"), "0");
        QVERIFY(m_world.fault({ "none" })); // all at once
        QVERIFY(m_world.waitFor("pairstate", "100"));
        QCOMPARE(m_world.text("pairlistAddr:0"), QString::fromLatin1(Headset)); // had come before the state
        QCOMPARE(m_world.text("pendingpair"), QString());
    }

private:
    /// With a device that asks nobody.
    [[nodiscard]] bool pairHeadset()
    {
        return m_world.trigger("pair", Headset) && m_world.stepUntil("pairstate", "100");
    }
    [[nodiscard]] bool ownDaemonIsOn()
    {
        return m_world.startOwnDaemon() && m_world.step(1) && m_world.waitFor("status", "3");
    }

    testkit::SimulatedWorld& m_world;
};

BLUETOOTH_TESTKIT_MAIN(DaemonFaultsTest)
#include "DaemonFaultsTest.moc"
