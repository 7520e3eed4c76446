#include "Mechanisms.h"

#include "ChildProcess.h"
#include "MessageBus.h"
#include "ServerReadiness.h"
#include "World.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

/// The walk where it does not go well: it has to notice, and to say what it had expected.
class TourTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_bus.start(world::MessageBus::Kind::Session, m_folder.path()));
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toLocal8Bit());
    }

    void cleanup() { m_server.end(); }

    void saysThatThereIsNoModule()
    {
        const Finished tour = walk();
        QCOMPARE(tour.status, 1);
        QVERIFY2(tour.out.contains("! This did not happen.\n      no server \"bluetoothlauncher\""),
                 qPrintable(tour.out));
    }

    void saysWhatDidNotHappen()
    {
        // A module with the switch, but without a radio behind it.
        world::Command command;
        command.arguments =
            QStringList{ ITEM_TEST_SERVER, "bluetoothlauncher", m_folder.filePath("state"), "bluetooth" };
        QVERIFY(m_server.start(command));
        QVERIFY(world::awaitServer(m_bus.address(), world::hostName(), m_server.descriptor(), -1,
                                   std::chrono::seconds(30))
                == world::Readiness::Ready);

        const Finished tour = walk();
        QCOMPARE(tour.status, 1);
        for (const char* text :
             { "$ itemctl set enabled true\n", "! This did not happen.\n      no item \"status\"",
               "\nThe walk ends here" }) {
            QVERIFY2(tour.out.contains(QLatin1String(text)), qPrintable(tour.out));
        }
        QVERIFY(!tour.out.contains("itemctl call scan")); // the steps after it make no sense
        QVERIFY(!tour.out.contains('\033'));
        for (const QString& line : tour.out.split('\n')) {
            QVERIFY2(line.size() <= 80, qPrintable(line));
        }
    }

private:
    [[nodiscard]] Finished walk() const
    {
        return run(world::World::binFolder() + "/bluetoothtour", { "--timeout", "0.5" });
    }

    QTemporaryDir m_folder{ "/var/tmp/tour-XXXXXX" };
    world::MessageBus m_bus;
    world::ChildProcess m_server;
};

QTEST_GUILESS_MAIN(TourTest)
#include "TourTest.moc"
