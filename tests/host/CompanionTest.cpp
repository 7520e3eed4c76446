// The record of the companion application's connections, all the way: a simulated phone connects, the module
// tells the stand-in of the mobile synchronisation module, and people read it there.
#include "KelAggregate.h"
#include "World.h"
#include "client/KELClientInterface.h"
#include "support/PrivateView.h"
#include "support/ProblemOf.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QTest>

#include <memory>

namespace {

const QString Phone = "00:11:22:33:44:08";
constexpr qulonglong PhoneAddress = 0x001122334408;

} // namespace

Q_DECLARE_METATYPE(std::string)

class CompanionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingArrivedAtFirst()
    {
        const Finished get = run("itemctl", { "--server", "sync_mobile_app", "get", "deviceConnStatus" });
        QCOMPARE(get.status, 1);
        QCOMPARE(get.out, "");
        QCOMPARE(get.err, "itemctl: deviceConnStatus has no value yet\n");
    }

    void connectionsOfThePhoneArrive()
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
        QCOMPARE(record()["deviceAddr"].userType(), static_cast<int>(QMetaType::ULongLong));
        QCOMPARE(record()["deviceConnected"].userType(), static_cast<int>(QMetaType::Bool));
    }

    void propertiesHaveExactTypes_data()
    {
        const Rows<std::string, QVariant, bool> row("name", "value", "taken");
        row("an address", "address", ~0ULL, true);
        row("a flag", "connected", true, true);
        row("an address for a flag", "connected", 1ULL, false);
        row("a flag for an address", "address", true, false);
        row("of more than one type", "connected and more", true, false);
        row("of another case", "Address", 1ULL, false);
    }

    void propertiesHaveExactTypes()
    {
        QFETCH(std::string, name);
        QFETCH(QVariant, value);
        QFETCH(bool, taken);
        const auto descriptor = std::make_shared<KelAggregateDescriptor>();
        (*descriptor)["address"] = static_cast<KELItemStatusFlags>(0x20000);
        (*descriptor)["connected"] = static_cast<KELItemStatusFlags>(0x1000);
        (*descriptor)["connected and more"] = static_cast<KELItemStatusFlags>(0x1001);
        KelAggregate aggregate(descriptor);
        if (!taken) {
            const QString text = "Property not found, or value not correct type, property name: \"%1\"";
            QTest::ignoreMessage(QtWarningMsg, qPrintable(text.arg(QString::fromStdString(name))));
        }
        value.type() == QVariant::Bool ? aggregate.setPropertyValue(name, value.toBool())
                                       : aggregate.setPropertyValue(name, value.toULongLong());
        const QVariantMap expected{ { QString::fromStdString(name), value } };
        QCOMPARE(aggregate.toVariant(), QVariant(taken ? expected : QVariantMap()));
    }

    void peopleReadTheRecordExactly()
    {
        // An address of all bits: whatever a person reads it with shows all its digits.
        const QString item = ":result:sync_mobile_app:sync_mobile_reg_module:deviceConnStatus:";
        QVERIFY(m_companion.set(item, QVariantMap{ { "deviceAddr", ~0ULL }, { "deviceConnected", true } }));
        const Finished busctl = run("busctl",
                                    { "--user", "call", "tov.base.sync_mobile_app", "/tov/base/Items",
                                      "tov.base.Items", "Get", "s", item });
        QCOMPARE(busctl.out, "v a{sv} 2 \"deviceAddr\" t 18446744073709551615 \"deviceConnected\" b true\n");
    }

private:
    [[nodiscard]] QVariantMap record() const
    {
        const auto value = m_companion.get("deviceConnStatus");
        return value ? qdbus_cast<QVariantMap>(*value) : QVariantMap();
    }

    KELClientInterface m_bluetooth{ "tov.base.bluetoothlauncher", QDBusConnection::sessionBus() };
    KELClientInterface m_companion{ "tov.base.sync_mobile_app", QDBusConnection::sessionBus() };
};

int main(int argc, char** argv)
{
    return runInPrivateView(BLUESIM, argc, argv, [&](const world::PrivateFilesystem& filesystem) {
        qputenv("BLUESIM_TIME_SCALE", "50");
        world::World world(filesystem);
        world::WorldOptions options;
        options.companion = SYNC_MOBILE_APP;
        const auto started = world.start(options);
        int failures = 1;
        if (started) {
            CompanionTest test;
            failures = QTest::qExec(&test, argc, argv);
        }
        if (failures != 0) {
            std::fprintf(stderr, "%s\n%s\n", qPrintable(problemOf(started)), qPrintable(world.output()));
        }
        return failures;
    });
}

#include "CompanionTest.moc"
