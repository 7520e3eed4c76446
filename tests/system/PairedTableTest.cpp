// The paired devices as a view has them, while they come and go and their host is started anew.
#include "SystemTest.h"
#include "model/RowsModel.h"

#include <QAbstractItemModelTester>

class PairedTableTest : public SystemTest
{
    Q_OBJECT

public:
    using SystemTest::SystemTest;

private Q_SLOTS:
    void followsTheHost()
    {
        ipc::RowsModel model("tov.base.bluetoothlauncher", QDBusConnection::sessionBus(), { "pairlist*" });
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_VERIFY(model.isLive());
        QVERIFY2(m_world.switchOn(), why());
        for (const char* name : { "Lamp", "Drill" }) {
            const QString address = QString("0A:00:00:00:00:0%1").arg(*name == 'L' ? 1 : 2);
            const QString device = R"({ "address": "%1", "name": "%2" })";
            QVERIFY2(m_world.addDevice(device.arg(address, name)), why());
            QVERIFY2(m_world.trigger("pair", address), why());
            QVERIFY2(m_world.stepUntil([&] { return columnOf(model, "pairlistName").contains(name); }), name);
        }
        QCOMPARE(columnOf(model, "pairlistName"), (QStringList{ "Lamp", "Drill" }));
        const QStringList before = columnOf(model, "pairlistConnectionState");
        QVERIFY2(m_world.connectDevice("Drill"), why());
        QTRY_VERIFY(columnOf(model, "pairlistConnectionState") != before);
        QVERIFY2(m_world.trigger("unpair", "0A:00:00:00:00:01"), why());
        QTRY_COMPARE(columnOf(model, "pairlistName"), QStringList{ "Drill" });

        QVERIFY2(m_world.start(), why());
        QTRY_COMPARE(columnOf(model, "pairlistName"), QStringList());
        QTRY_VERIFY(model.isLive());
    }

private:
    static QStringList columnOf(const ipc::RowsModel& model, const QByteArray& list)
    {
        QStringList cells;
        for (int row = 0; row < model.rowCount(); ++row) {
            cells << model.index(row, 0).data(model.roleNames().key(list)).toString();
        }
        return cells;
    }
};

BLUETOOTH_TESTKIT_MAIN(PairedTableTest)
#include "PairedTableTest.moc"
