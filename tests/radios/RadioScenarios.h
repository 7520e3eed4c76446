#pragma once

#include "RadioTest.h"
#include "support/Rows.h"

#include <QRegularExpression>

Q_DECLARE_METATYPE(Way)
Q_DECLARE_METATYPE(OurUser::Says)

/// What every radio does alike, seen through module, host and items.
class RadioScenarios : public RadioTest
{
    Q_OBJECT

public:
    using RadioTest::RadioTest;

private Q_SLOTS:
    void scanFinds()
    {
        const QString device = m_world.scenery().device(Way::Code, true);
        m_world.mark();
        RadioWorld::trigger("scan");
        QVERIFY(m_world.await("scanstate", "Scanning"));
        QVERIFY(m_world.await("scanstate", "Scan Complete"));
        const int row = m_world.row("scanresultsAddr", device);
        QVERIFY(row >= 0);
        const QString strength = m_world.text(QString("scanresultsSignalStrength:%1").arg(row));
        QVERIFY2(strength.toInt() < 0 && strength.toInt() > -128, qPrintable(strength));
        QVERIFY(!m_world.text(QString("scanresultsName:%1").arg(row)).isEmpty());
    }

    void pairs_data()
    {
        constexpr auto Yes = OurUser::Says::Yes;
        constexpr auto No = OurUser::Says::No;
        const Rows<Way, bool, OurUser::Says, QString, QString, QString, QString> row(
            "way", "theyAgree", "weSay", "pin", "asked", "end", "why");
        const QString pin = Scenery::pin();
        const QString code = "Need Confirmation";
        row("by code", Way::Code, true, Yes, {}, code, "Paired", "");
        row("by code, we refuse", Way::Code, true, No, {}, code, "Failed", "refused here");
        row("by code, they refuse", Way::Code, false, Yes, {}, "", "Failed Authentication",
            m_world.scenery().heard("the other device refused"));
        row("just works", Way::JustWorks, true, Yes, {}, "", "Paired", "");
        row("by PIN", Way::Pin, true, Yes, pin, "PIN Needed", "Paired", "");
        row("by PIN, a wrong one", Way::Pin, true, Yes, "1234", "PIN Needed", "Failed Authentication",
            m_world.scenery().heard("did not take the PIN"));
        row("by PIN, we refuse", Way::Pin, true, No, {}, "PIN Needed", "Failed", "refused here");
    }

    void pairs()
    {
        QFETCH(Way, way);
        QFETCH(bool, theyAgree);
        QFETCH(OurUser::Says, weSay);
        QFETCH(QString, pin);
        QFETCH(QString, asked);
        QFETCH(QString, end);
        QFETCH(QString, why);

        const QString device = m_world.scenery().device(way, theyAgree);
        QCOMPARE(pairWith(m_world, device, { weSay, pin }), end);

        const QStringList states = m_world.history("pairstate");
        // First of all, where it is seen: of two states in one turn of the host its clients are told the
        // last.
        QVERIFY2(states.indexOf("Pairing", 1) <= 1, qPrintable(states.join(',')));
        QVERIFY2(asked.isEmpty() || states.contains(asked), qPrintable(states.join(',')));
        if (asked == "Need Confirmation") {
            const QString code = m_world.history("confirmationcode").value(1);
            QVERIFY2(QRegularExpression("\\A[0-9]{6}\\z").match(code).hasMatch(), qPrintable(code));
        }
        QCOMPARE(m_world.text("confirmationcode"), QString());
        QCOMPARE(m_world.text("pendingpair"), QString());
        QCOMPARE(m_world.text("pairlistAddr:0"), end == "Paired" ? device : QString());
        QVERIFY(why.isEmpty() || m_world.awaitTold(why));
    }

    // What is no address arrives as 0; nobody is looked for.
    void pairsWithNoAddress()
    {
        QCOMPARE(pairWith(m_world, "no address"), "Failed Connecting");
        QCOMPARE(pairWith(m_world, m_world.scenery().device(Way::Code, true)), "Paired");
        QVERIFY2(m_world.output().contains("notice: Pair failed: no device can have the address 00:00"),
                 qPrintable(m_world.output()));
    }

    void connectsAndDisconnects()
    {
        const QString device = m_world.scenery().device(Way::Code, true);
        QCOMPARE(pairWith(m_world, device), "Paired");
        if (m_world.text(Connected) == "true") { // pairing may leave the link up
            RadioWorld::trigger("disconnectAddr", device);
            QVERIFY(m_world.await(Connected, "false"));
        }
        RadioWorld::trigger("connectAddr", device);
        QVERIFY(m_world.await(Connected, "true"));
        QCOMPARE(m_world.text("pairlistConnectionState:0"), "Connected");
        RadioWorld::trigger("disconnectAddr", device);
        QVERIFY(m_world.await(Connected, "false"));
    }

    void isAskedToPair_data()
    {
        const Rows<OurUser::Says, QString, QString> row("weSay", "end", "why");
        row("we agree", OurUser::Says::Yes, "Paired", "");
        row("we refuse", OurUser::Says::No, "Failed", "refused here");
        row("they take it back", OurUser::Says::Nothing, "Failed Authentication", "the other device refused");
    }

    void isAskedToPair()
    {
        QFETCH(OurUser::Says, weSay);
        const QString device = m_world.scenery().requestPairing();
        m_world.mark();
        if (weSay == OurUser::Says::Nothing) {
            QVERIFY(m_world.await("pairstate", "Need Confirmation"));
            m_world.scenery().takeBackRequest();
        }
        QTEST(seePairingThrough(m_world, { weSay, {} }), "end");
        const QStringList states = m_world.history("pairstate");
        QVERIFY2(states.contains("Need Confirmation"), qPrintable(states.join(',')));
        QCOMPARE(m_world.text("pairlistAddr:0"), weSay == OurUser::Says::Yes ? device : QString());
        QFETCH(QString, why);
        QVERIFY(why.isEmpty() || m_world.awaitTold(why));
    }

    void losesTheLink()
    {
        const QString device = m_world.scenery().device(Way::Code, true);
        QCOMPARE(pairWith(m_world, device), "Paired");
        if (m_world.text(Connected) != "true") { // pairing may leave the link up
            RadioWorld::trigger("connectAddr", device);
            QVERIFY(m_world.await(Connected, "true"));
        }
        m_world.scenery().dropLink();
        QVERIFY(m_world.await(Connected, "false"));
        QCOMPARE(m_world.text("pairlistAddr:0"), device);
    }

private:
    static constexpr const char* Connected = "isAnyDeviceConnected";
};
