#include "Conditions.h"
#include "support/ProblemOf.h"
#include "support/Rows.h"

#include <QTest>

using itemctl::Condition;
using itemctl::Item;

namespace {

const ipc::EnumValues Status{ { "No Device", "BLUETOOTHSTATUS_NODEVICE", 0 },
                              { "Off", "BLUETOOTHSTATUS_OFF", 1 },
                              { "On", "BLUETOOTHSTATUS_ON", 3 } };

QVariantMap described(const QString& type)
{
    QVariantMap description{ { "type", type } };
    if (type == "enum") {
        description.insert("enumeration", QVariant::fromValue(Status));
    }
    return description;
}

} // namespace

/// What "wait" waits for.
class ItemctlConditionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itemsOfConditions_data()
    {
        const Rows<QString> row("item");
        row("status=On", "status");
        row("status!=On", "status");
        row("name~^a=b", "name");
        row("name=a!=b~c", "name");
        row("name=", "name");
        row("pairlistAddr:3=", "pairlistAddr:3");
        row("scan:applicable", "scan");
        row("bluetooth:scan:inapplicable", "bluetooth:scan");
        row(":config:host:bluetooth:enabled:=true", ":config:host:bluetooth:enabled:");
        row(":config:host:bluetooth:enabled::applicable", ":config:host:bluetooth:enabled:");
        row(":config:host:bluetooth:enabled:applicable", ":config:host:bluetooth:enabled:");
        row("name=x:applicable", "name");
    }

    void itemsOfConditions()
    {
        const auto condition = Condition::parse(QTest::currentDataTag());
        QVERIFY2(condition, qPrintable(problemOf(condition)));
        QTEST(condition->item(), "item");
    }

    void holds_data()
    {
        const Rows<QString, QVariant, QString, QString, bool> row("type", "value", "text", "condition",
                                                                  "expected");
        const QVariant on(3);
        row("number", "enum", on, "On", "i=3", true);
        row("label", "enum", on, "On", "i=On", true);
        row("label with a blank", "enum", 0, "No Device", "i=No Device", true);
        row("other value", "enum", on, "On", "i=Off", false);
        row("differs", "enum", on, "On", "i!=Off", true);
        row("differs not", "enum", on, "On", "i!=3", false);
        row("number outside the enumeration", "enum", 77, "", "i=77", true);
        row("regex over the label", "enum", on, "On", "i~^O", true);
        row("regex over the number", "enum", on, "On", "i~^3$", true);
        row("regex over neither", "enum", on, "On", "i~Off|1", false);
        row("true", "bool", true, "", "i=true", true);
        row("1 is true", "bool", true, "", "i=1", true);
        row("false", "bool", true, "", "i=False", false);
        row("unsigned, last digit", "int", 18446744073709551615ULL, "", "i=18446744073709551614", false);
        row("unsigned", "int", 18446744073709551615ULL, "", "i=18446744073709551615", true);
        row("zeros in front", "int", 5, "", "i=05", true);
        row("number, written otherwise", "number", 0.5, "", "i=.50", true);
        row("text", "text", "05", "", "i=5", false);
        row("empty text", "text", QString(), "", "i=", true);
        row("text with signs", "text", "a!=b", "", "i=a!=b", true);
        row("regex in the middle", "text", "12:34", "", "i~2:3", true);
        row("regex of nothing, a value without a label", "text", "x", "", "i~^$", false);
        row("regex of nothing, no value", "text", QString(), "", "i~^$", true);
        row("of any type", "any", 7, "", "i=7", true);
        row("applicable", "text", "x", "", "i:applicable", true);
        row("inapplicable", "text", "x", "", "i:inapplicable", false);
    }

    void holds()
    {
        QFETCH(QString, type);
        QFETCH(QString, condition);
        Item item;
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        item.value = value;
        item.text = text;
        const auto parsed = Condition::parse(condition);
        QVERIFY(parsed);
        const auto bound = parsed->boundTo(described(type));
        QVERIFY2(bound, qPrintable(problemOf(bound)));
        QTEST(bound->holds(item), "expected");
    }

    void refusals_data()
    {
        const Rows<QString, QString> row("type", "message");
        row("status", "enum", "ITEM=VALUE");
        row("=On", "enum", "ITEM=VALUE");
        row(":applicable", "enum", "ITEM:applicable");
        row("status~[a", "enum", "no regular expression");
        row("status=Onn", "enum", "1 (Off), 3 (On)");
        row("enabled=yes", "bool", "true or false");
        row("volume=loud", "number", "a number");
        row("volume=1.5", "int", "a whole number");
        row("scan=1", "action", "scan:applicable");
    }

    void refusals()
    {
        QFETCH(QString, type);
        QFETCH(QString, message);
        const auto parsed = Condition::parse(QTest::currentDataTag());
        const auto bound = parsed ? parsed->boundTo(described(type)) : parsed;
        QVERIFY(!bound);
        QCOMPARE(bound.error().kind, base::Failure::Usage);
        QVERIFY2(bound.error().text.contains(message), qPrintable(bound.error().text));
    }
};

QTEST_GUILESS_MAIN(ItemctlConditionsTest)
#include "ItemctlConditionsTest.moc"
