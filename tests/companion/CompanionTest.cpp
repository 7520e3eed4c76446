// The record of the companion application's connections, all the way: a simulated phone connects, the module
// tells the stand-in of the mobile synchronisation module, and people read it there.
#include "client/KELClientInterface.h"
#include "world/World.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <cstdio>

class CompanionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void nothingArrivedAtFirst();
    void bothServersAreListed();
    void connectionsOfThePhoneArrive();
    void peopleReadTheRecordExactly();

private:
    [[nodiscard]] QVariantMap record() const;

    KELClientInterface m_bluetooth{ "tov.base.bluetoothlauncher", QDBusConnection::sessionBus() };
    KELClientInterface m_companion{ "tov.base.sync_mobile_app", QDBusConnection::sessionBus() };
};

namespace {

const QString Phone = "00:11:22:33:44:08";
constexpr qulonglong PhoneAddress = 0x001122334408;

struct Finished
{
    int status = -1;
    QString out;
    QString err;
};

Finished run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished())
        return {};
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

} // namespace

QVariantMap CompanionTest::record() const
{
    const auto value = m_companion.get("deviceConnStatus");
    return value ? qdbus_cast<QVariantMap>(*value) : QVariantMap();
}

void CompanionTest::nothingArrivedAtFirst()
{
    const Finished get = run("itemctl", { "--server", "sync_mobile_app", "get", "deviceConnStatus" });
    QCOMPARE(get.status, 1);
    QCOMPARE(get.out, "");
    QCOMPARE(get.err, "itemctl: deviceConnStatus has no value yet\n");
}

void CompanionTest::bothServersAreListed()
{
    const QStringList servers = run("itemctl", { "servers" }).out.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(servers.size(), 2);
    QVERIFY(servers[0].startsWith("tov.base.bluetoothlauncher ") && servers[0].endsWith(" bluetooth"));
    QVERIFY(servers[1].startsWith("tov.base.sync_mobile_app ")
            && servers[1].endsWith(" sync_mobile_reg_module"));
    // Ids of either need no server; one that is asked for by name has its own items alone.
    QCOMPARE(run("itemctl", { "get", "enabled" }).out, "false\n");
    QCOMPARE(run("itemctl", { "get", "enabled", "--server", "bluetoothlauncher" }).out, "false\n");
    QCOMPARE(run("itemctl", { "get", "enabled", "--server", "sync_mobile_app" }).status, 3);
}

void CompanionTest::connectionsOfThePhoneArrive()
{
    const auto reads = [this](const char* item, int value) {
        const auto found = m_bluetooth.get(item);
        return found && found->toInt() == value;
    };
    QVERIFY(m_bluetooth.set("enabled", true));
    QTRY_VERIFY(reads("status", 3));
    QVERIFY(m_bluetooth.trigger("pair", Phone));
    QTRY_VERIFY(reads("pairstate", 4));
    QVERIFY(m_bluetooth.trigger("confirmcode", {}));
    QTRY_VERIFY(reads("pairstate", 100));

    for (const bool connected : { true, false, true }) {
        QVERIFY(m_bluetooth.trigger(connected ? "connectAddr" : "disconnectAddr", Phone));
        QTRY_COMPARE(record(),
                     (QVariantMap{ { "deviceAddr", PhoneAddress }, { "deviceConnected", connected } }));
    }
}

void CompanionTest::peopleReadTheRecordExactly()
{
    // An address of all bits: whatever a person reads it with shows all its digits.
    const QString item = ":result:sync_mobile_app:sync_mobile_reg_module:deviceConnStatus:";
    QVERIFY(m_companion.set(item, QVariantMap{ { "deviceAddr", ~0ULL }, { "deviceConnected", true } }));
    const Finished get = run("itemctl", { "get", "--json", "deviceConnStatus" });
    QCOMPARE(get.status, 0);
    const auto expected = nlohmann::json{ { "deviceAddr", ~0ULL }, { "deviceConnected", true } };
    QVERIFY2(nlohmann::json::parse(get.out.toStdString()) == expected, qPrintable(get.out));
    const Finished busctl = run("busctl",
                                { "--user", "call", "tov.base.sync_mobile_app", "/tov/base/Items",
                                  "tov.base.Items", "Get", "s", item });
    QCOMPARE(busctl.out, "v a{sv} 2 \"deviceAddr\" t 18446744073709551615 \"deviceConnected\" b true\n");
}

int main(int argc, char** argv)
{
    world::PrivateFilesystem filesystem;
    // Before anything that may start a thread.
    const QString noView = filesystem.enter({ QStringLiteral(BLUESIM), {} }, argv);
    if (!noView.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(noView));
        return 77;
    }
    qputenv("BLUESIM_TIME_SCALE", "50");
    const QCoreApplication application(argc, argv);
    world::World world(filesystem);
    world::WorldOptions options;
    options.companion = QStringLiteral(SYNC_MOBILE_APP);
    const QString problem = world.start(options);
    int failures = 1;
    if (problem.isEmpty()) {
        CompanionTest test;
        failures = QTest::qExec(&test, argc, argv);
    }
    if (failures != 0)
        std::fprintf(stderr, "%s\n%s\n", qPrintable(problem), qPrintable(world.output()));
    return failures;
}

#include "CompanionTest.moc"
