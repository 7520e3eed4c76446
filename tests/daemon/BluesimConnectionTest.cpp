#include "AddressHelper.h"
#include "BluesimFixture.h"
#include "support/Rows.h"

#include <csignal>

class BluesimConnectionTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void connects_data();
    void connects();
    void endsConnections_data();
    void endsConnections();
    void switchesOffAndOn();
    void keepsPairingsOverARestart();
    void setsADamagedFileAside_data();
    void setsADamagedFileAside();
};

void BluesimConnectionTest::connects_data()
{
    const Rows<qulonglong, uint, bool, bool, bool> row("address", "bits", "headset", "companion", "wifed");
    row("phone", room::Phone, 1U, false, false, false);
    row("headset", room::Headset, 4U, true, false, false);
    row("companion phone", room::CompanionPhone, 2U, false, true, false);
    row("notebook", room::Notebook, 8U, false, false, false);
    row("Wi-FED", room::Wifed, 1U, false, false, true);
}

void BluesimConnectionTest::connects()
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

void BluesimConnectionTest::endsConnections_data()
{
    const Rows<QString, QList<qulonglong>, QList<qulonglong>> row("how", "disconnected", "stillPaired");
    row("kill iOS accessories", "killIAP", { room::CompanionPhone }, { room::CompanionPhone, room::Headset });
    row("unpair", "UnPair", { room::Headset }, { room::CompanionPhone });
    row("switch off", "off", { room::CompanionPhone, room::Headset },
        { room::CompanionPhone, room::Headset });
}

void BluesimConnectionTest::endsConnections()
{
    QFETCH(QString, how);
    QFETCH(QList<qulonglong>, disconnected);
    QFETCH(QList<qulonglong>, stillPaired);

    for (const qulonglong address : { room::CompanionPhone, room::Headset }) {
        QVERIFY(pairWith(address));
        QVERIFY(connectTo(address));
    }
    QSignalSpy gone(&proxy(), &BluetoothIf::deviceDisconnected);
    if (how == "killIAP")
        proxy().killIAP();
    else if (how == "UnPair")
        proxy().UnPair(room::Headset);
    else
        proxy().setState(false);
    QTRY_COMPARE(allCarried<qulonglong>(gone), disconnected);
    QList<qulonglong> left;
    for (const PairEntry& entry : proxy().pairList().entries)
        left << entry.address;
    QCOMPARE(left, stillPaired);
}

void BluesimConnectionTest::switchesOffAndOn()
{
    QVERIFY(pairWith(room::Headset));
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
    QCOMPARE(refused.error().name(), "com.qarn.bluetooth.Error.NotReady");

    status.clear();
    proxy().setState(true);
    QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 2, 3 }));
    QVERIFY(proxy().state());
    QVERIFY(connectTo(room::Headset));
}

void BluesimConnectionTest::keepsPairingsOverARestart()
{
    const QTemporaryDir folder;
    qputenv("BLUESIM_STATE", QFile::encodeName(folder.filePath("pairings")));
    const auto unset = qScopeGuard([] { qunsetenv("BLUESIM_STATE"); });
    restart();
    QVERIFY(pairWith(room::Notebook));
    QVERIFY(pairWith(room::Headset));
    QVERIFY(connectTo(room::Headset));

    m_sim->process().signal(SIGKILL); // also then
    restart();
    const PairList kept{ { { room::Notebook, "Notebook", 0 }, { room::Headset, "Headset", 0 } } };
    QCOMPARE(proxy().pairList(), kept);
    proxy().UnPair(room::Notebook);
    QTRY_COMPARE(proxy().pairList().entries.size(), 1);
    restart();
    QCOMPARE(proxy().pairList(), PairList{ { kept.entries.last() } });
    QVERIFY(connectTo(room::Headset));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{ "pairings" });
    QCOMPARE(m_sim->log(), QString());
}

void BluesimConnectionTest::setsADamagedFileAside_data()
{
    const Rows<QByteArray, QString> row("text", "reason");
    row("cut off", "{ \"paired\": [", "line 1: this is no JSON: it ends while the bracket");
    row("no list", "{}", R"(the file needs "paired")");
    row("no address", R"({"paired":[{"address":"near","name":"x"}]})", "\"near\" is no device address");
}

void BluesimConnectionTest::setsADamagedFileAside()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, reason);

    const QTemporaryDir folder;
    QFile file(folder.filePath("pairings"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush());
    qputenv("BLUESIM_STATE", QFile::encodeName(file.fileName()));
    const auto unset = qScopeGuard([] { qunsetenv("BLUESIM_STATE"); });
    restart();
    QCOMPARE(proxy().pairList(), PairList());
    const QString log = m_sim->log();
    QVERIFY2(log.contains(file.fileName()) && log.contains(reason), qPrintable(log));
    QFile aside(file.fileName() + ".damaged");
    QVERIFY(aside.open(QIODevice::ReadOnly));
    QCOMPARE(aside.readAll(), text);
    QVERIFY(pairWith(room::Headset));
    QVERIFY(QFileInfo::exists(file.fileName()));
}

QTEST_GUILESS_MAIN(BluesimConnectionTest)
#include "BluesimConnectionTest.moc"
