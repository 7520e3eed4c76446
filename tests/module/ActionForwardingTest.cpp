// Actions as the daemon sees them: one method call each, with exactly this signature and argument.
#include "ModuleWorld.h"
#include "support/Rows.h"

class ActionForwardingTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void withoutADaemonRequestsAreDropped()
    {
        for (const char* action : { "scan", "cancelscan", "confirmcode", "rejectcode", "pindecline",
                                    "killiap", "pinreply", "pair", "connectAddr", "disconnectAddr", "unpair",
                                    "registerrfcommuuid", "unregisterrfcommuuid", "sendwifedcmdctlfd" })
            QCOMPARE(m_world.trigger(action), "");
        COMPARE_ITEM("pinreplycfg", "5190"); // not used up either
        QVERIFY(m_world.daemonAppears());
        QCOMPARE(m_world.trigger("scan"), "");
        QVERIFY(m_world.settle());
        QCOMPARE(callText(m_daemon.takeCalls()), "Scan()");
    }

    void requestsAreForwarded_data()
    {
        // argument: invalid: none
        const Rows<QString, QString, QString, QVariant> row("action", "text", "member", "argument");
        for (const auto& [action, member] : { std::pair{ "scan", "Scan" },
                                              { "cancelscan", "CancelScan" },
                                              { "confirmcode", "ConfirmCode" },
                                              { "rejectcode", "RejectCode" },
                                              { "pindecline", "PINdecline" },
                                              { "killiap", "killIAP" } })
            row(action, action, "", member, {});
        for (const auto& [action, member] : { std::pair{ "registerrfcommuuid", "registerRFCOMMUUID" },
                                              { "unregisterrfcommuuid", "unregisterRFCOMMUUID" },
                                              { "sendwifedcmdctlfd", "sendWifedCmdCtlFD" } }) {
            QTest::addRow("%s", action) << action << "0000-ä " << member << QVariant("0000-ä ");
            QTest::addRow("%s, empty", action) << action << "" << member << QVariant("");
        }
        for (const auto& [action, member] : { std::pair{ "pair", "Pair" },
                                              { "connectAddr", "ConnectAddr" },
                                              { "disconnectAddr", "DisconnectAddr" },
                                              { "unpair", "UnPair" } }) {
            QTest::addRow("%s", action)
                << action << "12:34:56:78:9a:BC" << member << QVariant(0x123456789ABCULL);
            QTest::addRow("%s, no address", action) << action << "12-34" << member << QVariant(0ULL);
        }
        row("pinreply", "pinreply", "no digits, and longer than any PIN", "PINreply",
            "no digits, and longer than any PIN");
    }

    void requestsAreForwarded()
    {
        QFETCH(const QString, action);
        QFETCH(const QString, text);
        QFETCH(const QString, member);
        QFETCH(const QVariant, argument);
        QCOMPARE(m_world.trigger(action, text), "");
        QVERIFY(m_world.settle());
        Call expected{ member, "", {} };
        if (argument.isValid())
            expected = { member, argument.userType() == QMetaType::QString ? "s" : "t", { argument } };
        QCOMPARE(callText(m_daemon.takeCalls()), callText({ expected }));
    }

    void addressField5Unmasked_data()
    {
        const Rows<QString, qulonglong> row("text", "address");
        row("the others are masked", "1AB:1AB:1AB:1AB:1AB:0", 0xABABABABAB00ULL);
        row("carries", "00:00:00:00:00:100", 0x100ULL);
        row("subtracts", "00:00:00:00:01:-1", 0xFFULL);
        row("below zero", "0:0:0:0:0:-1", 18446744073709551615ULL);
    }

    void addressField5Unmasked()
    {
        QFETCH(const QString, text);
        QFETCH(const qulonglong, address);
        for (const char* action : { "pair", "connectAddr", "disconnectAddr", "unpair" })
            QCOMPARE(m_world.trigger(action, text), "");
        QVERIFY(m_world.settle());
        QCOMPARE(callText(m_daemon.takeCalls()),
                 QString("Pair(t %1), ConnectAddr(t %1), DisconnectAddr(t %1), UnPair(t %1)").arg(address));
    }

    void idsAreCaseSensitive()
    {
        for (const char* wrong : { "Scan", "connectaddr", "requestbluetooth" })
            QCOMPARE(m_world.trigger(wrong), "?");
    }

    void pinUsedOnce()
    {
        QCOMPARE(m_world.trigger("pinreply", "1234"), "");
        COMPARE_ITEM("pinreplycfg", "5190");
        QCOMPARE(m_world.trigger("pinreply"), "");
        COMPARE_ITEM("pinreplycfg", "");
        QCOMPARE(m_world.trigger("pinreply"), "");
        QVERIFY(m_world.set("pinreplycfg", "987654"));
        QCOMPARE(m_world.trigger("pinreply"), "");
        QVERIFY(m_world.settle());
        QCOMPARE(callText(m_daemon.takeCalls()),
                 R"(PINreply(s "1234"), PINreply(s "5190"), PINreply(s ""), PINreply(s "987654"))");
    }

private:
    using Call = ScriptedDaemon::Call;
};

MODULE_TEST_MAIN(ActionForwardingTest)
#include "ActionForwardingTest.moc"
