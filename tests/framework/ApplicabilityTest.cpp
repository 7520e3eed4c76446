#include "expressions/Applicability.h"
#include "items/ModuleItems.h"
#include "support/Rows.h"

#include <QTest>

using ipc::Item;
using ipc::ItemKind;
using ipc::ModuleItems;
using ipc::ValueType;

/// Which items apply, and how often that is worked out.
class ApplicabilityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_items = std::make_unique<ModuleItems>("server", "module", [](const QString&) {});
        const QVector<EnumValue> states{ { "Off", "S_OFF", 0 }, { "On", "S_ON", 3 } };
        m_items->add({ ItemKind::Result, "state", QString(), ValueType::enumeration(states), 3 });
        m_items->add({ ItemKind::Result, "name", QString(), ValueType::of(QString()), QString() });
        m_items->add({ ItemKind::Config, "enabled", QString(), ValueType::of(false), true });
        m_items->add({ ItemKind::Result, "row", QString(), ValueType::of(QString()), QString(), {}, 3 });
        m_items->add({ ItemKind::Result, "old_name", QString(), ValueType::of(1), 1 });
        m_items->add({ ItemKind::Result, "old_row", QString(), ValueType::of(1), 1, {}, 2 });
        m_items->add({ ItemKind::Result, "enabled", QString(), ValueType::of(false), false });
        m_items->add({ ItemKind::Result, "unwritten", QString(), ValueType::of({}), {} });
        m_items->add({ ItemKind::Result, "record", QString(), ValueType::of({}), QVariantMap{ { "a", 1 } } });
        m_items->add({ ItemKind::Result, "serial", QString(), ValueType::of(0ULL), 16777217ULL });
    }

    void expressions_data()
    {
        const Rows<QString, QString, bool> row("expression", "name", "applies");
        row("enumeration", "res.state.value == res.state.enums.eS_ON", "", true);
        row("other enumeration value", "res.state.value == res.state.enums.eS_OFF", "", false);
        row("config", "(cfg.enabled.value)", "", true);
        row("both", "((res.state.value == 3) && (cfg.enabled.value))&& ((1 == 2) || (3 == 3))", "", true);
        row("empty text is empty", "res.name.value != \"\"", "", false);
        row("empty text is loosely 0", "res.name.value != 0", "", false);
        row("text 0 is loosely 0", "res.name.value != 0", "0", false);
        row("text 0 is not empty", "res.name.value != \"\"", "0", true);
        row("an address is no number", "res.name.value != 0", "12:34:56:78:9A:BC", true);
        row("a number as text", "res.state.value == \"3\"", "", true);
        row("names within texts are no inputs", "res.name.value == 'res.nix.value'", "res.nix.value", true);
        row("literal", "true", "", true);
        row("trailing comment", "true // always", "", true);
        row("id with an underscore", "res.old_name.value", "", true);
        row("list with an underscore", "res.old_row_1.value", "", true);
        row("config and result of one id", "cfg.enabled.value && !res.enabled.value", "", true);
        row("never written", "res.unwritten.value === undefined", "", true);
        row("large number", "res.serial.value == 16777217", "", true);
        row("a record is no number", "res.record.value === null", "", true);
        row("text with a zero", "res.name.value.length == 3", QString("a%1b").arg(QChar(0)), true);
        row("text beyond ASCII", "res.name.value == 'K\u00fcche'", QString::fromUtf8("Küche"), true);
    }

    void expressions()
    {
        QFETCH(QString, expression);
        QFETCH(QString, name);
        set("name", name);
        QTEST(addItem("x", expression).isApplicable(), "applies");
    }

    void brokenExpressionsSayWhatIsWrong_data()
    {
        const Rows<QString, QString> row("expression", "message");
        row("does not compile",
            "(res.state.value ==", ":x: never applies; its expression .*does not compile");
        row("a statement", "var a = 1", ":x: never applies; its expression .*does not compile");
        row("unknown result", "cfg.enabled.value || res.nix.value", "names nix at character 22, .*no result");
        row("unknown config", "cfg.state.value", "names state at character 1, .*no config");
        row("unknown instance", "res.row_3.value", "names row_3 at character 1");
        row("fails when evaluated", "res.state.nix.nix", ":x: does not apply; its expression .*failed");
    }

    void brokenExpressionsSayWhatIsWrong()
    {
        QFETCH(QString, expression);
        QFETCH(QString, message);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(message));
        Item& item = addItem("x", expression);
        m_items->checkExpressions();
        QVERIFY(!item.isApplicable());
        QVERIFY(!item.isApplicable()); // and says it once
    }

    void onlyAChangedInputLeadsToAnEvaluation()
    {
        // It counts its evaluations in an object that the engine keeps, and applies with the second one.
        Item& item = addItem("x", "(res.state.count = (res.state.count || 0) + 1) == 2");
        set("state", 0); // nobody asked
        QVERIFY(!item.isApplicable());
        QVERIFY(!item.isApplicable());
        set("name", "no input of it");
        set("state", 0); // the value that it has
        QVERIFY(!item.isApplicable());
        set("state", 3);
        set("state", 0);
        set("state", 3);
        QVERIFY(item.isApplicable());
        QVERIFY(item.isApplicable());
    }

    void whatAModuleMadeInapplicableStaysSo()
    {
        Item& item = addItem("x", "cfg.enabled.value");
        item.setApplicable(false, true);
        QVERIFY(!item.isApplicable());
        item.setApplicable(true, true);
        QVERIFY(item.isApplicable());
        m_items->find(ItemKind::Config, "enabled")->store(false, true);
        QVERIFY(!item.isApplicable());
    }

private:
    Item& addItem(const QString& id, const QString& applicability)
    {
        return *m_items
                    ->add({ ItemKind::Result, id, QString(), ValueType::of(QString()), QString(),
                            applicability })
                    .front();
    }
    void set(const QString& id, const QVariant& value)
    {
        m_items->find(ItemKind::Result, id)->store(value, true);
    }

    std::unique_ptr<ModuleItems> m_items;
};

QTEST_GUILESS_MAIN(ApplicabilityTest)
#include "ApplicabilityTest.moc"
