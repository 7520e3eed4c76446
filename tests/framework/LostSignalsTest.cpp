#include "bus/ItemRecord.h"
#include "client/KELClientInterface.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <atomic>

/// A server whose signals the test loses, or holds back.
class LossyServer : public QDBusVirtualObject
{
public:
    explicit LossyServer(QDBusConnection bus)
        : m_bus(std::move(bus))
    {
        m_bus.registerVirtualObject("/tov/base/Items", this);
        m_bus.registerService("tov.base.lossy");
    }

    /// A turn in which these became so.
    ipc::ItemRecords turn(const QMap<QString, int>& values)
    {
        ipc::ItemRecords changed;
        for (auto item = values.begin(); item != values.end(); ++item) {
            m_values[item.key()] = item.value();
            changed << ipc::ItemRecord{ item.key(), { { "value", item.value() } } };
        }
        ++m_serial;
        return changed;
    }
    void tell(qulonglong serial, const ipc::ItemRecords& changed)
    {
        QDBusMessage signal = QDBusMessage::createSignal("/tov/base/Items", "tov.base.Items", "Changed");
        signal << serial << QVariant::fromValue(changed);
        m_bus.send(signal);
    }
    void tell(const ipc::ItemRecords& changed) { tell(m_serial, changed); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        ++watched;
        QDBusMessage reply = message.createErrorReply("org.freedesktop.DBus.Error.NoReply", "silent");
        if (answers) {
            ipc::ItemRecords items;
            for (auto item = m_values.begin(); item != m_values.end(); ++item) {
                items << ipc::ItemRecord{ item.key(), { { "value", item.value() }, { "applicable", true } } };
            }
            reply = message.createReply({ m_serial, QVariant::fromValue(items) });
        }
        connection.send(reply);
        return true;
    }
    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    std::atomic<int> watched = 0;
    bool answers = true;

private:
    QDBusConnection m_bus;
    QMap<QString, int> m_values{ { "a", 0 }, { "b", 0 } };
    qulonglong m_serial = 0;
};

/// A client to which the bus does not bring every signal.
class LostSignalsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Before the first connection, whose thread needs the table of types to the end of the program.
        QVERIFY(QMetaType::type("ipc::ItemRecords") != QMetaType::UnknownType);
        QCOMPARE(m_bus.start(), QString());
        m_thread.start();
        m_server = std::make_unique<LossyServer>(QDBusConnection::connectToBus(m_bus.address(), "server"));
        m_server->moveToThread(&m_thread);
    }
    void cleanupTestCase()
    {
        m_thread.quit();
        m_thread.wait();
        m_server.reset();
    }

    void tellsWhatWasLost()
    {
        KELClientInterface client("tov.base.lossy", QDBusConnection::connectToBus(m_bus.address(), "client"));
        QVERIFY(client.watch());
        QStringList told;
        connect(&client, &KELClientInterface::changed, this, [&told](const ipc::ItemRecords& items) {
            for (const ipc::ItemRecord& item : items) {
                told << QString("%1=%2").arg(item.address, item.properties.value("value").toString());
            }
        });
        turn({ { "a", 1 } }, true);
        QTRY_COMPARE(told, QStringList{ "a=1" });

        // Two are lost, of which one says nothing new.
        turn({ { "b", 1 } }, false);
        turn({ { "a", 1 } }, false);
        turn({ { "a", 2 } }, true);
        QTRY_COMPARE(told, (QStringList{ "a=1", "a=2", "b=1" }));
        QCOMPARE(m_server->watched.load(), 2);

        // One comes behind the next, which shows the gap.
        const ipc::ItemRecords late = turn({ { "b", 2 } }, false);
        turn({ { "a", 3 } }, true);
        atServer([&] { m_server->tell(5, late); });
        QTRY_COMPARE(told.mid(3), (QStringList{ "a=3", "b=2" }));

        // The server does not answer: the signal behind that asks it again.
        atServer([this] { m_server->answers = false; });
        turn({ { "b", 3 } }, false);
        turn({ { "a", 4 } }, true);
        QTRY_COMPARE(m_server->watched.load(), 4);
        atServer([this] { m_server->answers = true; });
        QTRY_VERIFY(([&] {
            turn({ { "a", 5 } }, true);
            return told.mid(5).count("b=3") == 1 && told.mid(5).contains("a=5");
        }()));
    }

    // The example that speaks to the bus itself.
    void exampleAsksAgain()
    {
        QProcess example;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", m_bus.address());
        example.setProcessEnvironment(environment);
        example.start(FOLLOW_LIST, { "tov.base.lossy" });
        QByteArray told;
        connect(&example, &QProcess::readyReadStandardOutput, this,
                [&] { told += example.readAllStandardOutput(); });
        QTRY_COMPARE(told.count('\n'), 2);
        turn({ { "a", 11 } }, true);
        QTRY_VERIFY(told.endsWith("a 11\n"));
        turn({ { "b", 12 } }, false);
        turn({ { "a", 12 } }, true);
        QTRY_VERIFY2(told.contains("a 12\n") && told.contains("b 12\n"), told.constData());
        turn({ { "a", 13 } }, true);
        QTRY_VERIFY2(told.endsWith("a 13\n"), told.constData());
        example.terminate();
        QVERIFY(example.waitForFinished());
        QCOMPARE(example.readAllStandardError(), QByteArray());
    }

private:
    template <typename Act>
    void atServer(const Act& act)
    {
        QMetaObject::invokeMethod(m_server.get(), act, Qt::BlockingQueuedConnection);
    }
    /// A turn of the server in which these became so. @return what its signal says, or would say
    ipc::ItemRecords turn(const QMap<QString, int>& values, bool arrives)
    {
        ipc::ItemRecords changed;
        atServer([&] {
            changed = m_server->turn(values);
            if (arrives) {
                m_server->tell(changed);
            }
        });
        return changed;
    }

private:
    PrivateSessionBus m_bus;
    QThread m_thread;
    std::unique_ptr<LossyServer> m_server;
};

QTEST_GUILESS_MAIN(LostSignalsTest)
#include "LostSignalsTest.moc"
