#include "DemoFixture.h"
#include "support/Rows.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QTest>

namespace {

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    return QDBusConnection::sessionBus().call(demoRequest(method, arguments));
}

} // namespace

/// What a server answers to single requests: refusals and limits.
class ItemRequestsTest : public DemoFixture
{
    Q_OBJECT

private Q_SLOTS:
    void refusedRequests_data()
    {
        const Rows<QString, QVariantList, QString, QString> row("method", "arguments", "error", "text");
        const auto set = [](const char* item, const QVariant& value) {
            return QVariantList{ QString::fromLatin1(item), QVariant::fromValue(QDBusVariant(value)) };
        };
        row("no such item", "Get", { "nix" }, "NoSuchItem", "\"nix\"");
        row("other case", "Get", { "State" }, "NoSuchItem", "\"State\"");
        row("other server's address", "Get", { ":result:other:mod:state:" }, "NoSuchItem", "other");
        row("address that does not end", "Get", { ":result:demo:mod:stateX" }, "NoSuchItem", "stateX");
        row("other sign behind the module", "Get", { "modXstate" }, "NoSuchItem", "modXstate");
        row("no fifth row", "Get", { "rowName:4" }, "NoSuchItem", "rowName:4");
        row("list without index", "Get", { "rowName" }, "NoSuchItem", "rowName");
        row("several items", "Get", { "volume" }, "AmbiguousItem", ":config:demo:mod:volume:, :result:");
        row("action has no value", "Get", { "echo" }, "NoValue", "Trigger");
        row("never written", "Get", { "record" }, "NoValue", ":record: has no value yet");
        row("result", "Set", set("state", 3), "ReadOnly", ":result:demo:mod:state: is a result");
        row("action takes no value", "Set", set("echo", 3), "ReadOnly", ":echo: is an action");
        row("too long", "Set", set("pin", "123456789"), "InvalidValue", "9 characters, 4 to 8");
        row("pattern", "Set", set("pin", "12a45"), "InvalidValue", "[0-9]{4,8}");
        row("wrong type", "Set", set(":config:demo:mod:volume:", "loud"), "InvalidValue", "whole number");
        row("not an action", "Trigger", { "state", "" }, "NotAnAction", ":state:");
        row("text for none", "Trigger", { "fork", "x" }, "InvalidValue", "takes no text");
        row("long value", "Set", set(":config:demo:mod:volume:", QString(60'000, 'x')), "InvalidValue",
            "xxx…\" does not fit");
        const QString unknownMethod = "org.freedesktop.DBus.Error.UnknownMethod";
        row("other signature", "Get", { 3 }, unknownMethod, "signature 'i'");
        row("an argument too many", "List", { QStringList(), 1 }, unknownMethod, "'asi'");
        row("no argument", "Set", {}, unknownMethod, "Set");
    }

    void refusedRequests()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, error);
        QFETCH(QString, text);
        const QDBusMessage reply = call(method, arguments);
        QCOMPARE(reply.errorName(), error.contains('.') ? error : "tov.base.Error." + error);
        QVERIFY2(reply.errorMessage().contains(text), qPrintable(reply.errorMessage()));
        QVERIFY2(reply.errorMessage().size() < 300, "the error repeats what was too long");
        const QString written =
            arguments.size() > 1 ? arguments.at(1).value<QDBusVariant>().variant().toString() : QString();
        QVERIFY2(arguments.value(0) != "pin" || !reply.errorMessage().contains(written),
                 qPrintable(reply.errorMessage()));
        // And nothing was stored by it.
        QCOMPARE(*m_client->get("pin"), QVariant("5190"));
        QCOMPARE(*m_client->get(":config:demo:mod:volume:"), QVariant(5));
    }

    void limitsOfRequests_data()
    {
        // "limit" is a part of the error's text; empty for a request that is accepted.
        const Rows<QString, QVariantList, QString> row("method", "arguments", "limit");
        const auto text = [](int length) {
            return QString(length, 'x');
        };
        const auto record = [](const QVariant& value) {
            return QVariantList{ "record", QVariant::fromValue(QDBusVariant(value)) };
        };
        const auto nested = [](int records, QVariant value = 1) {
            for (int i = 0; i < records; ++i) {
                value = QVariantMap{ { "in", value } };
            }
            return value;
        };
        const auto patterns = [](const QStringList& all) {
            return QVariantList{ all };
        };
        QStringList tooMany;
        for (int i = 0; i < 65; ++i) {
            tooMany << "rowName";
        }

        for (const char* method : { "Get", "Describe" }) {
            QTest::addRow("name, %s", method) << method << QVariantList{ text(257) } << "at most 256";
        }
        row("name, Set", "Set", { text(1'000'000), QVariant::fromValue(QDBusVariant(1)) },
            "has 1000000 characters; at most 256");
        row("name, Trigger", "Trigger", { text(257), text(1) }, "at most 256");
        for (const char* method : { "List", "Watch" }) {
            QTest::addRow("patterns, %s", method) << method << patterns(tooMany.mid(1)) << QString();
            QTest::addRow("patterns, too many, %s", method) << method << patterns(tooMany) << "at most 64";
            QTest::addRow("pattern, %s", method) << method << patterns({ text(256) }) << QString();
            QTest::addRow("pattern, too long, %s", method)
                << method << patterns({ text(257) }) << "at most 256";
        }
        row("action text", "Trigger", { "echo", text(65536) }, "");
        row("action text, too long", "Trigger", { "echo", text(65537) }, "at most 65536");
        row("text", "Set", record(text(65536)), "");
        row("text, too long", "Set", record(text(65537)), "more than 65536 characters");
        row("bytes, too many", "Set", record(QByteArray(65537, 'x')), "more than 65536");
        row("object path", "Set", record(QVariant::fromValue(QDBusObjectPath('/' + text(65536)))),
            "more than 65536");
        const QVector<QDBusSignature> signatures(258, QDBusSignature(QString(255, 'i')));
        row("signatures", "Set", record(QVariant::fromValue(signatures.toList())), "more than 65536");
        row("values of structures", "Set", record(QVariantList(QVector<QVariant>(300, QRect()).toList())),
            "more than 1024");
        row("texts together", "Set", record(QStringList{ text(65536), text(1) }),
            "more than 65536 characters");
        row("depth", "Set", record(nested(4)), "");
        row("too deep", "Set", record(nested(5)), "deeper than 8 levels");
        row("a level too deep", "Set", record(nested(4, QVariant::fromValue(QList<int>{ 1 }))),
            "deeper than 8");
        row("too many values", "Set", record(QVariant::fromValue(QList<int>(QVector<int>(1024).toList()))),
            "more than 1024");
        row("too many texts", "Set", record(QStringList(QVector<QString>(1024).toList())), "more than 1024");
        QVariantMap wide;
        for (int i = 0; i < 400; ++i) {
            wide.insert(QString::number(i), i);
        }
        row("too many keys", "Set", record(wide), "more than 1024");
    }

    void limitsOfRequests()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, limit);
        const QDBusMessage reply = call(method, arguments);
        if (limit.isEmpty()) {
            QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(reply.errorMessage()));
            return;
        }
        QCOMPARE(reply.errorName(), "tov.base.Error.LimitExceeded");
        QVERIFY2(reply.errorMessage().contains(limit), qPrintable(reply.errorMessage()));
        QVERIFY2(reply.errorMessage().size() < 300, "the error repeats what was too long");
    }

    // Each signal waits in the bus for whoever does not read, and a default bus stops reading from the server
    // when there are 127 MB. No call has one sent before its time.
    void whatIsToldIsBounded()
    {
        const auto before = m_client->list({ "state" });
        constexpr int Changes = 300;
        for (int i = 0; i < Changes; ++i) {
            QVERIFY(m_client->set("record", QString::number(i).rightJustified(65'000, 'x')));
            QVERIFY(m_client->trigger("echo", "x"));
        }
        const auto after = m_client->list({ "state" });
        QVERIFY2(after->serial - before->serial < Changes / 2,
                 qPrintable(QString::number(after->serial - before->serial)));
    }

    // A bus ends the connection of whoever sends it more than 32 MB at once.
    void whatABusDoesNotTake()
    {
        KELClientInterface client(DemoBusName, QDBusConnection::sessionBus());
        QMap<QString, int> lengths;
        int signalsOfRows = 0;
        connect(&client, &KELClientInterface::changed, this, [&](const ipc::ItemRecords& items) {
            const int known = lengths.size();
            for (const ipc::ItemRecord& item : items) {
                if (item.address.contains("rowName")) {
                    lengths[item.address] = item.properties.value("value").toString().size();
                }
            }
            signalsOfRows += lengths.size() > known ? 1 : 0;
        });
        QVERIFY(client.watch({ "rowName:0", "rowName:1" }));

        // Each fits, both together do not.
        const QString first = ":result:demo:mod:rowName:0:";
        const QString second = ":result:demo:mod:rowName:1:";
        QVERIFY(client.trigger("write", "rowName:0 rowName:1*15500000"));
        QTRY_COMPARE(lengths, (QMap<QString, int>{ { first, 15'500'000 }, { second, 15'500'000 } }));
        QCOMPARE(signalsOfRows, 2);
        QVERIFY(client.get(first));

        // One alone does not.
        m_demo.process().readAll();
        QVERIFY(client.trigger("write", "rowName:0*31000000"));
        const auto value = client.get(first);
        QVERIFY(!value && value.error().message.contains("Get " + first));
        QVERIFY2(value.error().message.contains("310005"), qPrintable(value.error().message));
        const auto list = client.list();
        QVERIFY(!list && list.error().message.contains("the largest item is " + first + " with 310"));
        QVERIFY(client.list({ second }));
        QTRY_VERIFY(m_demo.process().canReadLine() || m_demo.process().waitForReadyRead(0));
        const QByteArray warning = m_demo.process().readLine();
        QVERIFY2(warning.contains(first.toUtf8() + " is not told: its value has 310"), warning.constData());

        m_demo.end(); // with what it grew to
        QVERIFY(m_demo.start());
    }
};

QTEST_GUILESS_MAIN(ItemRequestsTest)
#include "ItemRequestsTest.moc"
