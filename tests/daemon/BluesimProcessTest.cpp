#include "Bluesim.h"
#include "support/PrivateBus.h"
#include "support/Programs.h"
#include "support/Rows.h"

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
    void init()
    {
        qputenv("BLUESIM_TIME_SCALE", Bluesim::Scale);
        qputenv("BLUESIM_PAUSED", "0"); // as when it is not set
    }
    void cleanup() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().toLocal8Bit()); }

    void endsInOrder_data()
    {
        const Rows<int> row("number");
        row("SIGTERM", SIGTERM);
        row("SIGINT", SIGINT);
    }

    void endsInOrder()
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
    void endsAlthoughTheSignalWasBlocked()
    {
        sigset_t blocked;
        sigset_t before;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
        QProcess process;
        process.start(BLUESIM, { "x", "1", "1" });
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        QTRY_VERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(Bluesim::service()));
        process.terminate();
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }

    void refusesToStart_data()
    {
        const Rows<QStringList, QString, QString, int, QString> row("arguments", "variable", "value",
                                                                    "status", "message");
        const QStringList proper{ "x", "1", "1" };
        const QString scale = "BLUESIM_TIME_SCALE";
        row("seed is no number", proper, "BLUESIM_SEED", "one", 2, "BLUESIM_SEED is \"one\"");
        row("neither paused nor not", proper, "BLUESIM_PAUSED", "no", 2, "0 or 1");
        row("no arguments", {}, scale, "20", 2, "usage: bluesim NAME 1 1");
        row("too few", proper.mid(1), scale, "20", 2, "usage:");
        row("too many", proper + proper, scale, "20", 2, "usage:");
        row("time stands still", proper, scale, "0", 2, "notice: BLUESIM_TIME_SCALE");
        row("time is no number", proper, scale, "fast", 2, "\"fast\"");
        row("scenario unknown", proper, "BLUESIM_SCENARIO", "no-such", 2, "notice: BLUESIM_SCENARIO: ");
        row("no bus", proper, "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1,
            "notice: there is no system bus");
    }

    void refusesToStart()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, variable);
        QFETCH(QString, value);
        QFETCH(QString, message);
        const Finished sim =
            run("timeout", QStringList{ "5", BLUESIM } + arguments, { { { variable, value } }, false, {} });
        QTEST(sim.status, "status");
        QVERIFY2(sim.err.contains(message), qPrintable(sim.err));
    }

    // With fewer no library is loaded.
    void worksOrEndsWithFewDescriptors_data()
    {
        const Rows<int> row("descriptors");
        for (int descriptors = 4; descriptors <= 12; ++descriptors) {
            row(qPrintable(QString::number(descriptors)), descriptors);
        }
    }

    void worksOrEndsWithFewDescriptors()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("a sanitizer opens descriptors of its own");
#endif
        QFETCH(int, descriptors);
        QProcess sim;
        start(sim, "prlimit", { QString("--nofile=%1").arg(descriptors), "--core=0", BLUESIM, "x", "1", "1" },
              {});
        const auto isServing = [] {
            return QDBusConnection::systemBus().interface()->isServiceRegistered(Bluesim::service()).value();
        };
        QTRY_VERIFY(sim.state() == QProcess::NotRunning || isServing());
        if (sim.state() == QProcess::NotRunning) {
            const QByteArray why = sim.readAllStandardError();
            // The dynamic linker has no words for it.
            const bool isTold = why.contains("Too many open files") || why.contains(": Error 24");
            QVERIFY2(descriptors < 12 && isTold, why.constData());
            return;
        }
        const BluetoothIf proxy(Bluesim::service(), "/com/qarn/Bluetooth", QDBusConnection::systemBus(),
                                nullptr);
        QTRY_COMPARE(proxy.status(), 3);
        sim.terminate();
        QVERIFY(sim.waitForFinished());
        QCOMPARE(sim.exitCode(), 0);
        QCOMPARE(sim.readAllStandardError(), QByteArray());
    }

    void leavesTheNameToTheFirst()
    {
        Bluesim first;
        QVERIFY(first.switchOn());
        Bluesim second;
        QVERIFY(second.start());
        QCOMPARE(second.process().wait(10000ms), std::optional<int>(1));
        QVERIFY2(second.log().contains(QString("notice: the name com.qarn.bluetooth is taken by process %1")
                                           .arg(first.process().pid())),
                 qPrintable(second.log()));
        QCOMPARE(first.proxy->status(), 3);
    }

    void endsWithTheBus()
    {
        PrivateSystemBus bus;
        QCOMPARE(bus.start(), QString());
        const QString connectionName = "other bus";
        QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), connectionName);
        Bluesim sim;
        QVERIFY(sim.start());
        QTRY_VERIFY(connection.interface()->isServiceRegistered(Bluesim::service()));
        bus.stop();
        QCOMPARE(sim.process().wait(10000ms), std::optional<int>(1));
        QVERIFY2(sim.log().contains("the system bus is gone"), qPrintable(sim.log()));
        QDBusConnection::disconnectFromBus(connectionName);
    }

private:
    PrivateSystemBus m_bus;
};

QTEST_GUILESS_MAIN(BluesimProcessTest)
#include "BluesimProcessTest.moc"
