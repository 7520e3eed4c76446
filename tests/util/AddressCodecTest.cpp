#include "AddressHelper.h"
#include "support/Rows.h"

#include <QtTest>

class AddressCodecTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data()
    {
        const Rows<QString, qulonglong> row("text", "address");

        row("upper case", "12:34:56:78:9A:BC", 0x123456789ABCULL);
        row("lower case", "12:34:56:78:9a:bc", 0x123456789ABCULL);
        row("all ones", "FF:FF:FF:FF:FF:FF", 0xFFFFFFFFFFFFULL);
        row("one digit a field", "1:2:3:4:5:6", 0x010203040506ULL);
        row("another separator", "12-34-56-78-9A-BC", 0ULL);
        row("five fields", "12:34:56:78:9A", 0ULL);
        row("seven fields, the last empty", "12:34:56:78:9A:BC:", 0ULL);
        row("seven fields, the first empty", ":12:34:56:78:9A:BC", 0ULL);
        row("nothing", "", 0ULL);
        row("six empty fields", ":::::", 0ULL);
        row("a field that is no number", "12:34:ZZ:78:9A:BC", 0x123400789ABCULL);
        row("a blank around a field", "12:34:56:78:9A:BC ", 0x123456789ABCULL);
        row("a first field too large", "1AB:00:00:00:00:00", 0xAB0000000000ULL);
        row("a fifth field too large", "00:00:00:00:1AB:00", 0xAB00ULL);
        row("a negative middle field keeps its low byte", "00:-1:00:00:00:00", 0x00FF00000000ULL);
        row("a last field that carries", "00:00:00:00:00:100", 0x100ULL);
        row("a carry through every field", "00:FF:FF:FF:FF:100", 0x010000000000ULL);
        row("a last field beyond the address", "00:00:00:00:00:1000000000000", 0x1000000000000ULL);
        row("a negative last field subtracts", "00:00:00:00:01:-1", 0xFFULL);
        row("a negative last field wraps", "00:00:00:00:00:-1", 0xFFFFFFFFFFFFFFFFULL);
        row("a last field beyond 64 bits", "12:34:56:78:9A:10000000000000000", 0x123456789A00ULL);
        row("prefixed hexadecimal", "0x12:34:56:78:9A:0xBC", 0x123456789ABCULL);
    }

    void reads()
    {
        QFETCH(QString, text);
        QFETCH(qulonglong, address);
        QCOMPARE(AddressHelper::str2int(text), address);
    }

    void writes_data()
    {
        const Rows<qulonglong, QString> row("address", "text");

        row("every digit in place", 0x123456789ABCULL, "12:34:56:78:9A:BC");
        row("the other digits", 0x00DEF0000001ULL, "00:DE:F0:00:00:01");
        row("zero", 0ULL, "00:00:00:00:00:00");
        row("the top sixteen bits are dropped", 0xFFFF123456789ABCULL, "12:34:56:78:9A:BC");
    }

    void writes()
    {
        QFETCH(qulonglong, address);
        QFETCH(QString, text);
        QCOMPARE(AddressHelper::int2str(address), text);
    }
};

QTEST_GUILESS_MAIN(AddressCodecTest)
#include "AddressCodecTest.moc"
