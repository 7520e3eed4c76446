#include "client/KELClientInterface.h"
#include "support/DemoServers.h"
#include "support/Rows.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QFile>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <vector>

namespace {

QDBusMessage request(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(DemoBusName, "/tov/base/Items", "tov.base.Items", method);
    message.setArguments(arguments);
    return message;
}

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    return QDBusConnection::sessionBus().call(request(method, arguments));
}

} // namespace

/// What a server answers to single requests: refusals and limits.
class ItemRequestsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_demo.startBus(), QString());
        QVERIFY(m_demo.start());
        m_client = std::make_unique<KELClientInterface>(DemoBusName, QDBusConnection::sessionBus());
    }

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

    void oneCallerTakesTurnsWithTheOthers()
    {
        constexpr int Calls = 5000;
        const int watches = endsWatched();
        std::vector<QDBusPendingCall> flood;
        flood.reserve(Calls);
        const QDBusConnection flooder = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "flooder");
        const QDBusMessage list = request("List", { QStringList() });
        for (int i = 0; i < Calls; ++i) {
            flood.push_back(flooder.asyncCall(list));
        }
        const auto isOpen = [](const QDBusPendingCall& one) {
            return !one.isFinished();
        };
        QVERIFY(std::any_of(flood.begin(), flood.end(), isOpen));
        QCOMPARE(*m_client->get("pin"), QVariant("5190"));
        QTRY_VERIFY(std::none_of(flood.begin(), flood.end(), isOpen));
        QMap<QString, int> answers;
        for (const QDBusPendingCall& one : flood) {
            ++answers[one.reply().errorName()];
        }
        const QString refused = "org.freedesktop.DBus.Error.LimitsExceeded";
        QVERIFY2(answers[QString()] >= 128 && answers[refused] > 0,
                 qPrintable(QString::number(answers[refused])));
        QCOMPARE(answers[QString()] + answers[refused], Calls);
        QTRY_COMPARE(endsWatched(), watches); // nothing of the caller is kept

        // One that leaves without its answers.
        const QString name = "leaver";
        for (int i = 0; i < Calls; ++i) {
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, name).asyncCall(list);
        }
        QDBusConnection::disconnectFromBus(name);
        QVERIFY(m_client->list());
        QTRY_COMPARE(endsWatched(), watches);
#ifndef __SANITIZE_ADDRESS__ // which keeps what was freed
        const int memory = largestMemory();
        QVERIFY2(memory > 0 && memory < 64'000, qPrintable(QString::number(memory)));
#endif
    }

    void manyCallersAreBoundedTogether()
    {
        constexpr int Callers = 10;
        constexpr int Calls = 220; // 14 MB, which the bus takes
        const QDBusMessage echo = request("Trigger", { "echo", QString(65'536, 'x') });
        const auto server = static_cast<pid_t>(m_demo.process().processId());
        QCOMPARE(::kill(server, SIGSTOP), 0);
        auto goesOn = qScopeGuard([server] { ::kill(server, SIGCONT); });
        std::vector<QDBusPendingCall> flood;
        for (int i = 0; i < Calls; ++i) {
            const QString name = QString("one of many %1").arg(i % Callers);
            flood.push_back(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name).asyncCall(echo));
        }
        for (int i = 0; i < Callers; ++i) { // the bus has what it sent before
            const QDBusConnection one(QString("one of many %1").arg(i));
            QVERIFY(one.interface()->isServiceRegistered(DemoBusName));
        }
        QDBusPendingReply<QString> other = QDBusConnection::sessionBus().asyncCall(echo);
        QVERIFY(QDBusConnection::sessionBus().interface()->isServiceRegistered(DemoBusName));
        goesOn.dismiss();
        QCOMPARE(::kill(server, SIGCONT), 0);

        QMap<QString, int> answers;
        for (QDBusPendingCall& one : flood) {
            one.waitForFinished();
            ++answers[one.error().message().left(32)];
        }
        const int refused = answers["Trigger echo is not answered: 79"];
        QVERIFY2(refused > Calls / 4 && refused < Calls / 2, qPrintable(QString::number(refused)));
        QCOMPARE(answers[QString()] + refused, Calls);
        QCOMPARE(other.error().message(), QString());
        QCOMPARE(other.value().size(), 65'536);
        for (int i = 0; i < Callers; ++i) {
            QDBusConnection::disconnectFromBus(QString("one of many %1").arg(i));
        }
        QVERIFY(m_client->trigger("echo", QString(65'536, 'x'))); // there is room again
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

private:
    /// How many clients the server asks the bus to tell the end of.
    static int endsWatched()
    {
        const QDBusMessage reply = QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                           "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules"));
        int count = 0;
        for (const QStringList& rules : qdbus_cast<QMap<QString, QStringList>>(reply.arguments().value(0))) {
            count += rules.filter(",arg2=''").size();
        }
        return count;
    }

    /// Of the server so far, in kB.
    int largestMemory()
    {
        QFile status(QString("/proc/%1/status").arg(m_demo.process().processId()));
        const QString text = status.open(QIODevice::ReadOnly) ? status.readAll() : QString();
        return text.section("VmHWM:", 1).section("kB", 0, 0).toInt();
    }

    DemoServers m_demo;
    std::unique_ptr<KELClientInterface> m_client;
};

QTEST_GUILESS_MAIN(ItemRequestsTest)
#include "ItemRequestsTest.moc"
