#include "ScanList.h"

#include <QtTest>

using namespace std::chrono_literals;

/// In which order a scan lists devices, and when they change places.
class ScanListTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsStayWhileTheyAreRead()
    {
        bt::ScanList list({});
        const auto hear = [&list](qulonglong address, int strength, const char* name = "",
                                  bool connects = false) {
            list.hear({ address, strength, name }, connects);
        };
        hear(1, -50, "near");
        hear(2, -60, "far");
        hear(3, -40);
        hear(4, -90, "", true);
        QCOMPARE(order(list), "1243"); // a beacon comes last, however strong
        list.arrange(10s);

        hear(2, -30);
        QCOMPARE(order(list), "1243");
        list.arrange(13s); // somebody is reading
        QCOMPARE(order(list), "1243");
        list.arrange(14s);
        QCOMPARE(order(list), "2143");

        hear(1, -23);
        hear(2, -24);
        list.arrange(20s);
        QCOMPARE(order(list), "1243");
        hear(1, -28);
        hear(2, -25); // stronger now, but not clearly
        list.arrange(30s);
        QCOMPARE(order(list), "1243");

        hear(3, -80, "named"); // at once: now it is one that a person knows
        QCOMPARE(order(list), "1234");
    }

    void whatAnEarlierScanFoundYields()
    {
        bt::ScanList list({ { { 1, -10, "before" }, { 2, -20, "again" } } });
        QCOMPARE(order(list), "12");
        list.hear({ 3, -90, {} }, false);
        list.hear({ 2, -95, {} }, false);
        QCOMPARE(order(list), "231");
        QCOMPARE(list.results().entries.first().name, QString("again"));
        QVERIFY(list.dropUnheard());
        QVERIFY(!list.dropUnheard());
        QCOMPARE(order(list), "23");
        list.miss(3);
        QCOMPARE(order(list), "2");
    }

    void theLastOnesGo()
    {
        bt::ScanList list({});
        for (qulonglong address = 1; address <= 200; ++address) {
            list.hear({ address, -90, {} }, false);
        }
        list.hear({ 201, -95, "late" }, false);
        QCOMPARE(list.results().entries.size(), 128);
        QCOMPARE(list.results().entries.first().address, 201ULL);
    }

private:
    static QString order(const bt::ScanList& list)
    {
        QString addresses;
        for (const ScanEntry& entry : list.results().entries) {
            addresses += QString::number(entry.address);
        }
        return addresses;
    }
};

QTEST_GUILESS_MAIN(ScanListTest)
#include "ScanListTest.moc"
