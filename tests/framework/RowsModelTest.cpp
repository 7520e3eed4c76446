#include "model/RowsModel.h"
#include "client/KELClientInterface.h"
#include "support/DemoServers.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

/// Lists of a server that changes and leaves, as a view has them.
class RowsModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_servers.startBus(), QString()); }

    void rowsComeChangeAndGo()
    {
        ipc::RowsModel model(DemoBusName, QDBusConnection::sessionBus(), { "row*", "volume" });
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy failed(&model, &ipc::RowsModel::failed);
        QVERIFY(failed.wait()); // no server yet
        QVERIFY(!model.isLive());
        QVERIFY(m_servers.start());
        QTRY_VERIFY(model.isLive());
        QCOMPARE(model.columnCount(), 2);
        QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QString("Row State"));
        QCOMPARE(model.roleNames().value(ipc::RowsModel::FirstColumnRole + 1), QByteArray("rowState"));
        QCOMPARE(table(model), QStringList());

        write("rowName:2=Lamp");
        QTRY_COMPARE(table(model), QStringList{ "2 Lamp Off" });
        QVERIFY(!model.index(0, 0).data(ipc::RowsModel::ApplicableRole).toBool());
        const QPersistentModelIndex lamp = model.index(0, 0);
        write("rowName:0=Car Kit");
        write("rowState:2=200");
        write("rowName:3=Phone");
        QTRY_COMPARE(table(model), (QStringList{ "0 Car Kit Off", "2 Lamp Gone Wrong", "3 Phone Off" }));
        QCOMPARE(lamp.row(), 1);
        QCOMPARE(lamp.data(ipc::RowsModel::FirstColumnRole + 1).toString(), QString("Gone Wrong"));
        QCOMPARE(lamp.sibling(1, 1).data(Qt::EditRole).toInt(), 200);

        // Nothing is told of what stays as it is.
        QSignalSpy changed(&model, &ipc::RowsModel::dataChanged);
        write("volume=3");
        write("rowName:0=");
        QTRY_COMPARE(table(model), (QStringList{ "2 Lamp Gone Wrong", "3 Phone Off" }));
        QCOMPARE(changed.count(), 0);

        m_servers.kill();
        QTRY_VERIFY(!model.isLive());
        QCOMPARE(table(model).size(), 2); // what was there is shown, but disabled
        QVERIFY(!lamp.flags().testFlag(Qt::ItemIsEnabled));
        QVERIFY(m_servers.start());
        QTRY_VERIFY(model.isLive());
        QCOMPARE(table(model), QStringList());
        QVERIFY(!lamp.isValid());
        write("rowName:1=Back");
        QTRY_COMPARE(table(model), QStringList{ "1 Back Off" });
        QVERIFY(model.index(0, 0).flags().testFlag(Qt::ItemIsEnabled));
    }

private:
    /// "INDEX CELL…" of each row.
    static QStringList table(const ipc::RowsModel& model)
    {
        QStringList rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            QStringList cells{ model.headerData(row, Qt::Vertical).toString() };
            for (int column = 0; column < model.columnCount(); ++column) {
                cells << model.index(row, column).data().toString();
            }
            rows << cells.join(' ');
        }
        return rows;
    }

    static void write(const QString& text)
    {
        KELClientInterface client(DemoBusName, QDBusConnection::sessionBus());
        QVERIFY(client.trigger("write", text));
    }

    DemoServers m_servers;
};

QTEST_GUILESS_MAIN(RowsModelTest)
#include "RowsModelTest.moc"
