#include "Bluesim.h"
#include "support/InterfaceDescription.h"
#include "support/PrivateSystemBus.h"

#include <QDBusReply>
#include <QtTest>

#include <chrono>
#include <csignal>

using namespace std::chrono_literals;

// The program as its parent sees it: arguments, exit status, signals, and its place on the bus.
class BluesimProcessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_bus.start(), QString()); }
    void init() { qputenv("BLUESIM_TIME_SCALE", Bluesim::Scale); }
    void cleanup() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().toLocal8Bit()); }

    void offersTheDescribedInterface();
    void endsInOrder_data();
    void endsInOrder();
    void endsAlthoughTheSignalWasBlocked();
    void refusesToStart_data();
    void refusesToStart();
    void leavesTheNameToTheFirst();
    void endsWithTheBus();

private:
    PrivateSystemBus m_bus;
};

void BluesimProcessTest::offersTheDescribedInterface()
{
    Bluesim sim;
    QVERIFY(sim.switchOn());
    const QDBusMessage request = QDBusMessage::createMethodCall(
        Bluesim::service(), QStringLiteral("/com/qarn/Bluetooth"),
        QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"));
    const QDBusReply<QString> xml = QDBusConnection::systemBus().call(request);
    QVERIFY(xml.isValid());
    const auto offered = InterfaceDescription::read(xml.value().toUtf8(), Bluesim::service());
    const auto described = InterfaceDescription::ofFile(QStringLiteral(INTERFACE_XML), Bluesim::service());
    QCOMPARE(described.signalLines.size(), 16);
    QCOMPARE(offered.signalLines, described.signalLines);
    QCOMPARE(offered.methodLines, described.methodLines);
    QCOMPARE(offered.propertyLines, described.propertyLines);
    QCOMPARE(offered.propertySignatures, described.propertySignatures);
}

void BluesimProcessTest::endsInOrder_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void BluesimProcessTest::endsInOrder()
{
    QFETCH(int, number);
    Bluesim sim;
    QVERIFY(sim.switchOn());
    QDBusServiceWatcher watcher(Bluesim::service(), QDBusConnection::systemBus(),
                                QDBusServiceWatcher::WatchForUnregistration);
    QSignalSpy left(&watcher, &QDBusServiceWatcher::serviceUnregistered);
    QSignalSpy status(sim.proxy.data(), &BluetoothIf::statusChanged);
    QDBusPendingReply<> scanning = sim.proxy->Scan(); // in the middle of something
    scanning.waitForFinished();

    sim.process().signal(number);
    QVERIFY(left.wait());
    QCOMPARE(allCarried<int>(status), QList<int>{ 1 }); // told before the name went
    QCOMPARE(sim.process().wait(5000ms), std::optional<int>(0));
    QCOMPARE(sim.log(), QString());
}

// A parent that handles signals through a descriptor blocks them, and exec() keeps that.
void BluesimProcessTest::endsAlthoughTheSignalWasBlocked()
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    QProcess process;
    process.start(QStringLiteral(BLUESIM), { QStringLiteral("x"), QStringLiteral("1"), QStringLiteral("1") });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    QTRY_VERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(Bluesim::service()));
    process.terminate();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void BluesimProcessTest::refusesToStart_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("scale");
    QTest::addColumn<QByteArray>("bus");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");

    const QByteArray scale("20");
    const QByteArray bus = m_bus.address().toLocal8Bit();
    const QStringList proper{ QStringLiteral("x"), QStringLiteral("1"), QStringLiteral("1") };
    QTest::newRow("no arguments") << QStringList() << scale << bus << 2 << "usage: bluesim NAME 1 1";
    QTest::newRow("too few") << QStringList(proper.mid(1)) << scale << bus << 2 << "usage:";
    QTest::newRow("too many") << proper + proper << scale << bus << 2 << "usage:";
    QTest::newRow("time stands still") << proper << QByteArray("0") << bus << 2 << "BLUESIM_TIME_SCALE";
    QTest::newRow("scenario unknown") << proper << QByteArray("1") << bus << 2 << "BLUESIM_SCENARIO: ";
    QTest::newRow("time is no number") << proper << QByteArray("fast") << bus << 2 << "\"fast\"";
    QTest::newRow("no bus") << proper << scale << QByteArray("unix:path=/nonexistent/bus") << 1
                            << "/nonexistent/bus";
}

void BluesimProcessTest::refusesToStart()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, scale);
    QFETCH(QByteArray, bus);
    QFETCH(int, status);
    QFETCH(QString, message);

    const auto unset = qScopeGuard([] { qunsetenv("BLUESIM_SCENARIO"); });
    if (message.contains(QLatin1String("SCENARIO"))) {
        qputenv("BLUESIM_SCENARIO", "no-such");
    }
    qputenv("BLUESIM_TIME_SCALE", scale);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus);
    Bluesim sim;
    QCOMPARE(sim.start(arguments), 0);
    QCOMPARE(sim.process().wait(10000ms), std::optional<int>(status));
    QVERIFY2(sim.log().contains(message), qPrintable(sim.log()));
}

void BluesimProcessTest::leavesTheNameToTheFirst()
{
    Bluesim first;
    QVERIFY(first.switchOn());
    Bluesim second;
    QCOMPARE(second.start(), 0);
    QCOMPARE(second.process().wait(10000ms), std::optional<int>(1));
    QVERIFY2(second.log().contains(
                 QStringLiteral("com.qarn.bluetooth is taken by process %1").arg(first.process().pid())),
             qPrintable(second.log()));
    QCOMPARE(first.proxy->status(), 3);
}

void BluesimProcessTest::endsWithTheBus()
{
    QTemporaryDir folder;
    world::MessageBus bus;
    QCOMPARE(bus.start(world::MessageBus::Kind::System, folder.path()), QString());
    const QString connectionName = QStringLiteral("other bus");
    QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), connectionName);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toLocal8Bit());
    Bluesim sim;
    QCOMPARE(sim.start(), 0);
    QTRY_VERIFY(connection.interface()->isServiceRegistered(Bluesim::service()));
    bus.stop();
    QCOMPARE(sim.process().wait(10000ms), std::optional<int>(1));
    QVERIFY2(sim.log().contains(QStringLiteral("the system bus is gone")), qPrintable(sim.log()));
    QDBusConnection::disconnectFromBus(connectionName);
}

QTEST_GUILESS_MAIN(BluesimProcessTest)
#include "BluesimProcessTest.moc"
