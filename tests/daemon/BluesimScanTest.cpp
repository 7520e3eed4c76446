#include "BluesimFixture.h"

class BluesimScanTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void findsDevicesOneAfterAnother()
    {
        QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
        QSignalSpy states(&proxy(), &BluetoothIf::scanStateChanged);
        proxy().Scan();
        QTRY_COMPARE(allCarried<int>(states), (QList<int>{ 1, 2 }));

        const QList<ScanResults> pictures = allCarried<ScanResults>(results);
        QVERIFY(pictures.first().entries.size() < room::Size);
        QCOMPARE(pictures.last().entries.size(), room::Size);
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
        QCOMPARE(nameless.size(), room::Size); // found first, asked for the name later
        QVERIFY(!moved.isEmpty());
        for (const ScanEntry& entry : pictures.last().entries) {
            QCOMPARE(entry.name.isEmpty(), entry.address == room::Nameless);
        }
    }

    void keepsTheOrderOfTheList()
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

    void repeatsItselfAtAnySpeed()
    {
        QList<QList<ScanResults>> runs;
        const auto unset = qScopeGuard([] { qunsetenv("BLUESIM_SEED"); });
        for (const char* scale : { "10", "200", "201" }) {
            qputenv("BLUESIM_SEED", scale == QByteArray("201") ? "8" : "7");
            m_sim.reset(new Bluesim);
            QVERIFY(m_sim->switchOn(scale));
            QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
            QSignalSpy states(&proxy(), &BluetoothIf::scanStateChanged);
            proxy().Scan();
            QTRY_COMPARE(states.size(), 2);
            runs.append(allCarried<ScanResults>(results));
        }
        QVERIFY(!runs.first().isEmpty());
        QCOMPARE(runs.at(0), runs.at(1));
        QVERIFY(runs.at(2) != runs.at(1)); // with another seed
    }
};

QTEST_GUILESS_MAIN(BluesimScanTest)
#include "BluesimScanTest.moc"
