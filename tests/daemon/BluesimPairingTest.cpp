#include "AddressHelper.h"
#include "Bluesim.h"
#include "support/PrivateBus.h"
#include "support/Rows.h"

#include <QtTest>

#include <csignal>

/// Devices of the small room that bluesim starts with, and one that is not there.
namespace room {
inline constexpr qulonglong Phone = 0x001122334401;
inline constexpr qulonglong Headset = 0x001122334402;
inline constexpr qulonglong Notebook = 0x00112233440A;
inline constexpr qulonglong Nobody = 0x0A0B0C0D0E0F;
} // namespace room

/// What it tells and refuses on a bus, and the pairings that outlive it; before each test a radio that is on.
class BluesimPairingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_bus.start(), QString()); }
    void init() { restart(); }
    void cleanup() { m_sim.reset(); }

    void refuses()
    {
        QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
        const QDBusMessage reply = proxy().call("UnPair", room::Nobody);
        QCOMPARE(reply.errorName(), "com.qarn.bluetooth.Error.NotPaired");
        QVERIFY(!reply.errorMessage().isEmpty());
        // Clients that do not wait for replies leave no other trace than this line.
        QVERIFY2(m_sim->log().contains("notice: UnPair refused: " + reply.errorMessage() + '\n'),
                 qPrintable(m_sim->log()));
        QCOMPARE(proxy().pairState(), 0);
        deliverAll();
        QVERIFY(states.isEmpty());
    }

    // A text of a client's does not steer the terminal on which it is shown.
    void showsWhatItRefusesEscaped()
    {
        proxy().unregisterRFCOMMUUID("\x1b[2J\nnotice: lie");
        QTRY_VERIFY2(m_sim->log().endsWith("is not registered\n"), qPrintable(m_sim->log()));
        QVERIFY2(m_sim->log().contains("\\x1b[2J\\nnotice: lie"), qPrintable(m_sim->log()));
    }

    void namesThePropertyThatItRefuses()
    {
        proxy().setMyName({});
        QTRY_VERIFY2(m_sim->log().startsWith("notice: myName refused: "), qPrintable(m_sim->log()));
    }

    void tellsOnlyChanges()
    {
        QCOMPARE(proxy().myName(), "TORLO-test"); // without the line end of the argument
        QSignalSpy names(&proxy(), &BluetoothIf::myNameChanged);
        QSignalSpy addresses(&proxy(), &BluetoothIf::myAddressChanged);
        proxy().setMyName("Workshop");
        proxy().setMyName("Workshop");
        proxy().setMyName(QString());
        QTRY_COMPARE(allCarried<QString>(names), QStringList{ "Workshop" });
        QCOMPARE(proxy().myName(), "Workshop");

        const qulonglong address = proxy().myAddress();
        QVERIFY(address != 0);
        proxy().setMyAddress(room::Phone);
        QCOMPARE(proxy().myAddress(), address);
        deliverAll();
        QVERIFY(addresses.isEmpty());
        QCOMPARE(names.size(), 1);
    }

    void keepsPairingsOverARestart()
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
        QVERIFY(connectTo(room::Notebook)); // which is to keep its name
        proxy().setState(false);
        QTRY_COMPARE(proxy().status(), 1);
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

    void setsADamagedFileAside_data()
    {
        const Rows<QByteArray, QString> row("text", "reason");
        row("cut off", "{ \"paired\": [",
            "line 1: this is no JSON: syntax error while parsing value - unexpected end of input");
        row("no list", "{}", R"(the file needs "paired")");
        row("no address", R"({"paired":[{"address":"near","name":"x"}]})", "\"near\" is no device address");
    }

    void setsADamagedFileAside()
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

private:
    BluetoothIf& proxy() { return *m_sim->proxy; }

    void restart()
    {
        m_sim.reset(); // the name has to be free first
        m_sim.reset(new Bluesim);
        QVERIFY2(m_sim->switchOn(), qPrintable(m_sim->log()));
    }

    /// An answer comes after the signals that were sent before it; then they wait for the event loop.
    void deliverAll()
    {
        static_cast<void>(proxy().status());
        QCoreApplication::processEvents();
    }

    /// For devices that ask for no more than a confirmation.
    bool pairWith(qulonglong address)
    {
        proxy().Pair(address);
        return Patience::waitFor([this] {
            if (proxy().pairState() == 4) {
                proxy().ConfirmCode();
            }
            return proxy().pairState() == 100;
        });
    }

    bool connectTo(qulonglong address)
    {
        QSignalSpy connected(&proxy(), &BluetoothIf::connectionEstablished);
        proxy().ConnectAddr(address);
        return Patience::wait(connected);
    }

    PrivateSystemBus m_bus;
    QScopedPointer<Bluesim> m_sim;
};

QTEST_GUILESS_MAIN(BluesimPairingTest)
#include "BluesimPairingTest.moc"
