// What the module does when the daemon behind it does not behave, seen through its items alone.
#include "SystemTest.h"
#include "support/Rows.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QSignalSpy>

namespace {

const char* const Headset = "00:11:22:33:44:02";

} // namespace

class DaemonFaultsTest : public SystemTest
{
    Q_OBJECT

public:
    using SystemTest::SystemTest;

private Q_SLOTS:
    void init() { QVERIFY2(m_world.start(), why()); }

    // The module forwards without waiting; what it was asked is done when the daemon can.
    void stallHoldsNobodyUp()
    {
        QVERIFY2(m_world.switchOn(), why());
        QVERIFY2(m_world.fault({ "stall" }), why());
        for (const char* action : { "scan", "cancelscan", "scan" }) {
            QVERIFY2(m_world.trigger(action), why());
        }
        QCOMPARE(m_world.text("scanstate"), "0");
        QVERIFY2(m_world.fault({ "none" }), why());
        QVERIFY2(m_world.stepUntil("scanstate", "2"), why());
        QCOMPARE(m_world.calls(), (QStringList{ "Scan", "CancelScan", "Scan" }));
    }

    void crashSwitchesOff()
    {
        QVERIFY2(m_world.switchOn(), why());
        QVERIFY2(m_world.fault({ "crash" }), why());
        QVERIFY2(m_world.waitFor("enabled", "false"), why());
        QCOMPARE(m_world.text("status"), "0");
        QVERIFY(!m_world.isApplicable("scan"));
        QVERIFY2(m_world.switchOn(), why()); // and it can be had again
    }

    void daemonThatLeavesAndComesBack()
    {
        QVERIFY2(ownDaemonIsOn(), why());
        QVERIFY2(pairHeadset(), why());
        QVERIFY2(m_world.fault({ "leave" }), why());
        QVERIFY2(m_world.waitForApplicable("scan", false), why());
        QVERIFY2(m_world.waitFor("pairlistAddr:0", {}), why());
        QCOMPARE(m_world.text("status"), "0");

        QVERIFY2(m_world.fault({ "none" }), why());
        QVERIFY2(m_world.waitFor("status", "3"), why()); // the refresh reads everything anew
        QVERIFY2(m_world.waitFor("pairlistAddr:0", Headset), why());
        QVERIFY2(m_world.waitForApplicable("scan", true), why());
    }

    // The bus passes the name on in one step: the watcher is silent and nothing is read again, but the new
    // owner's signals arrive.
    void handoverIsNotSeen()
    {
        QVERIFY2(ownDaemonIsOn(), why());
        QDBusServiceWatcher watcher("com.qarn.bluetooth", QDBusConnection::systemBus(),
                                    QDBusServiceWatcher::WatchForOwnerChange);
        QSignalSpy owners(&watcher, &QDBusServiceWatcher::serviceOwnerChanged);
        QVERIFY2(m_world.fault({ "silent-property", "pairList" }), why());
        QVERIFY2(pairHeadset(), why()); // a new pairing that nobody tells of
        QVERIFY2(m_world.fault({ "handover" }), why());
        QTRY_COMPARE(owners.size(), 1);
        QVERIFY(!owners.first().at(1).toString().isEmpty() && !owners.first().at(2).toString().isEmpty());

        QVERIFY2(m_world.trigger("scan"), why()); // goes to the new owner, and its signals come
        QVERIFY2(m_world.stepUntil("scanstate", "2"), why());
        QCOMPARE(m_world.text("pairlistAddr:0"), QString());
        QCOMPARE(m_world.text("status"), "3");
        QVERIFY2(m_world.isApplicable("scan"), why());
    }

    void switchingOffWaitsForTheController()
    {
        QVERIFY2(m_world.switchOn(), why());
        constexpr int Ignored = 300; // ms
        QVERIFY2(m_world.fault({ "ignore-sigterm", "0.3" }), why());
        QElapsedTimer clock;
        clock.start();
        QVERIFY2(m_world.set("enabled", false), why());
        QCOMPARE(m_world.text("status"), "0");
        QVERIFY2(clock.elapsed() >= Ignored, qPrintable(QString::number(clock.elapsed())));
    }

    void slowAnswersHoldNobodyUp()
    {
        QVERIFY2(m_world.switchOn(), why());
        constexpr int Late = 400; // ms
        QVERIFY2(m_world.fault({ "slow", "0.4" }), why());
        QElapsedTimer clock;
        clock.start();
        QVERIFY2(m_world.trigger("pair", Headset), why());
        QVERIFY2(m_world.waitFor("pairstate", "1"), why());
        QVERIFY2(clock.elapsed() >= Late, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(m_world.calls(), QStringList{ "Pair" });
    }

    // A refresh whose reads fail publishes 0, empty texts and empty lists.
    void errorsReadAsNothing()
    {
        QVERIFY2(ownDaemonIsOn(), why());
        QVERIFY2(pairHeadset(), why());
        QVERIFY2(m_world.fault({ "error" }), why());
        QVERIFY2(m_world.fault({ "leave", "0" }), why()); // and comes back at once
        QVERIFY2(m_world.waitFor("pairlistAddr:0", {}), why());
        QVERIFY2(m_world.waitForApplicable("scan", true), why());
        QCOMPARE(m_world.text("status"), "0");
        QCOMPARE(m_world.text("pairstate"), "0");

        QVERIFY2(m_world.trigger("scan"), why()); // refused, which the module does not read
        QVERIFY(Patience::waitFor([this] { return m_world.calls().contains("Scan"); }));
        QVERIFY2(m_world.fault({ "none" }), why());
        QVERIFY2(m_world.step(10), why());
        QVERIFY2(m_world.trigger("pair", "00:11:22:33:44:0B"), why());
        QVERIFY2(m_world.stepUntil("pairstate", "100"), why());
        QCOMPARE(m_world.text("scanstate"), "0");
    }

    void signalIsLost_data()
    {
        const Rows<QStringList, QString> row("times", "at the end");
        row("as long as the fault lasts", {}, "0");
        row("once", { "1" }, "2");
    }

    void signalIsLost()
    {
        QFETCH(QStringList, times);
        QVERIFY2(m_world.switchOn(), why());
        QVERIFY2(m_world.fault(QStringList{ "drop", "scanStateChanged" } + times), why());
        QVERIFY2(m_world.trigger("scan"), why());
        QVERIFY2(m_world.stepUntil([this] { return !m_world.text("scanresultsAddr:0").isEmpty(); }), why());
        QCOMPARE(m_world.text("scanstate"), "0"); // it never heard that the scan had begun
        QVERIFY2(m_world.step(10), why());
        QVERIFY2(m_world.fault({ "payload", "pendingPairChanged", "s", "\"behind\"" }), why());
        QVERIFY2(m_world.trigger("pair", Headset), why());
        QVERIFY2(m_world.waitFor("pendingpair", "behind"), why());
        QTEST(m_world.text("scanstate"), "at the end");
    }

    // The module takes each for an event of its own.
    void signalComesTwice_data()
    {
        const Rows<QStringList, int> row("times", "connections");
        row("as long as the fault lasts", {}, 4);
        row("once", { "1" }, 3);
    }

    void signalComesTwice()
    {
        QFETCH(QStringList, times);
        const auto connections = [this] {
            return m_world.output().count("Connected addr:");
        };
        QVERIFY2(m_world.switchOn(), why());
        QVERIFY2(m_world.fault(QStringList{ "double", "connectionEstablished" } + times), why());
        const int before = connections();
        QVERIFY2(pairHeadset(), why());
        QVERIFY2(m_world.connectDevice(Headset) && m_world.step(10) && m_world.dropDevice(Headset), why());
        QVERIFY2(m_world.connectDevice(Headset) && m_world.step(10), why());
        QVERIFY2(m_world.fault({ "payload", "pendingPairChanged", "s", "\"behind\"" }), why());
        QVERIFY2(m_world.requestPairing("Car Kit"), why());
        QVERIFY2(m_world.waitFor("pendingpair", "behind"), why());
        QTEST(connections() - before, "connections");
    }

    // A signal's text is taken for the number that it is; a refresh takes what it cannot read for 0, empty
    // texts and empty lists.
    void payloadsOfAnotherShape()
    {
        QVERIFY2(ownDaemonIsOn(), why());
        QVERIFY2(pairHeadset(), why());
        QVERIFY2(m_world.fault({ "payload", "scanStateChanged", "s", "\"2\"" }), why());
        QVERIFY2(m_world.trigger("scan"), why());
        QVERIFY2(m_world.stepUntil([this] { return !m_world.text("scanresultsAddr:0").isEmpty(); }), why());
        QCOMPARE(m_world.text("scanstate"), "2"); // it is 1 meanwhile

        QVERIFY2(m_world.fault({ "payload", "pairList", "a(sss)" }), why());
        QVERIFY2(m_world.fault({ "payload", "confirmationCode", "s" }), why());
        QVERIFY2(m_world.fault({ "leave", "0" }), why()); // and comes back at once
        QVERIFY2(m_world.waitFor("confirmationcode", "x"), why()); // the one that can be read
        QVERIFY2(m_world.waitForApplicable("scan", true), why());
        QCOMPARE(m_world.text("pairlistAddr:0"), QString());
    }

    void burstsArriveInOrder()
    {
        QVERIFY2(m_world.switchOn(), why());
        QVERIFY2(m_world.fault({ "burst", "100000" }), why());
        QVERIFY2(m_world.trigger("pair", Headset), why());
        QVERIFY(Patience::waitFor([this] { return m_world.calls().contains("Pair"); }));
        QVERIFY2(m_world.step(30), why());
        QCOMPARE(m_world.text("pairstate"), "0");
        QVERIFY2(m_world.fault({ "none" }), why()); // all at once
        QVERIFY2(m_world.waitFor("pairstate", "100"), why());
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
};

BLUETOOTH_TESTKIT_MAIN(DaemonFaultsTest)
#include "DaemonFaultsTest.moc"
