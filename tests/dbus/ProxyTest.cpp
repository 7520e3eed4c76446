#include "BluetoothIf.h"
#include "InterfaceDescription.h"
#include "support/PrivateBus.h"
#include "support/Rows.h"
#include "support/ScriptedDaemon.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QtTest>

namespace {

const QString Interface = "com.qarn.bluetooth";
const QString Path = "/com/qarn/Bluetooth";

QStringList ownMethods(QMetaMethod::MethodType type)
{
    QStringList lines;
    const QMetaObject& meta = BluetoothIf::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() != type) {
            continue;
        }
        QStringList arguments;
        for (int k = 0; k < method.parameterCount(); ++k) {
            arguments << QString::fromLatin1(method.parameterTypes().at(k) + ' '
                                             + method.parameterNames().at(k));
        }
        lines << QString::fromLatin1(method.name()) + '(' + arguments.join(", ") + ')';
    }
    return lines;
}

} // namespace

class ProxyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        registerDaemonTypes();
        QMetaType::registerEqualsComparator<ScanResults>();
        QMetaType::registerEqualsComparator<PairList>();
        m_daemon = std::make_unique<ScriptedDaemon>(m_bus.address());
        QVERIFY(m_daemon->appear());
        m_proxy = std::make_unique<BluetoothIf>(Interface, Path, QDBusConnection::systemBus(), nullptr);
    }

    void matchesTheInterfaceDescription()
    {
        QFile file(INTERFACE_XML);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const InterfaceDescription described(file);
        QCOMPARE(described.signalLines.size(), 16);
        QCOMPARE(described.methodLines.size(), 14);
        QCOMPARE(described.propertyLines.size(), 10);

        QCOMPARE(ownMethods(QMetaMethod::Signal), described.signalLines);
        QCOMPARE(ownMethods(QMetaMethod::Slot), described.methodLines);
        const QMetaObject& meta = BluetoothIf::staticMetaObject;
        // Clients index them: the signals come first, and there is nothing else.
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 30);
        QCOMPARE(meta.method(meta.methodOffset() + 15).name(), "wifedCmdCtlSockClosed");
        QStringList properties;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            QVERIFY(!property.hasNotifySignal());
            properties << QString("%1 %2 %3")
                              .arg(QLatin1String(property.isWritable() ? "readwrite" : "read"),
                                   QLatin1String(property.typeName()), QLatin1String(property.name()));
        }
        QCOMPARE(properties, described.propertyLines);
        QCOMPARE(meta.className(), "BluetoothIf");
        QCOMPARE(m_proxy->interface(), Interface);
    }

    void readsProperties_data()
    {
        const Rows<QVariant> row("value");
        row("confirmationCode", "000042");
        row("myAddress", 0xFFFFFFFFFFFFFFFFULL);
        row("pairState", 100);
        row("state", true);
        row("scanResults", QVariant::fromValue(ScanResults{ { { 7, -3, "x" }, { 8, -4, {} } } }));
        row("pairList", QVariant::fromValue(PairList{ { { 7, "x", 4 } } }));
    }

    void readsProperties()
    {
        QFETCH(QVariant, value);
        m_daemon->answer(QTest::currentDataTag(), { value });
        QCOMPARE(m_proxy->property(QTest::currentDataTag()), value);
    }

    void readsDefaultsWhereThereIsNothing()
    {
        const BluetoothIf absent("com.qarn.absent", Path, QDBusConnection::systemBus(), nullptr);
        QCOMPARE(absent.confirmationCode(), QString());
        QCOMPARE(absent.myAddress(), 0ULL);
        QCOMPARE(absent.status(), 0);
        QCOMPARE(absent.state(), false);
        QCOMPARE(absent.pairList(), PairList());
        QCOMPARE(absent.scanResults(), ScanResults());

        m_daemon->answer("status", { "not a number" });
        QCOMPARE(m_proxy->status(), 0);
        m_daemon->answer("scanResults", { QVariant::fromValue(PairList{ { { 7, "x", 4 } } }) });
        QCOMPARE(m_proxy->scanResults(), ScanResults());
        m_daemon->answer("pairList", { "x" });
        QCOMPARE(m_proxy->pairList(), PairList());
    }

    void settersWrite()
    {
        m_proxy->setMyAddress(7);
        m_proxy->setMyName("Zürich");
        m_proxy->setWifedsConnected(QString());
        m_proxy->setState(true);
        QStringList written;
        for (const ScriptedDaemon::Call& call : m_daemon->takeCalls()) {
            const QVariant value = call.arguments.at(2).value<QDBusVariant>().variant();
            QCOMPARE(call.member, "Set");
            QCOMPARE(call.arguments.at(0), QVariant(Interface));
            written << QString("%1 %2 %3")
                           .arg(call.arguments.at(1).toString(), value.typeName(), value.toString());
        }
        QCOMPARE(written,
                 (QStringList{ "myAddress qulonglong 7", "myName QString Zürich", "wifedsConnected QString ",
                               "state bool true" }));
    }

private:
    PrivateSystemBus m_bus;
    std::unique_ptr<ScriptedDaemon> m_daemon;
    std::unique_ptr<BluetoothIf> m_proxy;
};

QTEST_GUILESS_MAIN(ProxyTest)
#include "ProxyTest.moc"
