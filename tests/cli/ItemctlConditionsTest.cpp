#include "Conditions.h"

#include <QTest>

using itemctl::Condition;
using itemctl::Item;

/// What "wait" waits for.
class ItemctlConditionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void itemsOfConditions_data();
    void itemsOfConditions();
    void holds_data();
    void holds();
    void refusals_data();
    void refusals();
};

namespace {

const ipc::EnumValues Status{ { "No Device", "BLUETOOTHSTATUS_NODEVICE", 0 },
                              { "Off", "BLUETOOTHSTATUS_OFF", 1 },
                              { "On", "BLUETOOTHSTATUS_ON", 3 } };

QVariantMap described(const QString& type)
{
    QVariantMap description{ { "type", type } };
    if (type == QLatin1String("enum"))
        description.insert("enumeration", QVariant::fromValue(Status));
    return description;
}

} // namespace

void ItemctlConditionsTest::itemsOfConditions_data()
{
    QTest::addColumn<QString>("item");
    QTest::newRow("status=On") << "status";
    QTest::newRow("status!=On") << "status";
    QTest::newRow("name~^a=b") << "name";
    QTest::newRow("name=a!=b~c") << "name";
    QTest::newRow("name=") << "name";
    QTest::newRow("pairlistAddr:3=") << "pairlistAddr:3";
    QTest::newRow("scan:applicable") << "scan";
    QTest::newRow("bluetooth:scan:inapplicable") << "bluetooth:scan";
    QTest::newRow(":config:host:bluetooth:enabled:=true") << ":config:host:bluetooth:enabled:";
    QTest::newRow(":config:host:bluetooth:enabled::applicable") << ":config:host:bluetooth:enabled:";
    QTest::newRow(":config:host:bluetooth:enabled:applicable") << ":config:host:bluetooth:enabled:";
    QTest::newRow("name=x:applicable") << "name";
}

void ItemctlConditionsTest::itemsOfConditions()
{
    const auto condition = Condition::parse(QTest::currentDataTag());
    QVERIFY2(condition, qPrintable(condition.failure().message));
    QTEST(condition->item(), "item");
}

void ItemctlConditionsTest::holds_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("condition");
    QTest::addColumn<bool>("expected");
    const QVariant on(3);
    QTest::newRow("number") << "enum" << on << "On"
                            << "i=3" << true;
    QTest::newRow("symbol") << "enum" << on << "On"
                            << "i=BLUETOOTHSTATUS_ON" << true;
    QTest::newRow("label") << "enum" << on << "On"
                           << "i=On" << true;
    QTest::newRow("label, other case") << "enum" << on << "On"
                                       << "i=on" << true;
    QTest::newRow("label with a blank") << "enum" << QVariant(0) << "No Device"
                                        << "i=No Device" << true;
    QTest::newRow("other value") << "enum" << on << "On"
                                 << "i=Off" << false;
    QTest::newRow("differs") << "enum" << on << "On"
                             << "i!=Off" << true;
    QTest::newRow("differs not") << "enum" << on << "On"
                                 << "i!=3" << false;
    QTest::newRow("number outside the enumeration") << "enum" << QVariant(77) << ""
                                                    << "i=77" << true;
    QTest::newRow("regex over the label") << "enum" << on << "On"
                                          << "i~^O" << true;
    QTest::newRow("regex over the number") << "enum" << on << "On"
                                           << "i~^3$" << true;
    QTest::newRow("regex over neither") << "enum" << on << "On"
                                        << "i~Off|1" << false;
    QTest::newRow("true") << "bool" << QVariant(true) << ""
                          << "i=true" << true;
    QTest::newRow("1 is true") << "bool" << QVariant(true) << ""
                               << "i=1" << true;
    QTest::newRow("false") << "bool" << QVariant(true) << ""
                           << "i=False" << false;
    QTest::newRow("unsigned, last digit") << "int" << QVariant(18446744073709551615ULL) << ""
                                          << "i=18446744073709551614" << false;
    QTest::newRow("unsigned") << "int" << QVariant(18446744073709551615ULL) << ""
                              << "i=18446744073709551615" << true;
    QTest::newRow("zeros in front") << "int" << QVariant(5) << ""
                                    << "i=05" << true;
    QTest::newRow("number, written otherwise") << "number" << QVariant(0.5) << ""
                                               << "i=.50" << true;
    QTest::newRow("text") << "text" << QVariant("05") << ""
                          << "i=5" << false;
    QTest::newRow("empty text") << "text" << QVariant(QString()) << ""
                                << "i=" << true;
    QTest::newRow("text with signs") << "text" << QVariant("a!=b") << ""
                                     << "i=a!=b" << true;
    QTest::newRow("regex in the middle") << "text" << QVariant("12:34") << ""
                                         << "i~2:3" << true;
    QTest::newRow("of any type") << "any" << QVariant(7) << ""
                                 << "i=7" << true;
    QTest::newRow("applicable") << "text" << QVariant("x") << ""
                                << "i:applicable" << true;
    QTest::newRow("inapplicable") << "text" << QVariant("x") << ""
                                  << "i:inapplicable" << false;
}

void ItemctlConditionsTest::holds()
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
    QVERIFY2(bound, qPrintable(bound.failure().message));
    QTEST(bound->holds(item), "expected");
}

void ItemctlConditionsTest::refusals_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("message");
    QTest::newRow("status") << "enum"
                            << "ITEM=VALUE";
    QTest::newRow("=On") << "enum"
                         << "ITEM=VALUE";
    QTest::newRow(":applicable") << "enum"
                                 << "ITEM:applicable";
    QTest::newRow("status~[a") << "enum"
                               << "no regular expression";
    QTest::newRow("status=Onn") << "enum"
                                << "1 (Off), 3 (On)";
    QTest::newRow("enabled=yes") << "bool"
                                 << "true or false";
    QTest::newRow("volume=loud") << "int"
                                 << "a number";
    QTest::newRow("volume=1.5") << "int"
                                << "a number";
    QTest::newRow("scan=1") << "action"
                            << "scan:applicable";
}

void ItemctlConditionsTest::refusals()
{
    QFETCH(QString, type);
    QFETCH(QString, message);
    const auto parsed = Condition::parse(QTest::currentDataTag());
    const auto bound = parsed ? parsed->boundTo(described(type)) : parsed;
    QVERIFY(!bound);
    QCOMPARE(bound.failure().status, itemctl::ExitStatus::Usage);
    QVERIFY2(bound.failure().message.contains(message), qPrintable(bound.failure().message));
}

QTEST_GUILESS_MAIN(ItemctlConditionsTest)
#include "ItemctlConditionsTest.moc"
