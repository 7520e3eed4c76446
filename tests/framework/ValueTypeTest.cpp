#include "items/ValueType.h"

#include <QTest>

using ipc::Refusal;
using ipc::ValueType;

Q_DECLARE_METATYPE(ValueType)

/// What clients and modules may write to items of each type.
class ValueTypeTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void clientWrites_data();
    void clientWrites();
    void moduleWrites_data();
    void moduleWrites();
    void secretsStayOutOfReasons();
};

namespace {

const QVector<EnumValue> States{ { QStringLiteral("Off"), QStringLiteral("STATE_OFF"), 0 },
                                 { QStringLiteral("On"), QStringLiteral("STATE_ON"), 3 } };

ValueType pinType()
{
    ValueType pin = ValueType::of(QStringLiteral("5190"));
    pin.setRange(4U, 16U);
    pin.setRegularExpression(QStringLiteral("[0-9]{4,16}"));
    return pin;
}

ValueType volumeType()
{
    ValueType volume = ValueType::of(5);
    volume.setRange(0, 10);
    return volume;
}

constexpr int Accepted = -1;
constexpr int BadType = static_cast<int>(Refusal::Kind::InvalidType);
constexpr int NoEnumValue = static_cast<int>(Refusal::Kind::NotInEnumeration);
constexpr int BadRange = static_cast<int>(Refusal::Kind::OutOfRange);
constexpr int BadPattern = static_cast<int>(Refusal::Kind::PatternMismatch);

} // namespace

void ValueTypeTest::clientWrites_data()
{
    const ValueType boolean = ValueType::of(false);
    const ValueType states = ValueType::enumeration(States);
    const ValueType large = ValueType::of(0ULL);
    const QString long17(17, QLatin1Char('1'));

    QTest::addColumn<ValueType>("type");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<int>("refusal");
    QTest::addColumn<QVariant>("stored");

    QTest::newRow("bool") << boolean << QVariant(true) << Accepted << QVariant(true);
    QTest::newRow("bool as text") << boolean << QVariant("TRUE") << Accepted << QVariant(true);
    QTest::newRow("bool as number") << boolean << QVariant(0) << Accepted << QVariant(false);
    QTest::newRow("no bool") << boolean << QVariant("yes") << BadType << QVariant();
    QTest::newRow("2 is no bool") << boolean << QVariant(2) << BadType << QVariant();
    QTest::newRow("a list is no bool") << boolean << QVariant(QVariantList{ 1, 2 }) << BadType << QVariant();

    QTest::newRow("enum by number") << states << QVariant(3) << Accepted << QVariant(3);
    QTest::newRow("enum by label") << states << QVariant("On") << Accepted << QVariant(3);
    QTest::newRow("number outside of the enum") << states << QVariant(1) << NoEnumValue << QVariant();

    QTest::newRow("4 digits") << pinType() << QVariant("0000") << Accepted << QVariant("0000");
    QTest::newRow("16 digits") << pinType() << QVariant("1234567890123456") << Accepted
                               << QVariant("1234567890123456");
    QTest::newRow("3 digits") << pinType() << QVariant("123") << BadRange << QVariant();
    QTest::newRow("17 digits") << pinType() << QVariant(long17) << BadRange << QVariant();
    QTest::newRow("a letter among digits") << pinType() << QVariant("12345x") << BadPattern << QVariant();
    QTest::newRow("pattern is anchored: line end")
        << pinType() << QVariant("1234\n") << BadPattern << QVariant();
    QTest::newRow("a number for a text") << pinType() << QVariant(4711) << Accepted << QVariant("4711");

    QTest::newRow("lower bound") << volumeType() << QVariant("0") << Accepted << QVariant(0);
    QTest::newRow("below it") << volumeType() << QVariant(-1) << BadRange << QVariant();
    QTest::newRow("upper bound") << volumeType() << QVariant(10) << Accepted << QVariant(10);
    QTest::newRow("above it") << volumeType() << QVariant("11") << BadRange << QVariant();
    QTest::newRow("no whole number") << volumeType() << QVariant("1.5") << BadType << QVariant();
    QTest::newRow("beyond an int") << volumeType() << QVariant(5000000000LL) << BadType << QVariant();
    QTest::newRow("largest number, exactly")
        << large << QVariant("18446744073709551615") << Accepted << QVariant(18446744073709551615ULL);
    QTest::newRow("negative for unsigned") << large << QVariant("-1") << BadType << QVariant();
    QTest::newRow("anything goes") << ValueType::of({}) << QVariant(QVariantMap{ { "a", 1 } }) << Accepted
                                   << QVariant(QVariantMap{ { "a", 1 } });
}

void ValueTypeTest::clientWrites()
{
    QFETCH(ValueType, type);
    QFETCH(QVariant, written);
    QFETCH(int, refusal);
    QFETCH(QVariant, stored);
    std::optional<Refusal> refused;
    const QVariant value = type.fromClient(written, false, refused);
    QCOMPARE(refused ? static_cast<int>(refused->kind) : Accepted, refusal);
    QCOMPARE(value, stored);
    QCOMPARE(value.userType(), stored.userType());
    QVERIFY(!refused || !refused->reason.isEmpty());
}

void ValueTypeTest::moduleWrites_data()
{
    QTest::addColumn<ValueType>("type");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("stored");
    QTest::newRow("enum as text") << ValueType::enumeration(States) << QVariant("3") << QVariant(3);
    QTest::newRow("number outside of the enum")
        << ValueType::enumeration(States) << QVariant(77) << QVariant(77);
    QTest::newRow("number beyond an int")
        << ValueType::enumeration(States) << QVariant("4294967296") << QVariant(4294967296LL);
    QTest::newRow("text beyond its limits") << pinType() << QVariant(QString("")) << QVariant(QString(""));
    QTest::newRow("number beyond its range") << volumeType() << QVariant(4000) << QVariant(4000);
    QTest::newRow("what does not convert") << volumeType() << QVariant("loud") << QVariant();
}

void ValueTypeTest::moduleWrites()
{
    QFETCH(ValueType, type);
    QFETCH(QVariant, written);
    const QVariant value = type.fromModule(written);
    QTEST(value, "stored");
}

void ValueTypeTest::secretsStayOutOfReasons()
{
    std::optional<Refusal> refused;
    static_cast<void>(pinType().fromClient(QStringLiteral("secret"), true, refused));
    QVERIFY(refused);
    QVERIFY2(!refused->reason.contains(QStringLiteral("secret")), qPrintable(refused->reason));
}

QTEST_GUILESS_MAIN(ValueTypeTest)
#include "ValueTypeTest.moc"
