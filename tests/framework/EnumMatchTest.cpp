#include "items/EnumMatch.h"

#include <QTest>

/// What a person may write for an enumeration's value.
class EnumMatchTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void findsTheValueThatIsMeant_data();
    void findsTheValueThatIsMeant();
};

void EnumMatchTest::findsTheValueThatIsMeant_data()
{
    const QVector<EnumValue> states{ { QStringLiteral("Off"), QStringLiteral("RADIO_STATE_OFF"), 0 },
                                     { QStringLiteral("On"), QStringLiteral("RADIO_STATE_ON"), 3 },
                                     { QStringLiteral("on"), QStringLiteral("RADIO_STATE_AWAKE"), 4 },
                                     { QStringLiteral("Gone Wrong"), QStringLiteral("RADIO_STATE_OFFLINE"),
                                       -200 } };
    const QVector<EnumValue> single{ { QStringLiteral("Only"), QStringLiteral("THE_ONLY_ONE"), 1 } };
    const QVector<EnumValue> unlike{ { QStringLiteral("A"), QStringLiteral("ALPHA"), 1 },
                                     { QStringLiteral("B"), QStringLiteral("ALPINE"), 2 } };
    constexpr int None = 99;

    QTest::addColumn<QVector<EnumValue>>("values");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");
    QTest::newRow("number") << states << "3" << 3;
    QTest::newRow("negative number") << states << "-200" << -200;
    QTest::newRow("number that is no value") << states << "2" << None;
    QTest::newRow("symbol") << states << "RADIO_STATE_OFF" << 0;
    QTest::newRow("symbol without the shared prefix") << states << "OFFLINE" << -200;
    QTest::newRow("short symbol decides before a label of other case") << states << "ON" << 3;
    QTest::newRow("label") << states << "Gone Wrong" << -200;
    QTest::newRow("label in other case") << states << "gone wrong" << -200;
    QTest::newRow("label that only case tells apart") << states << "on" << 4;
    QTest::newRow("symbol in other case") << states << "awake" << 4;
    QTest::newRow("part of a symbol") << states << "STATE_ON" << None;
    QTest::newRow("nothing") << states << "" << None;
    QTest::newRow("one value has no shared prefix") << single << "ONE" << None;
    QTest::newRow("prefix ends at an underscore only") << unlike << "HA" << None;
    QTest::newRow("no prefix, whole symbol") << unlike << "ALPHA" << 1;
}

void EnumMatchTest::findsTheValueThatIsMeant()
{
    QFETCH(QVector<EnumValue>, values);
    QFETCH(QString, text);
    QTEST(ipc::findEnumValue(values, text).value_or(99), "expected");
}

QTEST_GUILESS_MAIN(EnumMatchTest)
#include "EnumMatchTest.moc"
