#include "items/EnumMatch.h"
#include "support/Rows.h"

#include <QTest>

/// What a person may write for an enumeration's value.
class EnumMatchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheValueThatIsMeant_data()
    {
        const QVector<EnumValue> states{ { "Off", "RADIO_STATE_OFF", 0 },
                                         { "On", "RADIO_STATE_ON", 3 },
                                         { "on", "RADIO_STATE_AWAKE", 4 },
                                         { "Gone Wrong", "RADIO_STATE_OFFLINE", -200 } };
        const QVector<EnumValue> single{ { "Only", "THE_ONLY_ONE", 1 } };
        const QVector<EnumValue> unlike{ { "A", "ALPHA", 1 }, { "B", "ALPINE", 2 } };
        const QVector<EnumValue> aliases{
            { "Up", "A_ON", 1 }, { "Up", "A_AWAKE", 1 }, { "Low", "A_FAINT", 2 }, { "Low", "A_DIM", 3 }
        };
        constexpr int None = 99;

        const Rows<QVector<EnumValue>, QString, int> row("values", "text", "expected");
        row("number", states, "3", 3);
        row("negative number", states, "-200", -200);
        row("number that is no value", states, "2", None);
        row("symbol", states, "RADIO_STATE_OFF", 0);
        row("symbol without the shared prefix", states, "OFFLINE", -200);
        row("short symbol decides before a label of other case", states, "ON", 3);
        row("label", states, "Gone Wrong", -200);
        row("label in other case", states, "gone wrong", -200);
        row("label that only case tells apart", states, "on", 4);
        row("symbol in other case", states, "awake", 4);
        row("part of a symbol", states, "STATE_ON", None);
        row("nothing", states, "", None);
        row("one value has no shared prefix", single, "ONE", None);
        row("prefix ends at an underscore only", unlike, "HA", None);
        row("no prefix, whole symbol", unlike, "ALPHA", 1);
        row("one value twice", aliases, "Up", 1);
        row("two values of one label", aliases, "Low", None);
    }

    void findsTheValueThatIsMeant()
    {
        QFETCH(QVector<EnumValue>, values);
        QFETCH(QString, text);
        QTEST(ipc::findEnumValue(values, text).value_or(99), "expected");
    }
};

QTEST_GUILESS_MAIN(EnumMatchTest)
#include "EnumMatchTest.moc"
