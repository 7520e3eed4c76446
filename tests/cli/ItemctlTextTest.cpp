#include "Description.h"
#include "ItemJson.h"
#include "TopRows.h"
#include "ValueText.h"
#include "common/DisplayText.h"
#include "support/Rows.h"

#include <nlohmann/json.hpp>

#include <QTest>

#include <limits>

using itemctl::Item;

namespace {

Item enumItem(int value, const QString& text)
{
    Item item;
    item.server = "host";
    item.address = ":result:host:bluetooth:pairlistConnectionState:3:";
    item.kind = "result";
    item.module = "bluetooth";
    item.id = "pairlistConnectionState";
    item.index = 3;
    item.label = "Connection State";
    item.value = value;
    item.text = text;
    item.isEnumeration = true;
    return item;
}

} // namespace

/// What people and programs get to read of values.
class ItemctlTextTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void escapes_data();

    void escapes()
    {
        QFETCH(QString, text);
        QTEST(itemctl::escaped(text), "shown");
    }

    void fits_data()
    {
        const Rows<QString, int, QString> row("text", "columns", "shown");
        row("filled", "ab", 4, "ab  ");
        row("exactly", "abcd", 4, "abcd");
        row("cut", "abcde", 4, "abc\u2026");
        row("no room", "abc", 0, "");
        row("wide characters", "\u65e5\u65e5\u65e5", 5, "\u65e5\u65e5\u2026");
        row("not in the middle of a wide one", "\u65e5\u65e5\u65e5", 4, "\u65e5\u2026 ");
    }

    void fits()
    {
        QFETCH(QString, text);
        QFETCH(int, columns);
        QTEST(itemctl::fitted(text, columns), "shown");
    }

    void values_data();

    void values()
    {
        QFETCH(QVariant, value);
        QTEST(base::rawText(value), "raw");
        QTEST(base::jsonText(base::toJson(value)), "json");
    }

    void valuesWithTheirLabel()
    {
        QCOMPARE(itemctl::shownValue(enumItem(4, "Headset\x1b")), "4 (Headset\\x1b)");
        QCOMPARE(itemctl::shownValue(enumItem(77, QString())), "77");
        Item empty;
        QCOMPARE(itemctl::shownValue(empty), "-");
        empty.value = QString("");
        QCOMPARE(itemctl::shownValue(empty), "\"\"");
    }

    void changeAsJson()
    {
        Item item = enumItem(4, "Headset Connected");
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

    void descriptionNamesLimits()
    {
        Item item = enumItem(0, {});
        item.applicable = false;
        const auto lines = [&](const QVariantMap& description) {
            const auto noWords = nlohmann::ordered_json::object();
            return itemctl::descriptionLines(item, description, noWords).join('\n').simplified();
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
        QVERIFY(lines({ { "type", "int" }, { "maximum", -1 } }).contains("range at most -1"));
        const ipc::EnumValues values{ { "On", "STATUS_ON", 3 } };
        QVERIFY(
            lines({ { "enumeration", QVariant::fromValue(values) } }).contains("values 3 (On) STATUS_ON"));
    }

    void liveViewHidesEmptyRows()
    {
        Item name = enumItem(0, {});
        name.id = "pairlistName";
        name.isEnumeration = false;
        itemctl::Items items;
        for (int index = 0; index < 3; ++index) {
            name.index = index;
            name.applicable = index != 1;
            name.value = index == 2 ? QString() : "Headset";
            items += name;
        }
        Item state = enumItem(1, "Connected");
        state.index = 0;
        items += state;
        const auto rows = itemctl::topRows(items);
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0].text, "bluetooth:pairlist");
        QCOMPARE(rows[1].items, (QVector<int>{ 0, 3 }));
        QCOMPARE(rows[1].text.simplified(), "0 Headset 1 (Connected)");
    }
};

void ItemctlTextTest::escapes_data()
{
    const Rows<QString, QString> row("text", "shown");
    row("plain", "Küche \u65e5 \\n", "Küche \u65e5 \\n");
    row("lines", "a\r\n\tb", R"(a\r\n\tb)");
    row("terminal sequence", "\x1b[2J\x07", R"(\x1b[2J\x07)");
    row("zero", QString(QChar(0)), R"(\x00)");
    row("delete", "\x7f", R"(\x7f)");
    row("C1: CSI in one character", "\u009b31m", R"(\x9b31m)");
    row("direction override", QStringLiteral("a\u202eb\u2066"), R"(a\u202eb\u2066)");
    row("line separator", "\u2028", R"(\u2028)");
    row("zero width", "a\u200bb\u2060\ufeff", R"(a\u200bb\u2060\ufeff)");
    row("what joins an emoji", "\U0001F468\u200d\U0001F469", "\U0001F468\\u200d\U0001F469");
    row("variant and filler", "\u2764\ufe0f\u3164", "\u2764\\ufe0f\\u3164");
    row("tags", "a\U000E0041\U000E0100", R"(a\U000e0041\U000e0100)");
    row("beyond the basic plane", "\U0001F3A7", "\U0001F3A7");
}

void ItemctlTextTest::values_data()
{
    const Rows<QVariant, QString, QString> row("value", "raw", "json");
    row("true", true, "true", "true");
    row("largest unsigned", std::numeric_limits<qulonglong>::max(), "18446744073709551615",
        "18446744073709551615");
    row("smallest signed", std::numeric_limits<qlonglong>::min(), "-9223372036854775808",
        "-9223372036854775808");
    row("byte", QVariant::fromValue(uchar(65)), "65", "65");
    row("number", 0.1, "0.1", "0.1");
    row("number of many digits", 1234567.25, "1234567.25", "1234567.25");
    row("text", "a \"b\"\n", "a \"b\"\n", R"("a \"b\"\n")");
    row("text that looks like a number", "007", "007", R"("007")");
    const QString unsafe = QStringLiteral("\u009b\u202e\x7f");
    row("unsafe text", unsafe, unsafe, R"("\u009b\u202e\u007f")");
    const QString unseen = QStringLiteral("\u200b\U000E0041");
    row("unseen text", unseen, unseen, R"("\u200b\udb40\udc41")");
    row("nothing", {}, "", "null");
    row("texts", QStringList{ "a", "b" }, R"(["a","b"])", R"(["a","b"])");
    row("record", QVariantMap{ { "addr", 18446744073709551615ULL }, { "on", true } },
        R"({"addr":18446744073709551615,"on":true})", R"({"addr":18446744073709551615,"on":true})");
}

QTEST_GUILESS_MAIN(ItemctlTextTest)
#include "ItemctlTextTest.moc"
