#include "AddressHelper.h"
#include "BluesimFixture.h"

#include <QRegularExpression>

namespace {

QString unknown(qulonglong address)
{
    return QStringLiteral("`,.\";00! - ") + AddressHelper::int2str(address);
}

} // namespace

class BluesimPairingTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void pairs_data();
    void pairs();
    void pairingEndsAScan();
    void refuses_data();
    void refuses();
    void tellsOnlyChanges();
};

void BluesimPairingTest::pairs_data()
{
    QTest::addColumn<qulonglong>("address");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QList<int>>("states");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("name");

    const QString none = QStringLiteral("^$");
    const QString digits = QStringLiteral("^[0-9]{6}$");
    const auto row = [](const char* what) -> QTestData& {
        return QTest::newRow(what);
    };
    row("code, confirmed") << room::Phone << "confirm" << QList<int>{ 1, 4, 6, 100 } << digits << "Phone";
    row("code, rejected") << room::Phone << "reject" << QList<int>{ 1, 4, 200 } << digits << "Phone";
    row("code 000000") << room::Notebook << "confirm" << QList<int>{ 1, 4, 6, 100 } << "^000000$"
                       << "Notebook";
    row("just works") << room::Headset << "" << QList<int>{ 1, 6, 100 } << none << "Headset";
    row("right PIN") << room::CarKit << "5190" << QList<int>{ 1, 3, 6, 100 } << none << "Car Kit";
    row("wrong PIN") << room::CarKit << "5191" << QList<int>{ 1, 3, 6, 201 } << none << "Car Kit";
    row("no PIN") << room::CarKit << "decline" << QList<int>{ 1, 3, 200 } << none << "Car Kit";
    row("simple confirmation, given")
        << room::Strap << "confirm" << QList<int>{ 1, 5, 6, 100 } << none << "Heart-rate Strap";
    row("simple confirmation, not given")
        << room::Strap << "reject" << QList<int>{ 1, 5, 200 } << none << "Heart-rate Strap";
    row("refused by the device") << room::LockedTablet << "confirm" << QList<int>{ 1, 201 } << none
                                 << "Locked Tablet";
    row("out of reach") << room::FarSpeaker << "" << QList<int>{ 1, 202 } << none << QString();
    row("nobody there") << room::Nobody << "" << QList<int>{ 1, 202 } << none << QString();
    row("without a name") << room::Nameless << "" << QList<int>{ 1, 6, 100 } << none << QString();
}

void BluesimPairingTest::pairs()
{
    QFETCH(qulonglong, address);
    QFETCH(QString, answer);
    QFETCH(QList<int>, states);
    QFETCH(QString, code);
    QFETCH(QString, name);

    QSignalSpy stateSpy(&proxy(), &BluetoothIf::pairStateChanged);
    QSignalSpy codeSpy(&proxy(), &BluetoothIf::confirmationCodeChanged);
    QSignalSpy pendingSpy(&proxy(), &BluetoothIf::pendingPairChanged);
    QSignalSpy listSpy(&proxy(), &BluetoothIf::pairListChanged);
    QString codeWhenAsked;
    QString codeNow;
    connect(&proxy(), &BluetoothIf::pairStateChanged, this, [&](const QDBusVariant& state) {
        const int number = state.variant().toInt();
        codeNow = codeSpy.isEmpty() ? QString() : carried<QString>(codeSpy.last());
        if (number == 3) {
            answer == QLatin1String("decline") ? proxy().PINdecline() : proxy().PINreply(answer);
        } else if (number == 4 || number == 5) {
            codeWhenAsked = codeNow;
            answer == QLatin1String("confirm") ? proxy().ConfirmCode() : proxy().RejectCode();
        } else {
            QVERIFY2(codeNow.isEmpty(), "a code without a question");
        }
    });
    proxy().Pair(address);
    QTRY_COMPARE(allCarried<int>(stateSpy), states);

    QVERIFY2(QRegularExpression(code).match(codeWhenAsked).hasMatch(), qPrintable(codeWhenAsked));
    QCOMPARE(proxy().confirmationCode(), QString());
    // It was never seen before, so its name comes with the connection.
    QStringList pending{ unknown(address) };
    if (!name.isEmpty()) {
        pending << name;
    }
    pending << QString();
    QCOMPARE(allCarried<QString>(pendingSpy), pending);
    const PairEntry entry{ address, name, 0 };
    const PairList list = states.last() == 100 ? PairList{ { entry } } : PairList();
    QCOMPARE(proxy().pairList(), list);
    QCOMPARE(listSpy.size(), list.entries.size());
    QCOMPARE(proxy().pairState(), states.last()); // stays to be read
}

void BluesimPairingTest::pairingEndsAScan()
{
    QSignalSpy scanStates(&proxy(), &BluetoothIf::scanStateChanged);
    QSignalSpy pairStates(&proxy(), &BluetoothIf::pairStateChanged);
    proxy().Scan();
    proxy().Pair(room::Phone);
    QTRY_COMPARE(allCarried<int>(pairStates), (QList<int>{ 1, 4 }));
    QCOMPARE(allCarried<int>(scanStates), (QList<int>{ 1, 2 }));

    QDBusPendingReply<> refused = proxy().Scan();
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.InProgress"));
    QVERIFY(refused.error().message().contains(AddressHelper::int2str(room::Phone)));
    refused = proxy().Pair(room::Headset);
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.InProgress"));
    proxy().RejectCode();
    QTRY_COMPARE(proxy().pairState(), 200);
    proxy().Scan();
    QTRY_COMPARE(proxy().scanState(), 1);
    QCOMPARE(proxy().pairState(), 200);
}

void BluesimPairingTest::refuses_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QString>("error");
    QTest::newRow("pair with no address") << "Pair" << QVariant(0ULL) << "InvalidArgument";
    QTest::newRow("pair beyond 48 bits") << "Pair" << QVariant(0x1000000000000ULL) << "InvalidArgument";
    QTest::newRow("connect a stranger") << "ConnectAddr" << QVariant(room::Phone) << "NotPaired";
    QTest::newRow("disconnect a stranger") << "DisconnectAddr" << QVariant(room::Phone) << "NotPaired";
    QTest::newRow("unpair a stranger") << "UnPair" << QVariant(room::Nobody) << "NotPaired";
    QTest::newRow("PIN unasked") << "PINreply" << QVariant(QStringLiteral("1")) << "NothingPending";
    QTest::newRow("decline unasked") << "PINdecline" << QVariant() << "NothingPending";
    QTest::newRow("confirm unasked") << "ConfirmCode" << QVariant() << "NothingPending";
    QTest::newRow("reject unasked") << "RejectCode" << QVariant() << "NothingPending";
    QTest::newRow("cancel no scan") << "CancelScan" << QVariant() << "NothingPending";
    QTest::newRow("empty UUID") << "registerRFCOMMUUID" << QVariant(QString()) << "InvalidArgument";
    QTest::newRow("unknown UUID") << "unregisterRFCOMMUUID" << QVariant(QStringLiteral("1101"))
                                  << "NotRegistered";
}

void BluesimPairingTest::refuses()
{
    QFETCH(QString, method);
    QFETCH(QVariant, argument);
    QFETCH(QString, error);

    const QList<QVariant> arguments = argument.isValid() ? QList<QVariant>{ argument } : QList<QVariant>();
    QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
    const QDBusMessage reply = proxy().callWithArgumentList(QDBus::Block, method, arguments);
    QCOMPARE(reply.errorName(), QStringLiteral("com.qarn.bluetooth.Error.") + error);
    QVERIFY(!reply.errorMessage().isEmpty());
    // Clients that do not wait for replies leave no other trace than this line.
    QVERIFY2(m_sim->log().contains(method + QLatin1String(" refused: ") + reply.errorMessage()),
             qPrintable(m_sim->log()));
    QCOMPARE(proxy().pairState(), 0);
    deliverAll();
    QVERIFY(states.isEmpty());
}

void BluesimPairingTest::tellsOnlyChanges()
{
    QCOMPARE(proxy().myName(), QStringLiteral("TORLO-test")); // without the line end of the argument
    QSignalSpy names(&proxy(), &BluetoothIf::myNameChanged);
    QSignalSpy addresses(&proxy(), &BluetoothIf::myAddressChanged);
    proxy().setMyName(QStringLiteral("Workshop"));
    proxy().setMyName(QStringLiteral("Workshop"));
    proxy().setMyName(QString());
    QTRY_COMPARE(allCarried<QString>(names), QStringList{ QStringLiteral("Workshop") });
    QCOMPARE(proxy().myName(), QStringLiteral("Workshop"));

    const qulonglong address = proxy().myAddress();
    QVERIFY(address != 0);
    proxy().setMyAddress(room::Phone);
    QCOMPARE(proxy().myAddress(), address);
    deliverAll();
    QVERIFY(addresses.isEmpty());
    QCOMPARE(names.size(), 1);

    QVERIFY(pairWith(room::Headset));
    QSignalSpy lists(&proxy(), &BluetoothIf::pairListChanged);
    QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
    QDBusPendingReply<> again = proxy().Pair(room::Headset);
    again.waitForFinished();
    QVERIFY(again.isValid());
    QCOMPARE(proxy().pairState(), 100);
    deliverAll();
    QVERIFY(lists.isEmpty());
    QVERIFY(states.isEmpty());
}

QTEST_GUILESS_MAIN(BluesimPairingTest)
#include "BluesimPairingTest.moc"
