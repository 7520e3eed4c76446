#include "AddressHelper.h"
#include "BluesimFixture.h"
#include "support/Rows.h"

#include <csignal>

class BluesimConnectionTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void keepsPairingsOverARestart();
    void setsADamagedFileAside_data();
    void setsADamagedFileAside();
};

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
