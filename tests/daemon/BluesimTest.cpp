#include "Bluesim.h"
#include "AddressHelper.h"
#include "support/PrivateSystemBus.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

constexpr qulonglong Phone = 0x001122334401;
constexpr qulonglong Headset = 0x001122334402;
constexpr qulonglong CarKit = 0x001122334403;
constexpr qulonglong LockedTablet = 0x001122334405;
constexpr qulonglong FarSpeaker = 0x001122334406;
constexpr qulonglong Nameless = 0x001122334407;
constexpr qulonglong CompanionPhone = 0x001122334408;
constexpr qulonglong Strap = 0x001122334409;
constexpr qulonglong Notebook = 0x00112233440A;
constexpr qulonglong Wifed = 0x00112233440B;
constexpr qulonglong Nobody = 0x0A0B0C0D0E0F;
constexpr int RoomSize = 11;

QString unknown(qulonglong address)
{
    return QStringLiteral("`,.\";00! - ") + AddressHelper::int2str(address);
}

} // namespace

class BluesimTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_bus.start(), QString()); }
    void init();
    void cleanup() { m_sim.reset(); }

    void pairs_data();
    void pairs();
    void findsDevicesOneAfterAnother();
    void keepsTheOrderOfTheList();
    void repeatsItselfAtAnySpeed();
    void pairingEndsAScan();
    void connects_data();
    void connects();
    void endsConnections_data();
    void endsConnections();
    void refuses_data();
    void refuses();
    void switchesOffAndOn();
    void tellsOnlyChanges();

private:
    BluetoothIf& proxy() { return *m_sim->proxy; }
    void deliverAll();
    bool pairWith(qulonglong address);
    bool connectTo(qulonglong address);
    PairEntry paired(qulonglong address);

    PrivateSystemBus m_bus;
    QScopedPointer<Bluesim> m_sim;
};

void BluesimTest::init()
{
    m_sim.reset(new Bluesim);
    QVERIFY2(m_sim->switchOn(), qPrintable(m_sim->log()));
}

// An answer comes after the signals that were sent before it; then they wait for the event loop.
void BluesimTest::deliverAll()
{
    static_cast<void>(proxy().status());
    QCoreApplication::processEvents();
}

PairEntry BluesimTest::paired(qulonglong address)
{
    for (const PairEntry& entry : proxy().pairList().entries) {
        if (entry.address == address) {
            return entry;
        }
    }
    return {};
}

// For devices that ask no more than a confirmation.
bool BluesimTest::pairWith(qulonglong address)
{
    QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
    const auto confirm =
        connect(&proxy(), &BluetoothIf::pairStateChanged, this, [this](const QDBusVariant& state) {
            if (state.variant() == 4) {
                proxy().ConfirmCode();
            }
        });
    proxy().Pair(address);
    while (states.isEmpty() || carried<int>(states.last()) < 100) {
        if (!states.wait()) {
            return false;
        }
    }
    disconnect(confirm);
    return carried<int>(states.last()) == 100;
}

bool BluesimTest::connectTo(qulonglong address)
{
    QSignalSpy connected(&proxy(), &BluetoothIf::connectionEstablished);
    proxy().ConnectAddr(address);
    return connected.wait();
}

void BluesimTest::pairs_data()
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
    row("code, confirmed") << Phone << "confirm" << QList<int>{ 1, 4, 6, 100 } << digits << "Phone";
    row("code, rejected") << Phone << "reject" << QList<int>{ 1, 4, 200 } << digits << "Phone";
    row("code 000000") << Notebook << "confirm" << QList<int>{ 1, 4, 6, 100 } << "^000000$"
                       << "Notebook";
    row("just works") << Headset << "" << QList<int>{ 1, 6, 100 } << none << "Headset";
    row("right PIN") << CarKit << "5190" << QList<int>{ 1, 3, 6, 100 } << none << "Car Kit";
    row("wrong PIN") << CarKit << "5191" << QList<int>{ 1, 3, 6, 201 } << none << "Car Kit";
    row("no PIN") << CarKit << "decline" << QList<int>{ 1, 3, 200 } << none << "Car Kit";
    row("simple confirmation, given")
        << Strap << "confirm" << QList<int>{ 1, 5, 6, 100 } << none << "Heart-rate Strap";
    row("simple confirmation, not given")
        << Strap << "reject" << QList<int>{ 1, 5, 200 } << none << "Heart-rate Strap";
    row("refused by the device") << LockedTablet << "confirm" << QList<int>{ 1, 201 } << none
                                 << "Locked Tablet";
    row("out of reach") << FarSpeaker << "" << QList<int>{ 1, 202 } << none << QString();
    row("nobody there") << Nobody << "" << QList<int>{ 1, 202 } << none << QString();
    row("without a name") << Nameless << "" << QList<int>{ 1, 6, 100 } << none << QString();
}

void BluesimTest::pairs()
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
    connect(&proxy(), &BluetoothIf::pairStateChanged, this, [&](const QDBusVariant& state) {
        const int number = state.variant().toInt();
        if (number == 3) {
            answer == QLatin1String("decline") ? proxy().PINdecline() : proxy().PINreply(answer);
        } else if (number == 4 || number == 5) {
            codeWhenAsked = codeSpy.isEmpty() ? QString() : carried<QString>(codeSpy.last());
            answer == QLatin1String("confirm") ? proxy().ConfirmCode() : proxy().RejectCode();
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

void BluesimTest::findsDevicesOneAfterAnother()
{
    QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
    QSignalSpy states(&proxy(), &BluetoothIf::scanStateChanged);
    proxy().Scan();
    QTRY_COMPARE(allCarried<int>(states), (QList<int>{ 1, 2 }));

    const QList<ScanResults> pictures = allCarried<ScanResults>(results);
    QVERIFY(pictures.first().entries.size() < RoomSize);
    QCOMPARE(pictures.last().entries.size(), RoomSize);
    QCOMPARE(proxy().scanResults(), pictures.last());
    QVERIFY(pictures.size() <= 16); // a list that floods its readers
    QSet<qulonglong> nameless;
    QSet<qulonglong> moved;
    for (int i = 0; i < pictures.size(); ++i) {
        const QList<ScanEntry>& now = pictures.at(i).entries;
        const QList<ScanEntry> before = i == 0 ? QList<ScanEntry>() : pictures.at(i - 1).entries;
        QVERIFY(before.size() <= now.size());
        for (int row = 0; row < now.size(); ++row) {
            const ScanEntry& entry = now.at(row);
            QVERIFY2(entry.signalStrength < -30 && entry.signalStrength > -100, "dBm");
            if (entry.name.isEmpty()) {
                nameless.insert(entry.address);
            }
            if (row < before.size()) {
                QCOMPARE(entry.address, before.at(row).address);
                QVERIFY2(!entry.name.isEmpty() || before.at(row).name.isEmpty(), "a name was lost");
                if (entry.signalStrength != before.at(row).signalStrength) {
                    moved.insert(entry.address);
                }
            }
        }
    }
    QCOMPARE(nameless.size(), RoomSize); // found first, asked for the name later
    QVERIFY(!moved.isEmpty());
    for (const ScanEntry& entry : pictures.last().entries) {
        QCOMPARE(entry.name.isEmpty(), entry.address == Nameless);
    }
}

void BluesimTest::keepsTheOrderOfTheList()
{
    QSignalSpy states(&proxy(), &BluetoothIf::scanStateChanged);
    proxy().Scan();
    QTRY_COMPARE(states.size(), 2);
    const ScanResults first = proxy().scanResults();

    QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
    proxy().Scan();
    QVERIFY(results.wait());
    proxy().CancelScan();
    QTRY_COMPARE(allCarried<int>(states), (QList<int>{ 1, 2, 1, 2 }));
    const ScanResults second = proxy().scanResults();
    QCOMPARE(second.entries.size(), first.entries.size());
    for (int row = 0; row < first.entries.size(); ++row) {
        QCOMPARE(second.entries.at(row).address, first.entries.at(row).address);
        QCOMPARE(second.entries.at(row).name, first.entries.at(row).name);
    }
}

void BluesimTest::repeatsItselfAtAnySpeed()
{
    QList<QList<ScanResults>> runs;
    for (const char* scale : { "10", "200" }) {
        m_sim.reset(new Bluesim);
        QVERIFY(m_sim->switchOn(scale));
        QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
        QSignalSpy states(&proxy(), &BluetoothIf::scanStateChanged);
        proxy().Scan();
        QTRY_COMPARE(states.size(), 2);
        runs.append(allCarried<ScanResults>(results));
    }
    QVERIFY(!runs.first().isEmpty());
    QCOMPARE(runs.first(), runs.last());
}

void BluesimTest::pairingEndsAScan()
{
    QSignalSpy scanStates(&proxy(), &BluetoothIf::scanStateChanged);
    QSignalSpy pairStates(&proxy(), &BluetoothIf::pairStateChanged);
    proxy().Scan();
    proxy().Pair(Phone);
    QTRY_COMPARE(allCarried<int>(pairStates), (QList<int>{ 1, 4 }));
    QCOMPARE(allCarried<int>(scanStates), (QList<int>{ 1, 2 }));

    QDBusPendingReply<> refused = proxy().Scan();
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.InProgress"));
    QVERIFY(refused.error().message().contains(AddressHelper::int2str(Phone)));
    refused = proxy().Pair(Headset);
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.InProgress"));
    proxy().RejectCode();
    QTRY_COMPARE(proxy().pairState(), 200);
    proxy().Scan();
    QTRY_COMPARE(proxy().scanState(), 1);
    QCOMPARE(proxy().pairState(), 200);
}

void BluesimTest::connects_data()
{
    QTest::addColumn<qulonglong>("address");
    QTest::addColumn<uint>("bits");
    QTest::addColumn<bool>("headset");
    QTest::addColumn<bool>("companion");
    QTest::addColumn<bool>("wifed");
    QTest::newRow("phone") << Phone << 1U << false << false << false;
    QTest::newRow("headset") << Headset << 4U << true << false << false;
    QTest::newRow("companion phone") << CompanionPhone << 2U << false << true << false;
    QTest::newRow("notebook") << Notebook << 8U << false << false << false;
    QTest::newRow("Wi-FED") << Wifed << 1U << false << false << true;
}

void BluesimTest::connects()
{
    QFETCH(qulonglong, address);
    QFETCH(uint, bits);
    QFETCH(bool, headset);
    QFETCH(bool, companion);
    QFETCH(bool, wifed);

    QVERIFY(pairWith(address));
    QSignalSpy any(&proxy(), &BluetoothIf::connectionEstablished);
    QSignalSpy headsets(&proxy(), &BluetoothIf::headsetConnected);
    QSignalSpy companions(&proxy(), &BluetoothIf::mtConnectionEstablished);
    QSignalSpy opened(&proxy(), &BluetoothIf::wifedCmdCtlSockAvailable);
    QSignalSpy closed(&proxy(), &BluetoothIf::wifedCmdCtlSockClosed);
    QSignalSpy gone(&proxy(), &BluetoothIf::deviceDisconnected);
    const QList<qulonglong> once{ address };
    const QStringList text{ AddressHelper::int2str(address) };

    proxy().ConnectAddr(address);
    QVERIFY(any.wait());
    deliverAll();
    QCOMPARE(paired(address).connectionState, bits);
    QCOMPARE(allCarried<qulonglong>(any), once);
    QCOMPARE(allCarried<qulonglong>(headsets), headset ? once : QList<qulonglong>());
    QCOMPARE(allCarried<qulonglong>(companions), companion ? once : QList<qulonglong>());
    QCOMPARE(allCarried<QString>(opened), wifed ? text : QStringList());
    QCOMPARE(proxy().wifedsConnected(), wifed ? text.first() : QString());

    proxy().DisconnectAddr(address);
    QVERIFY(gone.wait());
    QCOMPARE(allCarried<qulonglong>(gone), once);
    QCOMPARE(paired(address).connectionState, 0U);
    QCOMPARE(allCarried<QString>(closed), wifed ? text : QStringList());
    QCOMPARE(proxy().wifedsConnected(), QString());
}

void BluesimTest::endsConnections_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QList<qulonglong>>("disconnected");
    QTest::addColumn<QList<qulonglong>>("stillPaired");
    QTest::newRow("kill iOS accessories")
        << "killIAP" << QList<qulonglong>{ CompanionPhone } << QList<qulonglong>{ CompanionPhone, Headset };
    QTest::newRow("unpair") << "UnPair" << QList<qulonglong>{ Headset }
                            << QList<qulonglong>{ CompanionPhone };
    QTest::newRow("switch off") << "off" << QList<qulonglong>{ CompanionPhone, Headset }
                                << QList<qulonglong>{ CompanionPhone, Headset };
}

void BluesimTest::endsConnections()
{
    QFETCH(QString, how);
    QFETCH(QList<qulonglong>, disconnected);
    QFETCH(QList<qulonglong>, stillPaired);

    for (const qulonglong address : { CompanionPhone, Headset }) {
        QVERIFY(pairWith(address));
        QVERIFY(connectTo(address));
    }
    QSignalSpy gone(&proxy(), &BluetoothIf::deviceDisconnected);
    if (how == QLatin1String("killIAP")) {
        proxy().killIAP();
    } else if (how == QLatin1String("UnPair")) {
        proxy().UnPair(Headset);
    } else {
        proxy().setState(false);
    }
    QTRY_COMPARE(allCarried<qulonglong>(gone), disconnected);
    QList<qulonglong> left;
    for (const PairEntry& entry : proxy().pairList().entries) {
        left << entry.address;
    }
    QCOMPARE(left, stillPaired);
}

void BluesimTest::refuses_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QString>("error");
    QTest::newRow("pair with no address") << "Pair" << QVariant(0ULL) << "InvalidArgument";
    QTest::newRow("pair beyond 48 bits") << "Pair" << QVariant(0x1000000000000ULL) << "InvalidArgument";
    QTest::newRow("connect a stranger") << "ConnectAddr" << QVariant(Phone) << "NotPaired";
    QTest::newRow("disconnect a stranger") << "DisconnectAddr" << QVariant(Phone) << "NotPaired";
    QTest::newRow("unpair a stranger") << "UnPair" << QVariant(Nobody) << "NotPaired";
    QTest::newRow("PIN unasked") << "PINreply" << QVariant(QStringLiteral("1")) << "NothingPending";
    QTest::newRow("decline unasked") << "PINdecline" << QVariant() << "NothingPending";
    QTest::newRow("confirm unasked") << "ConfirmCode" << QVariant() << "NothingPending";
    QTest::newRow("reject unasked") << "RejectCode" << QVariant() << "NothingPending";
    QTest::newRow("cancel no scan") << "CancelScan" << QVariant() << "NothingPending";
    QTest::newRow("empty UUID") << "registerRFCOMMUUID" << QVariant(QString()) << "InvalidArgument";
    QTest::newRow("unknown UUID") << "unregisterRFCOMMUUID" << QVariant(QStringLiteral("1101"))
                                  << "NotRegistered";
}

void BluesimTest::refuses()
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

void BluesimTest::switchesOffAndOn()
{
    QVERIFY(pairWith(Headset));
    QSignalSpy status(&proxy(), &BluetoothIf::statusChanged);
    QSignalSpy state(&proxy(), &BluetoothIf::stateChanged);
    proxy().Scan();
    proxy().setState(false);
    QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 4, 1 }));
    QCOMPARE(allCarried<bool>(state), QList<bool>{ false });
    QCOMPARE(proxy().scanState(), 2);
    QCOMPARE(proxy().pairState(), 0);
    QDBusPendingReply<> refused = proxy().Scan();
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.NotReady"));

    status.clear();
    proxy().setState(true);
    QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 2, 3 }));
    QVERIFY(proxy().state());
    QVERIFY(connectTo(Headset));
}

void BluesimTest::tellsOnlyChanges()
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
    proxy().setMyAddress(Phone);
    QCOMPARE(proxy().myAddress(), address);
    deliverAll();
    QVERIFY(addresses.isEmpty());
    QCOMPARE(names.size(), 1);

    QVERIFY(pairWith(Headset));
    QSignalSpy lists(&proxy(), &BluetoothIf::pairListChanged);
    QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
    QDBusPendingReply<> again = proxy().Pair(Headset);
    again.waitForFinished();
    QVERIFY(again.isValid());
    QCOMPARE(proxy().pairState(), 100);
    deliverAll();
    QVERIFY(lists.isEmpty());
    QVERIFY(states.isEmpty());
}

QTEST_GUILESS_MAIN(BluesimTest)
#include "BluesimTest.moc"
