#include "items/ValueType.h"
#include "support/Rows.h"

#include <QTest>

using ipc::ValueType;

Q_DECLARE_METATYPE(ValueType)

namespace {

const QVector<EnumValue> States{ { "Off", "STATE_OFF", 0 }, { "On", "STATE_ON", 3 } };

ValueType limited(const QVariant& value, const QVariant& minimum, const QVariant& maximum,
                  const QString& expression = {})
{
    ValueType type = ValueType::of(value);
    type.setRange(minimum, maximum);
    type.setRegularExpression(expression);
    return type;
}

const ValueType Pin = limited("5190", 4U, 16U, "[0-9]{4,16}");
const ValueType Volume = limited(5, 0, 10);

// What the error says; empty for a value that is accepted.
const QString Accepted;
const QString BadType = "does not fit; ";
const QString NoEnumValue = "is none of its values: 0 (Off), 3 (On)";
const QString BadRange = " are allowed";
const QString BadPattern = "does not match [0-9]{4,16}";

} // namespace

/// What clients and modules may write to items of each type.
class ValueTypeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clientWrites_data()
    {
        const ValueType boolean = ValueType::of(false);
        const ValueType states = ValueType::enumeration(States);
        const ValueType large = ValueType::of(0ULL);
        const QString long17(17, '1');

        const Rows<ValueType, QVariant, QString, QVariant> row("type", "written", "refusal", "stored");

        row("bool", boolean, true, Accepted, true);
        row("bool as text", boolean, "TRUE", Accepted, true);
        row("bool as number", boolean, 0, Accepted, false);
        row("no bool", boolean, "yes", BadType, {});
        row("2 is no bool", boolean, 2, BadType, {});
        row("a list is no bool", boolean, QVariantList{ 1, 2 }, BadType, {});

        row("enum by number", states, 3, Accepted, 3);
        row("enum by label", states, "On", Accepted, 3);
        row("number outside of the enum", states, 1, NoEnumValue, {});

        row("4 digits", Pin, "0000", Accepted, "0000");
        row("16 digits", Pin, "1234567890123456", Accepted, "1234567890123456");
        row("3 digits", Pin, "123", BadRange, {});
        row("17 digits", Pin, long17, BadRange, {});
        row("a letter among digits", Pin, "12345x", BadPattern, {});
        row("pattern is anchored: line end", Pin, "1234\n", BadPattern, {});
        row("a number for a text", Pin, 4711, Accepted, "4711");

        row("lower bound", Volume, "0", Accepted, 0);
        row("below it", Volume, -1, BadRange, {});
        row("upper bound", Volume, 10, Accepted, 10);
        row("above it", Volume, "11", BadRange, {});
        row("no whole number", Volume, "1.5", BadType, {});
        row("beyond an int", Volume, 5000000000LL, BadType, {});
        row("largest number, exactly", large, "18446744073709551615", Accepted, 18446744073709551615ULL);
        row("negative for unsigned", large, "-1", BadType, {});
        row("one limit alone binds", limited(5, 2, {}), 1, BadRange, {});
        const ValueType fourCharacters = limited(QString(), 4, 4);
        row("characters are counted, not bytes", fourCharacters, QString::fromUtf8("äöüß"), Accepted,
            QString::fromUtf8("äöüß"));
        row("a list is no text", fourCharacters, QVariantList{ "abcd" }, BadType, {});
        row("64 bits, signed", ValueType::of(0LL), "5000000000", Accepted, 5000000000LL);
        row("negative for an unsigned int", ValueType::of(0U), "-1", BadType, {});
        row("a fraction", ValueType::of(0.5), "1.25", Accepted, 1.25);
        row("anything goes", ValueType::of({}), QVariantMap{ { "a", 1 } }, Accepted,
            QVariantMap{ { "a", 1 } });
    }

    void clientWrites()
    {
        QFETCH(ValueType, type);
        QFETCH(QVariant, written);
        QFETCH(QString, refusal);
        QFETCH(QVariant, stored);
        const auto value = type.fromClient(written, false);
        QCOMPARE(static_cast<bool>(value), refusal.isEmpty());
        if (!value) {
            QVERIFY2(value.error().message.contains(refusal), qPrintable(value.error().message));
            return;
        }
        QCOMPARE(*value, stored);
        QCOMPARE(value->userType(), stored.userType());
    }

    void moduleWrites_data()
    {
        const Rows<ValueType, QVariant, QVariant> row("type", "written", "stored");
        row("enum as text", ValueType::enumeration(States), "3", 3);
        row("number outside of the enum", ValueType::enumeration(States), 77, 77);
        row("number beyond an int", ValueType::enumeration(States), "4294967296", 4294967296LL);
        row("number below an int", ValueType::of(0), "-2147483649", -2147483649LL);
        row("text beyond its limits", Pin, QString(""), QString(""));
        row("number beyond its range", Volume, 4000, 4000);
        row("what does not convert", Volume, "loud", {});
    }

    void moduleWrites()
    {
        QFETCH(ValueType, type);
        QFETCH(QVariant, written);
        QTEST(type.fromModule(written), "stored");
    }

    void secretsStayOutOfReasons_data()
    {
        const Rows<ValueType, QString> row("type", "written");
        row("length", Pin, "777");
        row("pattern", Pin, "777777x");
        row("range", Volume, "777");
        row("type", Volume, "777x");
        row("enumeration", ValueType::enumeration(States), "777");
    }

    void secretsStayOutOfReasons()
    {
        QFETCH(ValueType, type);
        QFETCH(QString, written);
        const auto refused = type.fromClient(written, true);
        QVERIFY(!refused);
        QVERIFY2(!refused.error().message.contains(written), qPrintable(refused.error().message));
    }
};

QTEST_GUILESS_MAIN(ValueTypeTest)
#include "ValueTypeTest.moc"
