#include "BluetoothIf.h"
#include "support/InterfaceDescription.h"
#include "support/PrivateSystemBus.h"

#include <QDBusVirtualObject>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QMutex>
#include <QThread>
#include <QtTest>

namespace {

const QString Interface = QStringLiteral("com.qarn.bluetooth");
const QString Path = QStringLiteral("/com/qarn/Bluetooth");

// Stands where the daemon stands: keeps every call, answers property reads with what the test put there.
class Peer : public QDBusVirtualObject
{
public:
    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QMutexLocker locker(&m_mutex);
        m_calls.append(message);
        const QVariant value = m_values.value(message.arguments().value(1).toString());
        QDBusMessage reply = message.createReply();
        if (message.member() == QLatin1String("Get")) {
            reply = value.isValid() ? message.createReply(QVariant::fromValue(QDBusVariant(value)))
                                    : message.createErrorReply(QDBusError::UnknownProperty, QString());
        }
        return connection.send(reply);
    }

    QList<QDBusMessage> takeCalls()
    {
        const QMutexLocker locker(&m_mutex);
        return std::exchange(m_calls, {});
    }

    void setValue(const QString& property, const QVariant& value)
    {
        const QMutexLocker locker(&m_mutex);
        m_values.insert(property, value);
    }

private:
    QMutex m_mutex;
    QList<QDBusMessage> m_calls;
    QVariantMap m_values;
};

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
        lines << QString::fromLatin1(method.name()) + QLatin1Char('(') + arguments.join(QLatin1String(", "))
                + QLatin1Char(')');
    }
    return lines;
}

} // namespace

class ProxyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init() { m_peer->takeCalls(); }
    void matchesTheInterfaceDescription();
    void callsWithoutWaiting_data();
    void callsWithoutWaiting();
    void readsProperties_data();
    void readsProperties();
    void readsDefaultsWhereThereIsNothing();
    void writesProperties_data();
    void writesProperties();

private:
    PrivateSystemBus m_bus;
    QThread m_daemonThread; // a property read blocks the client's thread
    Peer* m_peer = nullptr;
    QScopedPointer<BluetoothIf> m_proxy;
};

void ProxyTest::initTestCase()
{
    QCOMPARE(m_bus.start(), QString());
    registerDaemonTypes();
    m_peer = new Peer;
    m_peer->moveToThread(&m_daemonThread);
    QObject::connect(&m_daemonThread, &QThread::finished, m_peer, &QObject::deleteLater);
    m_daemonThread.start();
    QDBusConnection daemon = QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("daemon"));
    QVERIFY(daemon.registerVirtualObject(Path, m_peer));
    m_proxy.reset(new BluetoothIf(daemon.baseService(), Path, QDBusConnection::systemBus(), nullptr));
}

void ProxyTest::cleanupTestCase()
{
    m_proxy.reset();
    m_daemonThread.quit();
    m_daemonThread.wait();
}

void ProxyTest::matchesTheInterfaceDescription()
{
    const auto described = InterfaceDescription::ofFile(QStringLiteral(INTERFACE_XML), Interface);
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
        properties << QStringLiteral("%1 %2 %3")
                          .arg(QLatin1String(property.isWritable() ? "readwrite" : "read"),
                               QLatin1String(property.typeName()), QLatin1String(property.name()));
    }
    QCOMPARE(properties, described.propertyLines);
    QCOMPARE(meta.className(), "BluetoothIf");
    QCOMPARE(m_proxy->interface(), Interface);
}

void ProxyTest::callsWithoutWaiting_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    for (const QString& line : ownMethods(QMetaMethod::Slot)) {
        const QString name = line.section(QLatin1Char('('), 0, 0);
        if (line.contains(QLatin1String("qulonglong"))) {
            QTest::newRow(qPrintable(name)) << name << QVariantList{ 0xFFFF123456789ABCULL };
        } else if (line.contains(QLatin1String("QString"))) {
            QTest::newRow(qPrintable(name)) << name << QVariantList{ QStringLiteral("Zürich 7") };
            QTest::newRow(qPrintable(name + QLatin1String(", empty"))) << name << QVariantList{ QString() };
        } else {
            QTest::newRow(qPrintable(name)) << name << QVariantList();
        }
    }
}

void ProxyTest::callsWithoutWaiting()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);

    QDBusPendingReply<> reply;
    const QByteArray member = method.toLatin1();
    const QGenericReturnArgument result("QDBusPendingReply<>", &reply);
    if (arguments.isEmpty()) {
        QVERIFY(QMetaObject::invokeMethod(m_proxy.data(), member.constData(), result));
    } else if (arguments.first().type() == QVariant::String) {
        QVERIFY(QMetaObject::invokeMethod(m_proxy.data(), member.constData(), result,
                                          Q_ARG(QString, arguments.first().toString())));
    } else {
        QVERIFY(QMetaObject::invokeMethod(m_proxy.data(), member.constData(), result,
                                          Q_ARG(qulonglong, arguments.first().toULongLong())));
    }
    reply.waitForFinished();
    QVERIFY2(reply.isValid(), qPrintable(reply.error().message()));
    const QList<QDBusMessage> calls = m_peer->takeCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().member(), method);
    QCOMPARE(calls.first().interface(), Interface);
    QCOMPARE(calls.first().arguments(), arguments);
    QCOMPARE(calls.first().signature(),
             QString::fromLatin1(
                 arguments.isEmpty() ? "" : QDBusMetaType::typeToSignature(arguments.first().userType())));
}

void ProxyTest::readsProperties_data()
{
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("sent");
    QTest::addColumn<QVariant>("read");

    const auto same = [](const char* property, const QVariant& value) {
        QTest::newRow(property) << QString::fromLatin1(property) << value << value;
    };
    same("confirmationCode", QStringLiteral("000042"));
    same("myAddress", 0xFFFFFFFFFFFFFFFFULL);
    same("pairState", 100);
    same("state", true);
    const ScanResults scan{ { { 7, -3, QStringLiteral("x") }, { 8, -4, {} } } };
    const PairList pairs{ { { 7, QStringLiteral("x"), 4 } } };
    same("scanResults", QVariant::fromValue(scan));
    same("pairList", QVariant::fromValue(pairs));
    QTest::newRow("a list of another shape")
        << "scanResults" << QVariant::fromValue(pairs) << QVariant::fromValue(ScanResults());
    QTest::newRow("a text for a list")
        << "pairList" << QVariant(QStringLiteral("x")) << QVariant::fromValue(PairList());
}

void ProxyTest::readsProperties()
{
    QFETCH(QString, property);
    QFETCH(QVariant, sent);
    QFETCH(QVariant, read);

    m_peer->setValue(property, sent);
    if (read.userType() == qMetaTypeId<ScanResults>()) {
        QCOMPARE(m_proxy->scanResults(), read.value<ScanResults>());
    } else if (read.userType() == qMetaTypeId<PairList>()) {
        QCOMPARE(m_proxy->pairList(), read.value<PairList>());
    } else {
        QCOMPARE(m_proxy->property(property.toLatin1().constData()), read);
    }
}

void ProxyTest::readsDefaultsWhereThereIsNothing()
{
    const BluetoothIf absent(QStringLiteral("com.qarn.bluetooth"), Path, QDBusConnection::systemBus(),
                             nullptr);
    QCOMPARE(absent.confirmationCode(), QString());
    QCOMPARE(absent.myAddress(), 0ULL);
    QCOMPARE(absent.status(), 0);
    QCOMPARE(absent.state(), false);
    QCOMPARE(absent.pairList(), PairList());
    QCOMPARE(absent.scanResults(), ScanResults());

    m_peer->setValue(QStringLiteral("status"), QStringLiteral("not a number"));
    QCOMPARE(m_proxy->status(), 0);
}

void ProxyTest::writesProperties_data()
{
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("t") << "myAddress" << QVariant(0x123456789ABCULL);
    QTest::newRow("s") << "myName" << QVariant(QStringLiteral("Zürich"));
    QTest::newRow("another s") << "wifedsConnected" << QVariant(QString());
    QTest::newRow("b") << "state" << QVariant(true);
}

void ProxyTest::writesProperties()
{
    QFETCH(QString, property);
    QFETCH(QVariant, value);

    QVERIFY(m_proxy->setProperty(property.toLatin1().constData(), value));
    const QList<QDBusMessage> calls = m_peer->takeCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().member(), QStringLiteral("Set"));
    const QVariantList arguments = calls.first().arguments();
    QCOMPARE(arguments.at(0).toString(), Interface);
    QCOMPARE(arguments.at(1).toString(), property);
    const QVariant written = arguments.at(2).value<QDBusVariant>().variant();
    QCOMPARE(written, value);
    QCOMPARE(written.userType(), value.userType());
}

QTEST_GUILESS_MAIN(ProxyTest)
#include "ProxyTest.moc"
