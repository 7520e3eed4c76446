#include "BluezFaults.h"

#include "BluetoothIf.h"

#include <QtTest>

namespace {

const QString Status = QStringLiteral("status");
const QString NoDevice = QStringLiteral("No Device");
const QString On = QStringLiteral("On");

} // namespace

void BluezFaults::init()
{
    QVERIFY(m_world.enable(true));
}

void BluezFaults::cleanup()
{
    if (QTest::currentTestFailed()) {
        qWarning().noquote() << m_world.output();
    }
}

bool BluezFaults::scanFinds(const QString& device)
{
    RadioWorld::trigger(QStringLiteral("scan"));
    return m_world.await([&] { return m_world.row(QStringLiteral("scanresultsAddr"), device) >= 0; })
        && m_world.await(QStringLiteral("scanstate"), QStringLiteral("Scan Complete"));
}

void BluezFaults::controllersVanishWhileScanning()
{
    QString device = m_guest.device(Way::Code, true);
    RadioWorld::trigger(QStringLiteral("scan"));
    QVERIFY(m_world.await(QStringLiteral("scanstate"), QStringLiteral("Scanning")));
    QVERIFY(m_world.await([&] { return m_world.row(QStringLiteral("scanresultsAddr"), device) >= 0; }));
    m_guest.unplug();
    QVERIFY(m_world.await(Status, NoDevice));
    QVERIFY(m_world.await(QStringLiteral("scanstate"), QStringLiteral("Scan Complete")));
    QCOMPARE(m_world.text(QStringLiteral("scanresultsAddr:0")), QString());

    m_guest.plugIn();
    QCOMPARE(m_guest.awaitAdapters(), QString());
    QVERIFY(m_world.await(Status, On));
    device = m_guest.device(Way::Code, true);
    QVERIFY(scanFinds(device));
}

void BluezFaults::bluetoothdDiesWhilePairing()
{
    const QString device = m_guest.device(Way::Code, true);
    RadioWorld::trigger(QStringLiteral("pair"), device);
    QVERIFY(m_world.await(QStringLiteral("pairstate"), QStringLiteral("Need Confirmation")));
    m_guest.killBluetoothd();
    QVERIFY(m_world.await(Status, NoDevice));
    QVERIFY(m_world.await(QStringLiteral("pairstate"), QStringLiteral("Idle")));
    QCOMPARE(m_world.text(QStringLiteral("confirmationcode")), QString());
    QCOMPARE(m_world.text(QStringLiteral("pairlistAddr:0")), QString());

    m_guest.startBluetoothd();
    QCOMPARE(m_guest.awaitAdapters(), QString());
    QVERIFY(m_world.await(Status, On));
    // The controllers are in the middle of the pairing still, and would refuse another one.
    m_guest.unplug();
    QVERIFY(m_world.await(Status, NoDevice));
    m_guest.plugIn();
    QCOMPARE(m_guest.awaitAdapters(), QString());
    QCOMPARE(pairWith(m_world, m_guest.device(Way::Code, true)), QStringLiteral("Paired"));
    QVERIFY(unpairAll(m_world));
}

// By an RFCOMM channel that bluetoothd chooses, for a UUID that it has never heard of.
void BluezFaults::companionConnects()
{
    const QString uuid = QStringLiteral("5a1f1e5c-0000-4b0e-9d5e-0123456789ab");
    BluetoothIf daemon(QStringLiteral("com.qarn.bluetooth"), QStringLiteral("/com/qarn/Bluetooth"),
                       QDBusConnection::systemBus(), nullptr);
    QSignalSpy companion(&daemon, &BluetoothIf::mtConnectionEstablished);
    RadioWorld::trigger(QStringLiteral("registerrfcommuuid"), uuid);
    const QString device = m_guest.device(Way::Code, true);
    QCOMPARE(pairWith(m_world, device), QStringLiteral("Paired"));
    m_guest.second().connectTo(m_guest.adapterProperty(QStringLiteral("Address")).toString(), uuid);
    QTRY_COMPARE_WITH_TIMEOUT(companion.size(), 1, 60'000);
    RadioWorld::trigger(QStringLiteral("unregisterrfcommuuid"), uuid);
    QVERIFY(unpairAll(m_world));
}

void BluezFaults::isBlocked()
{
    QVERIFY(GuestScenery::block(true));
    QVERIFY(m_world.await(Status, NoDevice));
    QVERIFY(GuestScenery::block(false));
    QVERIFY(m_world.await(Status, On));
    QCOMPARE(m_guest.awaitAdapters(), QString());
}

void BluezFaults::leavesTheAdapterAsItWas()
{
    QCOMPARE(m_guest.adapterProperty(QStringLiteral("Powered")), QVariant(true));
    QVERIFY(m_guest.adapterProperty(QStringLiteral("Alias")).toString() != GuestScenery::foundAlias());
    QVERIFY(m_world.enable(false)); // returns when the program has ended
    QCOMPARE(m_guest.adapterProperty(QStringLiteral("Powered")), QVariant(false));
    QCOMPARE(m_guest.adapterProperty(QStringLiteral("Discoverable")), QVariant(false));
    QCOMPARE(m_guest.adapterProperty(QStringLiteral("Discovering")), QVariant(false));
    QCOMPARE(m_guest.adapterProperty(QStringLiteral("Alias")).toString(), GuestScenery::foundAlias());
}
