// What other binaries rely on: the library's name and symbols, the class's virtual table and its meta-object.
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
    for (const QString& line : output.split('\n', Qt::SkipEmptyParts))
        names << line.mid(19); // behind the address and the kind
    return names;
}

QSet<QString> toSet(const QStringList& list)
{
    return { list.begin(), list.end() };
}

} // namespace

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
        QVERIFY(base.HOOK_A());
        QVERIFY(base.HOOK_F());
        QVERIFY(base.HOOK_J());
    }

    void virtualTableIsInOrder()
    {
        QFile file(CLASS_LAYOUT);
        if (!file.open(QIODevice::ReadOnly))
            // NOLINTNEXTLINE(clang-diagnostic-gnu-zero-variadic-macro-arguments): QSKIP takes no more
            QSKIP("this compiler does not tell how it lays out classes");
        const QString layout = QString::fromLatin1(file.readAll());
        const QString table = layout.section("\nVtable for BluetoothModule\n", 1).section("\n\n", 0, 0);
        QStringList found;
        for (const QString& line : table.split('\n').mid(3))
            found << line.section(')', -1);
        const QString expected =
            "BluetoothModule::metaObject BluetoothModule::qt_metacast BluetoothModule::qt_metacall "
            "BluetoothModule::~BluetoothModule BluetoothModule::~BluetoothModule QObject::event "
            "QObject::eventFilter RegistrationModule::timerEvent QObject::childEvent "
            "QObject::customEvent QObject::connectNotify QObject::disconnectNotify "
            "ServerModule::dbusAddress BluetoothModule::publishesItems RegistrationModule::haltaction "
            "ServerModule::addedToRegistrationModule BluetoothModule::aboutToLoadConfig "
            "BluetoothModule::aboutToSaveConfig BluetoothModule::configSaved "
            "BluetoothModule::busNameTaken ServerModule::validateAndApply "
            "ServerModule::isLastConfigShared ServerModule::loadConfigurationFile "
            "ServerModule::saveConfigurationFile ServerModule::halt BluetoothModule::readyToHalt "
            "BluetoothModule::slotLastConfigLoaded BluetoothModule::firstClientSeen "
            "ServerModule::computeSaveConfigIds BluetoothModule::saveConfigIdsComputed "
            "BluetoothModule::aboutToExit RegistrationModule::exitTimeout "
            "RegistrationModule::startQView BluetoothModule::runsHeadless";
        QCOMPARE(found, expected.split(' '));
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
                     && name != "typeinfo for RegistrationModule"))
                imported << name;
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

    void sonameIsFixed()
    {
        const QString dynamic = run("readelf", { "-d", LIBRARY }).out;
        QVERIFY(dynamic.contains("soname: [libbluetooth-wrapper.so.0]"));
        QVERIFY(dynamic.contains("[libipc.so.1]"));
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
