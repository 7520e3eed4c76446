#include "Description.h"
#include "JsonText.h"
#include "TopRows.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QTest>

#include <limits>

using itemctl::Item;

/// What people and programs get to read of values.
class ItemctlTextTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void escapes_data();
    void escapes();
    void fits_data();
    void fits();
    void values_data();
    void values();
    void itemAsJson();
    void changeAsJson();
    void descriptionNamesLimits();
    void liveViewHidesEmptyRows();
};

namespace {

Item enumItem(int value, const QString& text)
{
    Item item;
    item.server = QStringLiteral("host");
    item.address = QStringLiteral(":result:host:bluetooth:pairlistConnectionState:3:");
    item.kind = QStringLiteral("result");
    item.module = QStringLiteral("bluetooth");
    item.id = QStringLiteral("pairlistConnectionState");
    item.index = 3;
    item.label = QStringLiteral("Connection State");
    item.value = value;
    item.text = text;
    item.isEnumeration = true;
    return item;
}

} // namespace

void ItemctlTextTest::escapes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << "Küche \u65e5 \\n"
                           << "Küche \u65e5 \\n";
    QTest::newRow("lines") << "a\r\n\tb"
                           << R"(a\r\n\tb)";
    QTest::newRow("terminal sequence") << "\x1b[2J\x07"
                                       << R"(\x1b[2J\x07)";
    QTest::newRow("zero") << QString(QChar(0)) << R"(\x00)";
    QTest::newRow("delete") << "\x7f"
                            << R"(\x7f)";
    QTest::newRow("C1: CSI in one character") << QStringLiteral("\u009b31m") << R"(\x9b31m)";
    QTest::newRow("direction override") << QStringLiteral("a\u202eb\u2066") << R"(a\u202eb\u2066)";
    QTest::newRow("line separator") << QStringLiteral("\u2028") << R"(\u2028)";
    QTest::newRow("beyond the basic plane")
        << QString::fromUtf8("\U0001F3A7") << QString::fromUtf8("\U0001F3A7");
}

void ItemctlTextTest::escapes()
{
    QFETCH(QString, text);
    QTEST(itemctl::escaped(text), "shown");
}

void ItemctlTextTest::fits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("shown");
    QTest::newRow("filled") << "ab" << 4 << "ab  ";
    QTest::newRow("exactly") << "abcd" << 4 << "abcd";
    QTest::newRow("cut") << "abcde" << 4 << "abc\u2026";
    QTest::newRow("no room") << "abc" << 0 << "";
    QTest::newRow("wide characters") << "\u65e5\u65e5\u65e5" << 5 << "\u65e5\u65e5\u2026";
    QTest::newRow("not in the middle of a wide one") << "\u65e5\u65e5\u65e5" << 4 << "\u65e5\u2026 ";
}

void ItemctlTextTest::fits()
{
    QFETCH(QString, text);
    QFETCH(int, columns);
    QTEST(itemctl::fitted(text, columns), "shown");
}

void ItemctlTextTest::values_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("json");
    QTest::newRow("true") << QVariant(true) << "true"
                          << "true";
    QTest::newRow("largest unsigned")
        << QVariant(std::numeric_limits<qulonglong>::max()) << "18446744073709551615"
        << "18446744073709551615";
    QTest::newRow("smallest signed") << QVariant(std::numeric_limits<qlonglong>::min())
                                     << "-9223372036854775808"
                                     << "-9223372036854775808";
    QTest::newRow("byte") << QVariant::fromValue(uchar(65)) << "65"
                          << "65";
    QTest::newRow("number") << QVariant(0.1) << "0.1"
                            << "0.1";
    QTest::newRow("text") << QVariant("a \"b\"\n") << "a \"b\"\n"
                          << R"("a \"b\"\n")";
    QTest::newRow("text that looks like a number") << QVariant("007") << "007"
                                                   << R"("007")";
    QTest::newRow("unsafe text") << QVariant(QStringLiteral("\u009b\u202e\x7f"))
                                 << QStringLiteral("\u009b\u202e\x7f") << R"("\u009b\u202e\u007f")";
    QTest::newRow("nothing") << QVariant() << ""
                             << "null";
    QTest::newRow("texts") << QVariant(QStringList{ "a", "b" }) << R"(["a","b"])"
                           << R"(["a","b"])";
    QTest::newRow("record") << QVariant(QVariantMap{ { "addr", 18446744073709551615ULL }, { "on", true } })
                            << R"({"addr":18446744073709551615,"on":true})"
                            << R"({"addr":18446744073709551615,"on":true})";
}

void ItemctlTextTest::values()
{
    QFETCH(QVariant, value);
    QTEST(itemctl::rawText(value), "raw");
    QTEST(itemctl::jsonText(itemctl::toJson(value)), "json");
}

void ItemctlTextTest::itemAsJson()
{
    QCOMPARE(itemctl::shownValue(enumItem(4, QStringLiteral("Headset\x1b"))),
             QStringLiteral("4 (Headset\\x1b)"));
    QCOMPARE(itemctl::shownValue(enumItem(77, QString())), QStringLiteral("77"));
    QCOMPARE(
        itemctl::jsonText(itemctl::itemJson(enumItem(4, QStringLiteral("Headset Connected")))),
        QStringLiteral(R"({"address":":result:host:bluetooth:pairlistConnectionState:3:","server":"host",)"
                       R"("module":"bluetooth","id":"pairlistConnectionState","index":3,"kind":"result",)"
                       R"("label":"Connection State","value":4,"text":"Headset Connected",)"
                       R"("applicable":true})"));
}

void ItemctlTextTest::changeAsJson()
{
    Item item = enumItem(4, QStringLiteral("Headset Connected"));
    const auto applicability = itemctl::apply({ { "applicable", false } }, item);
    const auto json = itemctl::changeJson(item, applicability);
    QCOMPARE(json.value("applicable", true), false);
    QVERIFY(!json.contains("value"));
    QVERIFY(!json.contains("text"));
    const auto value = itemctl::apply({ { "value", 1 }, { "text", "Connected" } }, item);
    const auto other = itemctl::changeJson(item, value);
    QCOMPARE(other.value("text", ""), std::string("Connected"));
    QCOMPARE(other.value("index", -1), 3);
    QVERIFY(!other.contains("applicable"));
    QVERIFY(!itemctl::apply({ { "applicable", false } }, item));
}

void ItemctlTextTest::descriptionNamesLimits()
{
    Item item = enumItem(0, {});
    item.applicable = false;
    const auto lines = [&](const QVariantMap& description) {
        return itemctl::descriptionLines(item, description).join('\n').simplified();
    };
    const QString text = lines({ { "type", "text" },
                                 { "minimum", 4U },
                                 { "maximum", 16U },
                                 { "regularExpression", "[0-9]+" },
                                 { "default", false } });
    QVERIFY2(text.contains("range 4 to 16 characters expression [0-9]+"), qPrintable(text));
    QVERIFY2(text.contains("default false"), qPrintable(text));
    QVERIFY2(text.contains("applies now no"), qPrintable(text));
    QVERIFY(lines({ { "type", "int" }, { "minimum", -1 } }).contains("range at least -1"));
    const ipc::EnumValues values{ { "On", "STATUS_ON", 3 } };
    QVERIFY(lines({ { "enumeration", QVariant::fromValue(values) } }).contains("values 3 (On) STATUS_ON"));
}

void ItemctlTextTest::liveViewHidesEmptyRows()
{
    Item name = enumItem(0, {});
    name.id = QStringLiteral("pairlistName");
    name.isEnumeration = false;
    itemctl::Items items;
    for (int index = 0; index < 3; ++index) {
        name.index = index;
        name.applicable = index != 1;
        name.value = index == 2 ? QString() : QStringLiteral("Headset");
        items += name;
    }
    Item state = enumItem(1, QStringLiteral("Connected"));
    state.index = 0;
    items += state;
    const auto rows = itemctl::topRows(items);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows[0].text, QStringLiteral("bluetooth:pairlist"));
    QCOMPARE(rows[1].items, (QVector<int>{ 0, 3 }));
    QCOMPARE(rows[1].text.simplified(), QStringLiteral("0 Headset 1 (Connected)"));
}

QTEST_GUILESS_MAIN(ItemctlTextTest)
#include "ItemctlTextTest.moc"
