#include "RadioScenarios.h"

#include <QRegularExpression>
#include <QtTest>

Q_DECLARE_METATYPE(Way)
Q_DECLARE_METATYPE(OurUser::Says)

void RadioScenarios::init()
{
    QVERIFY(m_world.enable(true));
}

void RadioScenarios::cleanup()
{
    QVERIFY(unpairAll(m_world));
    if (QTest::currentTestFailed()) {
        qWarning().noquote() << m_world.output();
    }
}

void RadioScenarios::scanFinds()
{
    const QString device = m_world.scenery().device(Way::Code, true);
    m_world.mark();
    RadioWorld::trigger(QStringLiteral("scan"));
    QVERIFY(m_world.await(QStringLiteral("scanstate"), QStringLiteral("Scanning")));
    QVERIFY(m_world.await(QStringLiteral("scanstate"), QStringLiteral("Scan Complete")));
    const int row = m_world.row(QStringLiteral("scanresultsAddr"), device);
    QVERIFY(row >= 0);
    const QString strength = m_world.text(QStringLiteral("scanresultsSignalStrength:%1").arg(row));
    QVERIFY2(strength.toInt() < 0 && strength.toInt() > -128, qPrintable(strength));
    QVERIFY(!m_world.text(QStringLiteral("scanresultsName:%1").arg(row)).isEmpty());
}

void RadioScenarios::pairs_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<bool>("theyAgree");
    QTest::addColumn<OurUser::Says>("weSay");
    QTest::addColumn<QString>("pin");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("end");

    constexpr auto Yes = OurUser::Says::Yes;
    constexpr auto No = OurUser::Says::No;
    const auto row = [](const char* name, Way way, bool theyAgree, OurUser::Says weSay, const QString& pin,
                        const char* asked, const char* end) {
        QTest::newRow(name) << way << theyAgree << weSay << pin << asked << end;
    };
    const QString pin = Scenery::pin();
    row("by code", Way::Code, true, Yes, {}, "Need Confirmation", "Paired");
    row("by code, we refuse", Way::Code, true, No, {}, "Need Confirmation", "Failed");
    row("by code, they refuse", Way::Code, false, Yes, {}, "", "Failed Authentication");
    row("just works", Way::JustWorks, true, Yes, {}, "", "Paired");
    row("by PIN", Way::Pin, true, Yes, pin, "PIN Needed", "Paired");
    row("by PIN, a wrong one", Way::Pin, true, Yes, QStringLiteral("1234"), "PIN Needed",
        "Failed Authentication");
    row("by PIN, we refuse", Way::Pin, true, No, {}, "PIN Needed", "Failed");
}

void RadioScenarios::pairs()
{
    QFETCH(Way, way);
    QFETCH(bool, theyAgree);
    QFETCH(OurUser::Says, weSay);
    QFETCH(QString, pin);
    QFETCH(QString, asked);
    QFETCH(QString, end);

    const QString device = m_world.scenery().device(way, theyAgree);
    QCOMPARE(pairWith(m_world, device, { weSay, pin }), end);

    const QStringList states = m_world.history(QStringLiteral("pairstate"));
    // First of all, where it is seen: of two states in one turn of the host its clients are told the last.
    QVERIFY2(states.indexOf(QStringLiteral("Pairing"), 1) <= 1, qPrintable(states.join(QLatin1Char(','))));
    if (!asked.isEmpty()) {
        QVERIFY2(states.contains(asked), qPrintable(states.join(QLatin1Char(','))));
    }
    if (asked == QLatin1String("Need Confirmation")) {
        const QString code = m_world.history(QStringLiteral("confirmationcode")).value(1);
        QVERIFY2(QRegularExpression(QStringLiteral("\\A[0-9]{6}\\z")).match(code).hasMatch(),
                 qPrintable(code));
    }
    QCOMPARE(m_world.text(QStringLiteral("confirmationcode")), QString());
    QCOMPARE(m_world.text(QStringLiteral("pendingpair")), QString());
    const QString paired = end == QLatin1String("Paired") ? device : QString();
    QCOMPARE(m_world.text(QStringLiteral("pairlistAddr:0")), paired);
}

// What is no address arrives as 0; nobody is looked for.
void RadioScenarios::pairsWithNoAddress()
{
    QCOMPARE(pairWith(m_world, QStringLiteral("no address")), QStringLiteral("Failed Connecting"));
    const QString device = m_world.scenery().device(Way::Code, true);
    QCOMPARE(pairWith(m_world, device), QStringLiteral("Paired"));
    QVERIFY2(
        m_world.output().contains(QLatin1String("notice: Pair failed: no device can have the address 00:00")),
        qPrintable(m_world.output()));
}

void RadioScenarios::connectsAndDisconnects()
{
    const QString device = m_world.scenery().device(Way::Code, true);
    QCOMPARE(pairWith(m_world, device), QStringLiteral("Paired"));
    const QString connected = QStringLiteral("isAnyDeviceConnected");
    if (m_world.text(connected) == QLatin1String("true")) { // pairing may leave the link up
        RadioWorld::trigger(QStringLiteral("disconnectAddr"), device);
        QVERIFY(m_world.await(connected, QStringLiteral("false")));
    }
    RadioWorld::trigger(QStringLiteral("connectAddr"), device);
    QVERIFY(m_world.await(connected, QStringLiteral("true")));
    QCOMPARE(m_world.text(QStringLiteral("pairlistConnectionState:0")), QStringLiteral("Connected"));
    RadioWorld::trigger(QStringLiteral("disconnectAddr"), device);
    QVERIFY(m_world.await(connected, QStringLiteral("false")));
}

void RadioScenarios::isAskedToPair_data()
{
    QTest::addColumn<OurUser::Says>("weSay");
    QTest::addColumn<QString>("end");
    QTest::newRow("we agree") << OurUser::Says::Yes << "Paired";
    QTest::newRow("we refuse") << OurUser::Says::No << "Failed";
    QTest::newRow("they take it back") << OurUser::Says::Nothing << "Failed Authentication";
}

void RadioScenarios::isAskedToPair()
{
    QFETCH(OurUser::Says, weSay);
    QFETCH(QString, end);
    const QString device = m_world.scenery().requestPairing();
    m_world.mark();
    if (weSay == OurUser::Says::Nothing) {
        QVERIFY(m_world.await(QStringLiteral("pairstate"), QStringLiteral("Need Confirmation")));
        m_world.scenery().takeBackRequest();
    }
    QCOMPARE(seePairingThrough(m_world, { weSay, {} }), end);
    const QStringList states = m_world.history(QStringLiteral("pairstate"));
    QVERIFY2(states.contains(QStringLiteral("Need Confirmation")), qPrintable(states.join(QLatin1Char(','))));
    QCOMPARE(m_world.text(QStringLiteral("pairlistAddr:0")),
             weSay == OurUser::Says::Yes ? device : QString());
}

void RadioScenarios::losesTheLink()
{
    const QString device = m_world.scenery().device(Way::Code, true);
    QCOMPARE(pairWith(m_world, device), QStringLiteral("Paired"));
    const QString connected = QStringLiteral("isAnyDeviceConnected");
    if (m_world.text(connected) != QLatin1String("true")) { // pairing may leave the link up
        RadioWorld::trigger(QStringLiteral("connectAddr"), device);
        QVERIFY(m_world.await(connected, QStringLiteral("true")));
    }
    m_world.scenery().dropLink();
    QVERIFY(m_world.await(connected, QStringLiteral("false")));
    QCOMPARE(m_world.text(QStringLiteral("pairlistAddr:0")), device);
}
