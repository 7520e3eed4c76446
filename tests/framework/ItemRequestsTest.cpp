#include "DemoServer.h"

#include "client/KELClientInterface.h"

#include <QDBusMessage>
#include <QTest>

/// What a server answers to single requests: names, refusals and limits.
class ItemRequestsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void namesOfItems_data();
    void namesOfItems();
    void refusedRequests_data();
    void refusedRequests();
    void limitsOfRequests_data();
    void limitsOfRequests();

private:
    DemoServer m_demo;
    std::unique_ptr<KELClientInterface> m_client;
};

namespace {

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(BusName, QStringLiteral("/tov/base/Items"),
                                                          QStringLiteral("tov.base.Items"), method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message);
}

} // namespace

void ItemRequestsTest::initTestCase()
{
    const QString error = m_demo.startBus();
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(m_demo.startServer());
    m_client = std::make_unique<KELClientInterface>(BusName, QDBusConnection::sessionBus());
}

void ItemRequestsTest::cleanupTestCase()
{
    m_client.reset();
    m_demo.stopServer();
    m_demo.stopBus();
}

void ItemRequestsTest::namesOfItems_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::newRow("id") << "state"
                        << ":result:demo:mod:state:";
    QTest::newRow("module and id") << "mod:state"
                                   << ":result:demo:mod:state:";
    QTest::newRow("full address") << ":config:demo:mod:volume:"
                                  << ":config:demo:mod:volume:";
    QTest::newRow("instance") << "rowName:3"
                              << ":result:demo:mod:rowName:3:";
    QTest::newRow("instance with module") << "mod:rowName:0"
                                          << ":result:demo:mod:rowName:0:";
    QTest::newRow("instance, full address") << ":result:demo:mod:rowName:2:"
                                            << ":result:demo:mod:rowName:2:";
    QTest::newRow("action") << "echo"
                            << ":action:demo:mod:echo:";
}

void ItemRequestsTest::namesOfItems()
{
    QFETCH(QString, name);
    const auto description = m_client->describe(name);
    QVERIFY2(description, qPrintable(description.error().message));
    QTEST(description->value(QStringLiteral("address")).toString(), "address");
}

void ItemRequestsTest::refusedRequests_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("text");
    const auto set = [](const char* item, const QVariant& value) {
        return QVariantList{ QString::fromLatin1(item), QVariant::fromValue(QDBusVariant(value)) };
    };
    QTest::newRow("no such item") << "Get" << QVariantList{ "nix" } << "NoSuchItem"
                                  << "\"nix\"";
    QTest::newRow("other case") << "Get" << QVariantList{ "State" } << "NoSuchItem"
                                << "\"State\"";
    QTest::newRow("other server's address")
        << "Get" << QVariantList{ ":result:other:mod:state:" } << "NoSuchItem"
        << "other";
    QTest::newRow("no fifth row") << "Get" << QVariantList{ "rowName:4" } << "NoSuchItem"
                                  << "rowName:4";
    QTest::newRow("list without index") << "Get" << QVariantList{ "rowName" } << "NoSuchItem"
                                        << "rowName";
    QTest::newRow("several items") << "Get" << QVariantList{ "volume" } << "AmbiguousItem"
                                   << ":config:demo:mod:volume:, :result:";
    QTest::newRow("action has no value") << "Get" << QVariantList{ "echo" } << "NoValue"
                                         << "Trigger";
    QTest::newRow("never written") << "Get" << QVariantList{ "record" } << "NoValue"
                                   << ":record:";
    QTest::newRow("result") << "Set" << set("state", 3) << "ReadOnly"
                            << ":result:demo:mod:state:";
    QTest::newRow("too long") << "Set" << set("pin", "123456789") << "InvalidValue"
                              << "9 characters, 4 to 8";
    QTest::newRow("pattern") << "Set" << set("pin", "12a45") << "InvalidValue"
                             << "[0-9]{4,8}";
    QTest::newRow("wrong type") << "Set" << set(":config:demo:mod:volume:", "loud") << "InvalidValue"
                                << "whole number";
    QTest::newRow("not an action") << "Trigger" << QVariantList{ "state", "" } << "NotAnAction"
                                   << ":state:";
    QTest::newRow("text for none") << "Trigger" << QVariantList{ "fork", "x" } << "InvalidValue"
                                   << "takes no text";
    QTest::newRow("long value") << "Set" << set(":config:demo:mod:volume:", QString(60'000, 'x'))
                                << "InvalidValue"
                                << "xxx…\" does not fit";
    const QString unknownMethod = QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod");
    QTest::newRow("other signature") << "Get" << QVariantList{ 3 } << unknownMethod << "signature 'i'";
    QTest::newRow("an argument too many")
        << "List" << QVariantList{ QStringList(), 1 } << unknownMethod << "'asi'";
    QTest::newRow("no argument") << "Set" << QVariantList() << unknownMethod << "Set";
}

void ItemRequestsTest::refusedRequests()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, error);
    QFETCH(QString, text);
    const QDBusMessage reply = call(method, arguments);
    QCOMPARE(reply.errorName(),
             error.contains(QLatin1Char('.')) ? error : QStringLiteral("tov.base.Error.") + error);
    QVERIFY2(reply.errorMessage().contains(text), qPrintable(reply.errorMessage()));
    // And nothing was stored by it.
    QCOMPARE(*m_client->get(QStringLiteral("pin")), QVariant("5190"));
    QCOMPARE(*m_client->get(QStringLiteral(":config:demo:mod:volume:")), QVariant(5));
}

void ItemRequestsTest::limitsOfRequests_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("limit"); ///< part of the error's text; empty for a request that is accepted
    const auto text = [](int length) {
        return QString(length, QLatin1Char('x'));
    };
    const auto record = [](const QVariant& value) {
        return QVariantList{ QStringLiteral("record"), QVariant::fromValue(QDBusVariant(value)) };
    };
    const auto nested = [](int records) {
        QVariant value = 1;
        for (int i = 0; i < records; ++i)
            value = QVariantMap{ { QStringLiteral("in"), value } };
        return value;
    };
    const auto patterns = [](const QStringList& all) {
        return QVariantList{ all };
    };
    QStringList tooMany;
    for (int i = 0; i < 65; ++i)
        tooMany << QStringLiteral("rowName");

    for (const char* method : { "Get", "Describe" })
        QTest::addRow("name, %s", method) << method << QVariantList{ text(257) } << "at most 256";
    QTest::newRow("name, Set") << "Set"
                               << QVariantList{ text(1'000'000), QVariant::fromValue(QDBusVariant(1)) }
                               << "has 1000000 characters; at most 256";
    QTest::newRow("name, Trigger") << "Trigger" << QVariantList{ text(257), text(1) } << "at most 256";
    for (const char* method : { "List", "Watch" }) {
        QTest::addRow("patterns, %s", method) << method << patterns(tooMany.mid(1)) << QString();
        QTest::addRow("patterns, too many, %s", method) << method << patterns(tooMany) << "at most 64";
        QTest::addRow("pattern, %s", method) << method << patterns({ text(256) }) << QString();
        QTest::addRow("pattern, too long, %s", method) << method << patterns({ text(257) }) << "at most 256";
    }
    QTest::newRow("action text") << "Trigger" << QVariantList{ "echo", text(65536) } << QString();
    QTest::newRow("action text, too long")
        << "Trigger" << QVariantList{ "echo", text(65537) } << "at most 65536";
    QTest::newRow("text") << "Set" << record(text(65536)) << QString();
    QTest::newRow("text, too long") << "Set" << record(text(65537)) << "more than 65536 characters";
    QTest::newRow("text for a number")
        << "Set" << QVariantList{ "mod:enabled", QVariant::fromValue(QDBusVariant(text(65537))) }
        << "more than 65536 characters";
    QTest::newRow("bytes, too many") << "Set" << record(QByteArray(65537, 'x')) << "more than 65536";
    QTest::newRow("texts together") << "Set" << record(QStringList{ text(65536), text(1) })
                                    << "more than 65536 characters";
    QTest::newRow("depth") << "Set" << record(nested(4)) << QString();
    QTest::newRow("too deep") << "Set" << record(nested(5)) << "deeper than 8 levels";
    QTest::newRow("far too deep") << "Set" << record(nested(15)) << "deeper than 8 levels";
    QTest::newRow("many values") << "Set" << record(QStringList(tooMany + tooMany)) << QString();
    QTest::newRow("too many values") << "Set"
                                     << record(QVariant::fromValue(QList<int>(QVector<int>(1024).toList())))
                                     << "more than 1024";
    QTest::newRow("too many texts") << "Set" << record(QStringList(QVector<QString>(1024).toList()))
                                    << "more than 1024";
    QVariantMap wide;
    for (int i = 0; i < 400; ++i)
        wide.insert(QString::number(i), i);
    QTest::newRow("too many keys") << "Set" << record(wide) << "more than 1024";
}

void ItemRequestsTest::limitsOfRequests()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, limit);
    const QDBusMessage reply = call(method, arguments);
    if (limit.isEmpty()) {
        QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(reply.errorMessage()));
        return;
    }
    QCOMPARE(reply.errorName(), QStringLiteral("tov.base.Error.LimitExceeded"));
    QVERIFY2(reply.errorMessage().contains(limit), qPrintable(reply.errorMessage()));
    QVERIFY2(reply.errorMessage().size() < 300, "the error repeats what was too long");
}

QTEST_GUILESS_MAIN(ItemRequestsTest)
#include "ItemRequestsTest.moc"
