// What other binaries rely on: the library's name and symbols, the class's meta-object and its hooks.
#include "BluetoothModule.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QDBusVariant>
#include <QFile>
#include <QMetaMethod>
#include <QSet>
#include <QTest>

#include <array>

namespace {

#ifdef SANITIZED
constexpr bool IsSanitized = true;
#else
constexpr bool IsSanitized = false;
#endif

/// The dynamic symbols of a library, as C++ writes them.
QStringList symbols(const char* library, const QString& which)
{
    QStringList names;
    const QString output = run("nm", { "-D", "-C", which, library }).out;
    for (const QString& line : output.split('\n', Qt::SkipEmptyParts)) {
        names << line.mid(19); // behind the address and the kind
    }
    return names;
}

QSet<QString> toSet(const QStringList& list)
{
    return { list.begin(), list.end() };
}

} // namespace

#ifdef FRAMEWORK_HOOKS
#error "the list of the hooks is for the class alone"
#endif

class LibraryInterfaceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void slotsAreInOrder()
    {
        const QMetaObject& meta = BluetoothModule::staticMetaObject;
        QStringList found;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
            found << QString::fromLatin1(meta.method(i).methodSignature());
        }
        const QString expected =
            "resourceCheck() statUpdate() slotLastConfigLoaded() slotItemChanged(QString) "
            "onConfirmationCodeChanged(QDBusVariant) onConnectionEstablished(QDBusVariant) "
            "onMTConnectionEstablished(QDBusVariant) onMyNameChanged(QDBusVariant) "
            "onPairListChanged(QDBusVariant) onPairStateChanged(QDBusVariant) "
            "onScanResultsChanged(QDBusVariant) onScanStateChanged(QDBusVariant) "
            "onStateChanged(QDBusVariant) onStatusChanged(QDBusVariant) "
            "onHeadsetConnected(QDBusVariant) onDeviceDisconnected(QDBusVariant) "
            "onPendingPairChanged(QDBusVariant) onWifedCmdCtlSockAvailable(QDBusVariant) "
            "onWifedCmdCtlSockClosed(QDBusVariant) onServiceRegistered(QString) "
            "onServiceUnregistered(QString) cycleRadio()";
        QCOMPARE(found, expected.split(' '));
    }

    void signalValuesAreRegistered()
    {
        const QMetaObject& meta = BluetoothModule::staticMetaObject;
        for (int i = meta.methodOffset() + 4; i <= meta.methodOffset() + 18; ++i) {
            int type = -1;
            int argument = 0;
            std::array<void*, 2> arguments{ &type, &argument };
            meta.static_metacall(QMetaObject::RegisterMethodArgumentMetaType, i - meta.methodOffset(),
                                 arguments.data());
            QCOMPARE(type, qMetaTypeId<QDBusVariant>());
        }
    }

    void castsByItsOwnName()
    {
        BluetoothModule module(nullptr);
        QCOMPARE(module.qt_metacast("BluetoothModule"), static_cast<void*>(&module));
        QCOMPARE(module.qt_metacast("RegistrationModule"),
                 static_cast<void*>(static_cast<RegistrationModule*>(&module)));
        QCOMPARE(module.qt_metacast("Bluetooth"), nullptr);
    }

    void hooksAnswer()
    {
        BluetoothModule module(nullptr);
        RegistrationModule& base = module;
        QVERIFY(base.publishesItems());
        QVERIFY(base.readyToHalt());
        QVERIFY(base.runsHeadless());
    }

    void symbolsAreThoseListed_data()
    {
        const Rows<QStringList> row("found");
        const QSet<QString> framework = toSet(symbols(FRAMEWORK, "--defined-only"));
        QStringList imported;
        for (const QString& name : symbols(LIBRARY, "--undefined-only")) {
            // The sanitizer asks for more types than the code does.
            if (framework.contains(name)
                && !(IsSanitized && name.startsWith("typeinfo for ")
                     && name != "typeinfo for RegistrationModule")) {
                imported << name;
            }
        }
        // Whoever changes one of the lists changes what a device's framework has to bring along, or what the
        // device's programs find in the library.
        row("imported-symbols.txt", imported);
        row("exported-symbols.txt", symbols(LIBRARY, "--defined-only"));
    }

    void symbolsAreThoseListed()
    {
        QFETCH(const QStringList, found);
        QFile file(SYMBOL_LISTS "/" + QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QStringList listed = QString::fromLatin1(file.readAll()).split('\n', Qt::SkipEmptyParts);
        QVERIFY(listed.size() > 20);
        const QStringList lacking = (toSet(found) - toSet(listed)).values();
        QVERIFY2(lacking.isEmpty(), qPrintable("not listed: " + lacking.join("; ")));
        const QStringList gone = (toSet(listed) - toSet(found)).values();
        QVERIFY2(gone.isEmpty(), qPrintable("not in the library: " + gone.join("; ")));
    }

    void nameAndRunPath()
    {
        const QString dynamic = run("readelf", { "-d", LIBRARY }).out;
        QVERIFY(dynamic.contains("soname: [libbluetooth-wrapper.so.0]"));
        QVERIFY(dynamic.contains("[libipc.so.1]"));
        // Where the framework lies is the host's to know; an empty element would be the current folder.
        QVERIFY2(!dynamic.contains("RUNPATH") && !dynamic.contains("RPATH"), qPrintable(dynamic));
    }
};

// A module leaves its bus watcher behind, by intent. The name is the sanitizer's.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:BluetoothModule::BluetoothModule";
}

int main(int argc, char** argv)
{
    // Constructed modules are to see no bus, least of all the machine's.
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    const QCoreApplication application(argc, argv);
    LibraryInterfaceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "LibraryInterfaceTest.moc"
