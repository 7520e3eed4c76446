// The scenarios that come with the simulated radio, through the module: what its items show in the end.
#include "ScenarioFiles.h"
#include "SystemTest.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

class ScenariosTest : public SystemTest
{
    Q_OBJECT

public:
    using SystemTest::SystemTest;

private Q_SLOTS:
    // As a person would look, with the programs alone.
    void itemctlShowsEach_data()
    {
        const Rows<QString> row("scenario");
        for (const QString& name : bt::scenarioNames()) {
            row(qPrintable(name), name);
        }
    }

    void itemctlShowsEach()
    {
        QFETCH(QString, scenario);
        const auto loaded = bt::loadScenario(*bt::findScenario(scenario));
        const auto devices = std::get<bt::Scenario>(*loaded).devices.size();
        testkit::SimulationOptions options;
        options.scenario = scenario;
        const QString seconds = QString::number(static_cast<double>(m_patience.count()) / 1000);
        QVERIFY2(m_world.start(options), why());
        QCOMPARE(itemctl({ "set", "enabled", "true" }), QString());
        QCOMPARE(itemctl({ "wait", "status=Starting", "--timeout", seconds }), QString());
        QVERIFY2(m_world.step(0.5), why());
        QCOMPARE(itemctl({ "wait", "status=On", "--timeout", seconds }), QString());
        QCOMPARE(itemctl({ "call", "scan" }), QString());
        QCOMPARE(itemctl({ "wait", "scanstate=SCANNING", "--timeout", seconds }), QString());
        QVERIFY2(m_world.step(6), why());
        QCOMPARE(itemctl({ "wait", "scanstate=SCANDONE", "--timeout", seconds }), QString());
        const Finished list = ::run("itemctl", { "list", "--json", "scanresultsAddr*" });
        QSet<QString> listed;
        for (const QString& line : list.out.split('\n', Qt::SkipEmptyParts)) {
            listed << QJsonDocument::fromJson(line.toUtf8()).object().value("value").toString();
        }
        listed.remove({});
        // The module lists 32; in the hostile neighbourhood somebody asks to be paired, which ends the scan.
        const auto expected = scenario == "hostile" ? 26 : std::min<std::size_t>(devices, 32);
        QCOMPARE(static_cast<std::size_t>(listed.size()), expected);
    }

    // The same request twice, each with an outcome of its own; a slow daemon is no excuse.
    void requestsAreFollowedToTheirEnd_data()
    {
        const Rows<QStringList, int> row("fault", "scans");
        row("at once", { "none" }, 0);
        row("late", { "slow", "0.1" }, 2);
    }

    void requestsAreFollowedToTheirEnd()
    {
        QFETCH(QStringList, fault);
        QFETCH(int, scans);
        testkit::SimulationOptions options;
        options.isPaused = false;
        QVERIFY2(m_world.start(options), why());
        QCOMPARE(itemctl({ "set", "enabled", "true", "--until", "status=On" }), QString());
        QVERIFY2(m_world.fault(fault), why());
        const QStringList pair{ "call", "pair", "00:11:22:33:44:05" }; // refuses
        for (const char* before : { "Idle", "Failed Authentication" }) {
            const Finished refused =
                ::run("itemctl",
                      pair + QStringList{ "--until", "pairstate=Paired", "--unless", "pairstate~^Failed" });
            QCOMPARE(refused.out,
                     QString("pairstate  %1 -> Pairing\npairstate  Pairing -> Failed Authentication\n")
                         .arg(before));
            QCOMPARE(refused.status, 1);
        }
        for (int i = 0; i < scans; ++i) {
            QCOMPARE(itemctl({ "call", "scan", "--until", "scanstate=SCANDONE", "--timeout", "30" }),
                     QString());
        }
    }

    // Five pairings as a script, five times as fast; it goes on only from one that ended as it should.
    void pairsByTheExample_data()
    {
        const Rows<QStringList, int> row("before", "status");
        row("at once", { "fault", "none" }, 0);
        row("late", { "fault", "slow", "0.1" }, 0);
        row("the first fails", { "remove", "Car Kit" }, 1);
    }

    void pairsByTheExample()
    {
        QFETCH(QStringList, before);
        QFETCH(int, status);
        qputenv("BLUESIM_TIME_SCALE", "5"); // for what the host starts
        testkit::SimulationOptions options;
        options.scenario.clear();
        options.isPaused = false;
        const bool started = m_world.start(options);
        qunsetenv("BLUESIM_TIME_SCALE");
        QVERIFY2(started && m_world.switchOn(), why());
        QCOMPARE(::run("simctl", before).status, 0);
        const Finished script = ::run(PAIRING_EXAMPLE, {});
        QVERIFY2(script.status == status, qPrintable(script.out + script.err));
        QCOMPARE(script.out.contains("a device that shows a code"), status == 0);
    }

    void roomIsTheDefault()
    {
        testkit::SimulationOptions options;
        options.scenario.clear();
        QVERIFY2(m_world.start(options) && m_world.switchOn(), why());
        QVERIFY2(scan(), why());
        QStringList names = scanned("scanresultsName");
        names.sort();
        QCOMPARE(names,
                 (QStringList{ "Car Kit", "Companion Phone", "Far Speaker", "GPS Receiver", "Headset",
                               "Heart-rate Strap", "Locked Tablet", "Notebook", "Phone",
                               "Unknown Name - 00:11:22:33:44:07", "Wi-FED" }));
    }

    void hostileNamesAreShownAsTheyAre()
    {
        QVERIFY2(begin("hostile"), why());
        QVERIFY2(m_world.step(3), why()); // somebody asks to be paired
        QVERIFY2(m_world.waitFor("pairstate", "4"), why());
        QCOMPARE(m_world.text("pendingpair"), QString::fromUtf8("\x1b[2J\x1b[31mFree Wi-Fi\a\n"));
        QCOMPARE(m_world.text("confirmationcode"), "000000");
        QVERIFY2(m_world.trigger("rejectcode"), why());
        QVERIFY2(m_world.waitFor("pairstate", "200"), why());
        QVERIFY2(scan(), why());
        const QStringList names = scanned("scanresultsName");
        QCOMPARE(names.count("Phone"), 2);
        QVERIFY(names.contains("-- --help; $(reboot)"));
        QVERIFY(names.contains("`,.\";00!")); // replaced in the pending pair alone
        QVERIFY2(m_world.hostPid() > 0, why());
    }

    // Somebody asks again and again, and beacons would fill the list.
    void hostileNeighboursLeaveTheRadioToItsOwner()
    {
        QVERIFY2(begin("hostile"), why());
        for (const double until : { 3.0, 10.0 }) {
            QVERIFY2(m_world.step(until), why());
            QVERIFY2(m_world.waitFor("pairstate", "4"), why());
            QVERIFY2(m_world.trigger("rejectcode"), why());
            QVERIFY2(m_world.waitFor("pairstate", "200"), why());
        }
        QVERIFY2(scan(), why()); // from 13 s to 18 s, while it asks at 15 s
        QCOMPARE(m_world.text("pairstate"), "200");
        const QStringList names = scanned("scanresultsName");
        QCOMPARE(names.size(), 32);
        QCOMPARE(names.mid(0, 8).filter("Unknown Name").size(), 0);
        QVERIFY(names.mid(0, 8).count("Phone") == 2);
        QVERIFY2(m_world.trigger("pair", "00:11:22:33:66:02"), why());
        QVERIFY2(m_world.step(3), why()); // while it asks at 21 s
        QVERIFY2(m_world.waitFor("pairstate", "100"), why());
        QCOMPARE(m_world.text("pairlistAddr:0"), "00:11:22:33:66:02");
    }

    // At once: time stands still, and the right address is taken.
    void nobodyHasTheAddress()
    {
        QVERIFY2(begin("room"), why());
        QVERIFY2(m_world.trigger("pair", "0A:0B:0C:0D:0E:0F"), why());
        QVERIFY2(m_world.waitFor("pairstate", "202"), why());
        QVERIFY2(m_world.output().contains(QRegularExpression("\nnotice: Pair failed: .*0A:0B:0C:0D:0E:0F")),
                 qPrintable(m_world.output()));
        QVERIFY2(m_world.trigger("pair", "00:11:22:33:44:03"), why());
        QVERIFY2(m_world.waitFor("pairstate", "1"), why());
    }

private:
    [[nodiscard]] bool begin(const char* scenario)
    {
        testkit::SimulationOptions options;
        options.scenario = scenario;
        return m_world.start(options) && m_world.switchOn();
    }
    [[nodiscard]] bool scan()
    {
        return m_world.trigger("scan") && m_world.waitFor("scanstate", "1")
            && m_world.stepUntil("scanstate", "2");
    }
    /// Empty when the program did as it was told, otherwise what it said.
    [[nodiscard]] static QString itemctl(const QStringList& arguments)
    {
        const Finished finished = ::run("itemctl", arguments);
        return finished.status == 0 ? QString() : finished.err;
    }
    /// What the rows of the scan have in this column.
    [[nodiscard]] QStringList scanned(const QString& id)
    {
        QStringList values;
        for (int row = 0; row < 32; ++row) {
            values << m_world.text(QString("%1:%2").arg(id).arg(row));
        }
        values.removeAll({});
        return values;
    }
};

BLUETOOTH_TESTKIT_MAIN(ScenariosTest)
#include "ScenariosTest.moc"
