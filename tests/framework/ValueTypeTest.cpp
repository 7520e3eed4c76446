#include "items/ValueType.h"
#include "support/Rows.h"

#include <QTest>

using ipc::ValueType;

Q_DECLARE_METATYPE(ValueType)

namespace {

const QVector<EnumValue> States{ { "Off", "STATE_OFF", 0 }, { "On", "STATE_ON", 3 } };

ValueType pinType()
{
    ValueType pin = ValueType::of("5190");
    pin.setRange(4U, 16U);
    pin.setRegularExpression("[0-9]{4,16}");
    return pin;
}

ValueType fourCharacters()
{
    ValueType text = ValueType::of(QString());
    text.setRange(4, 4);
    return text;
}

ValueType volumeType()
{
    ValueType volume = ValueType::of(5);
    volume.setRange(0, 10);
    return volume;
}

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

        row("4 digits", pinType(), "0000", Accepted, "0000");
        row("16 digits", pinType(), "1234567890123456", Accepted, "1234567890123456");
        row("3 digits", pinType(), "123", BadRange, {});
        row("17 digits", pinType(), long17, BadRange, {});
        row("a letter among digits", pinType(), "12345x", BadPattern, {});
        row("pattern is anchored: line end", pinType(), "1234\n", BadPattern, {});
        row("a number for a text", pinType(), 4711, Accepted, "4711");

        row("lower bound", volumeType(), "0", Accepted, 0);
        row("below it", volumeType(), -1, BadRange, {});
        row("upper bound", volumeType(), 10, Accepted, 10);
        row("above it", volumeType(), "11", BadRange, {});
        row("no whole number", volumeType(), "1.5", BadType, {});
        row("beyond an int", volumeType(), 5000000000LL, BadType, {});
        row("largest number, exactly", large, "18446744073709551615", Accepted, 18446744073709551615ULL);
        row("negative for unsigned", large, "-1", BadType, {});
        ValueType atLeast = ValueType::of(5);
        atLeast.setRange(2, {});
        row("one limit alone binds", atLeast, 1, BadRange, {});
        row("characters are counted, not bytes", fourCharacters(), QString::fromUtf8("äöüß"), Accepted,
            QString::fromUtf8("äöüß"));
        row("a list is no text", fourCharacters(), QVariantList{ "abcd" }, BadType, {});
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
        row("text beyond its limits", pinType(), QString(""), QString(""));
        row("number beyond its range", volumeType(), 4000, 4000);
        row("what does not convert", volumeType(), "loud", {});
    }

    void moduleWrites()
    {
        QFETCH(ValueType, type);
        QFETCH(QVariant, written);
        const QVariant value = type.fromModule(written);
        QTEST(value, "stored");
    }

    void secretsStayOutOfReasons_data()
    {
        const Rows<ValueType, QString> row("type", "written");
        row("length", pinType(), "777");
        row("pattern", pinType(), "777777x");
        row("range", volumeType(), "777");
        row("type", volumeType(), "777x");
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
