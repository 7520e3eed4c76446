// The loan of the radio to another process.
#include "ModuleWorld.h"
#include "support/Rows.h"
#include "world/ChildProcess.h"

#include <QDir>
#include <QFile>

#include <csignal>

namespace {

const QString LockFile = "/tmp/bluelock";

QByteArray lockFile()
{
    QFile file(LockFile);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "none";
}

} // namespace

class RadioLockTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void init()
    {
        const QByteArray owner = lockFile();
        if (owner != "none") {
            QCOMPARE(request(owner + ",0"), "Success");
        }
        SET_ITEM("enabled", false);
        QVERIFY(!isLent());
    }

    void aLoanStopsTheRadioAndTheReturnStartsIt()
    {
        const QString pid = QString::number(getpid());
        SET_ITEM("enabled", true);
        QCOMPARE(m_world.hostChildren().size(), 1);

        QCOMPARE(request(pid + ",1"), "Success");
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
        QCOMPARE(lockFile(), pid.toLatin1());
        COMPARE_ITEM("enabled", true);
        QVERIFY(isLent());
        QCOMPARE(request(pid + ",1"), "Rejected");
        QCOMPARE(lockFile(), pid.toLatin1());
        QVERIFY(count(QString("requestBluetooth %1  successful lock").arg(pid)) > 0);
        QVERIFY(count(QString("requestBluetooth %1  rejected lock").arg(pid)) > 0);

        QCOMPARE(request(pid + ",0"), "Success");
        QCOMPARE(m_world.hostChildren().size(), 1);
        QCOMPARE(lockFile(), "none");
        QVERIFY(!isLent());
        QVERIFY(count(QString("requestBluetooth %1  successful free").arg(pid)) > 0);
    }

    void aDeadBorrowerIsFreed()
    {
        SET_ITEM("enabled", true);
        world::ChildProcess borrower;
        QVERIFY(borrower.start({ { "sleep", "60" } }));
        const QString pid = QString::number(borrower.pid());
        QCOMPARE(request(pid + ",1"), "Success");
        const QString freed = QString("requestBluetooth %1  successful free").arg(pid);
        QCOMPARE(count(freed), 0);

        borrower.signal(SIGKILL);
        QTRY_VERIFY(isZombie(borrower.pid()));
        // It has a process id until its parent has asked for it, and keeps the radio as long; the second
        // between the two flips of a cycle has room for two checks.
        QCOMPARE(m_world.trigger("cycleradio"), "");
        COMPARE_ITEM("enabled", false);
        QTRY_COMPARE(m_world.value("enabled"), QVariant(true));
        QVERIFY(isLent());
        borrower.wait();
        QTRY_VERIFY_WITH_TIMEOUT(!isLent(), 1500);
        QCOMPARE(m_world.hostChildren().size(), 1);
        QCOMPARE(lockFile(), "none");
        const QString gone = QString("Process %1  exited without freeing Bluetooth resource").arg(pid);
        const QString output = m_world.world().output();
        QVERIFY(output.contains(gone + "\nrequestBluetooth called with params \"" + pid + ",0\"\n" + freed));
    }

    void twoCheckChains()
    {
        // A return and a new loan within one period have a second chain of checks run beside the first.
        world::ChildProcess borrower;
        QVERIFY(borrower.start({ { "sleep", "60" } }));
        const QString pid = QString::number(borrower.pid());
        for (const char* mode : { ",1", ",0", ",1" }) {
            QCOMPARE(request(pid + mode), "Success");
        }
        borrower.end();
        QTRY_VERIFY_WITH_TIMEOUT(!isLent(), 1500);
        // Whichever chain came first has freed the radio; the other one ends without a second report. A loan
        // that ends at the next check tells that every check of before is over.
        QCOMPARE(request("-6,1"), "Success");
        QTRY_VERIFY_WITH_TIMEOUT(!isLent(), 1500);
        QCOMPARE(count(QString("Process %1  exited without freeing Bluetooth resource").arg(pid)), 1);
        QCOMPARE(count("Process -6  exited without freeing Bluetooth resource"), 1);
    }

private:
    [[nodiscard]] QString request(const QString& text) const
    {
        return m_world.trigger("requestBluetooth", text);
    }
    [[nodiscard]] bool isLent() const { return !m_world.isApplicable("enabled"); }
    [[nodiscard]] int count(const QString& line) const { return m_world.countInOutput(line); }
};

MODULE_TEST_MAIN(RadioLockTest)
#include "RadioLockTest.moc"
