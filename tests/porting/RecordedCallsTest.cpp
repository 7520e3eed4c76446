// The module between a framework that writes down what it is asked for and a daemon that does the same: the
// order, the doubled writes, the flags and the null texts that no client of the items can see. Each test's
// table stands in "recorded"; RECORDED_CALLS_TO names a folder that takes what is found.
#include "BluetoothModule.h"
#include "SystemFunctions.h"
#include "support/PrivateBus.h"
#include "support/PrivateView.h"
#include "support/ScriptedDaemon.h"

#include <QAbstractEventDispatcher>
#include <QDBusAbstractInterface>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTest>
#include <QTranslator>

#include <csignal>
#include <memory>

namespace {

using recording::record;
using namespace std::string_literals;

const QString DaemonName = "com.qarn.bluetooth";
const QString MarkerFile = "/tmp/bluelock_shutdown";
constexpr qulonglong Address = 0x123456789ABC;

void recordMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    // Quoted anew, so that a blank at an end is seen.
    record(type == QtDebugMsg ? "debug:" : "warning:", '[' + text + ']');
}

// Members that nothing shows: what an explicit instantiation names need not be public.
struct Watcher
{
    using Type = QDBusServiceWatcher* BluetoothModule::*;
    friend Type member(Watcher /*of*/);
};
struct LoanMode
{
    using Type = int BluetoothModule::*;
    friend Type member(LoanMode /*of*/);
};
struct Inhibition
{
    using Type = bool BluetoothModule::*;
    friend Type member(Inhibition /*of*/);
};
template <typename Tag, typename Tag::Type Member>
struct Shown
{
    friend typename Tag::Type member(Tag /*of*/) { return Member; }
};
template struct Shown<Watcher, &BluetoothModule::serviceWatcher>;
template struct Shown<LoanMode, &BluetoothModule::lockRequestValue>;
template struct Shown<Inhibition, &BluetoothModule::radioSwitchInhibited>;

/// Shows which texts are translated.
class Marking : public QTranslator
{
public:
    QString translate(const char* context, const char* text, const char* /*remark*/,
                      int /*count*/) const override
    {
        return QLatin1String(context) == QLatin1String("BluetoothModule") ? "tr:" + QString(text) : QString();
    }
    [[nodiscard]] bool isEmpty() const override { return false; }
};

/// Three lines for each row of a list; rows that go on as the ones before are told by the last of them.
QStringList folded(const QStringList& lines)
{
    static const QRegularExpression row(":(\\d+)\"");
    const auto block = [&](int at) {
        const QString number = row.match(lines.value(at)).captured(1);
        QStringList three = lines.mid(at, 3);
        return number.isEmpty() ? QString() : three.replaceInStrings(':' + number + '"', ":N\"").join('\n');
    };
    QStringList result;
    for (int at = 0; at < lines.size();) {
        const QString first = block(at);
        int next = at + 3;
        int number = row.match(lines[at]).captured(1).toInt();
        while (!first.isEmpty() && block(next) == first
               && row.match(lines[next]).captured(1).toInt() == number + 1) {
            next += 3;
            ++number;
        }
        if (next == at + 3) {
            result << lines[at++];
            continue;
        }
        result << lines.mid(at, 3) << QString("  and so on to :%1").arg(number);
        at = next;
    }
    return result;
}

} // namespace

class RecordedCallsTest : public QObject
{
    Q_OBJECT

public:
    explicit RecordedCallsTest(const QString& busAddress)
        : m_daemon(busAddress)
    {
        QDBusConnection::systemBus().connect({}, "/com/qarn/Bluetooth", DaemonName, "fence", this,
                                             SLOT(passFence()));
        recording::before() = [this] {
            if (m_showsRequestsAtOnce) {
                recordSent();
            }
            if (const int count = proxies(); count != m_proxies) {
                recording::lines() << QString("  proxies: %1").arg(m_proxies = count);
            }
            const QStringList reads = m_daemon.takeReads();
            for (const QString& property : reads) {
                recording::lines() << "  reads " + property;
            }
        };
    }

private Q_SLOTS:
    void init()
    {
        SystemFunctions::hostName = "inst42\n";
        SystemFunctions::popenFails = SystemFunctions::fopenFails = false;
        SystemFunctions::systemStatus = SystemFunctions::unlinkError = 0;
        SystemFunctions::forked = 4711;
        SystemFunctions::areRecorded = true;
        m_daemon.takeReads();
        m_proxies = 0;
        recording::lines().clear();
        renew();
        qInstallMessageHandler(recordMessage);
    }

    void cleanup()
    {
        m_module.reset(); // whatever it does then reaches nobody
        SystemFunctions::areRecorded = false;
        qInstallMessageHandler(nullptr);
        m_daemon.leave();
    }

    void construction()
    {
        SystemFunctions::forked = 0;
        m_module = std::make_unique<BluetoothModule>(this);
        m_module->slotLastConfigLoaded();
        const QPointer<QDBusServiceWatcher> watcher = m_module.get()->*member(Watcher());
        record("watches", watcher->watchedServices().join(' '), static_cast<int>(watcher->watchMode()),
               watcher->parent() == nullptr ? "no parent" : "parent");
        step("the hooks");
        ServerModule& framework = *m_module;
        record("answer", framework.isOffered(), framework.mayEnd(),
               static_cast<RegistrationModule&>(framework).needsNoScreen());
        framework.beforeReading();
        framework.beforeWriting();
        framework.afterWriting();
        framework.nameTaken();
        framework.clientCame(1);
        framework.idsChosen();
        framework.ending();
        step("teardown");
        m_module->Enable();
        m_module.reset();
        QVERIFY(watcher);
        compare();
    }

    void daemonSignals()
    {
        const QVariantList values{ 3,
                                   99,
                                   100,
                                   -1,
                                   2U,
                                   Address,
                                   true,
                                   2.6,
                                   "text",
                                   " \t",
                                   "201",
                                   "",
                                   QString(),
                                   QByteArray("2"),
                                   "`,.\";00!a`,.\";00!",
                                   "`,.\";0`,.\";00",
                                   QStringList{ "a" },
                                   QVariantMap{ { "a", 1 } },
                                   QVariant::fromValue(QDBusArgument()) };
        for (int i = 4; i <= 18; ++i) {
            const QMetaMethod slot = BluetoothModule::staticMetaObject.method(
                BluetoothModule::staticMetaObject.methodOffset() + i);
            if (slot.name().contains("List") || slot.name().contains("Results")) {
                continue;
            }
            step(slot.name());
            for (const QVariant& value : values) {
                record(" with", value);
                QVERIFY(slot.invoke(m_module.get(), Q_ARG(QDBusVariant, QDBusVariant(value))));
            }
        }
        compare();
    }

    void daemonComes()
    {
        answerAll(201);
        QVERIFY(comes());
        // Each signal of the daemon once: which are connected, and to what.
        for (const char* signal :
             { "confirmationCodeChanged", "connectionEstablished", "mtConnectionEstablished",
               "deviceDisconnected", "headsetConnected", "myAddressChanged", "myNameChanged",
               "pairListChanged", "pendingPairChanged", "pairStateChanged", "scanResultsChanged",
               "scanStateChanged", "stateChanged", "statusChanged", "wifedCmdCtlSockAvailable",
               "wifedCmdCtlSockClosed" }) {
            step(signal);
            m_daemon.send(signal, "7");
            settle();
        }
        step("a socket event that is no text");
        m_daemon.send("wifedCmdCtlSockClosed", QVariantMap{ { "a", 1 } });
        settle();
        step("another one comes: the first proxy stays, and is used no more");
        QDBusAbstractInterface* const first = proxy();
        m_module->onServiceRegistered(DaemonName);
        QCOMPARE(m_module->findChildren<QDBusAbstractInterface*>().size(), 2);
        m_module->Scan();
        recordSent();
        step("and goes");
        m_module->onServiceUnregistered(DaemonName);
        QCOMPARE(m_module->findChildren<QDBusAbstractInterface*>(), QList<QDBusAbstractInterface*>{ first });
        m_module->Scan();
        recordSent();
        compare();
    }

    void refresh()
    {
        answerAll(0);
        QVERIFY(comes());
        for (const int state : { 0, 100, 200, 202, 50 }) {
            step("pair state " + QString::number(state));
            answerAll(state);
            m_module->statUpdate();
        }
        step("a state that settles meanwhile");
        m_daemon.answer("pairState", { 3, 3, 100 });
        m_module->statUpdate();
        step("nothing that could be converted");
        for (const char* property : { "status", "scanState", "pairState", "confirmationCode", "myName" }) {
            m_daemon.answer(property, { QStringList{ "a" } });
        }
        m_daemon.answer("scanResults", { 7 });
        m_daemon.answer("pairList", { "text" });
        m_module->statUpdate();
        step("without a daemon");
        m_module->Disable();
        recording::lines() << "  refresh";
        m_module->statUpdate();
        compare();
    }

    void lists()
    {
        PairList pairs{ { { Address, "Phone", 0 }, { 7, {}, ~0U }, { Address, "", 0 } } };
        ScanResults scan{ { { Address, -57, "Phone" }, { 7, 0, {} }, { ~0ULL, 12, "%1 %2" } } };
        step("three");
        m_module->updatePairList(&pairs);
        m_module->updateScanResults(&scan);
        for (const int count : { 31, 32, 33 }) {
            step(QString::number(count) + ", the last one connected");
            pairs.entries = QVector<PairEntry>(count, { 1, "x", 0 }).toList();
            pairs.entries.last().connectionState = 8;
            m_module->updatePairList(&pairs);
            scan.entries = QVector<ScanEntry>(count, { 1, 2, "y" }).toList();
            m_module->updateScanResults(&scan);
        }
        step("none, and no list");
        pairs.entries.clear();
        m_module->updatePairList(&pairs);
        m_module->ClearResults();
        compare();
    }

    void actions()
    {
        QSemaphore returned;
        const auto run = [&](const std::string& text) {
            for (const auto& [id, command] : m_module->commands) {
                if (id == "cycleradio") {
                    continue;
                }
                step(id);
                command();
                returned.release();
                recordSent();
            }
            for (const auto& [id, command] : m_module->textCommands) {
                if (id == "requestBluetooth") {
                    continue;
                }
                step(id + ' ' + QString::fromStdString(text).replace(QChar(0), "\\0"));
                const std::string reply = command(text);
                returned.release();
                record("reply", reply);
                recordSent();
            }
        };
        run("without a daemon");
        answerAll(0);
        QVERIFY(comes());
        returned.acquire(returned.available());
        m_daemon.answerWhen(&returned);
        run("12:34:56:78:9a:bc");
        run("12:34:56:78:9A:BC\0Kü"s);
        run("Küche");
        m_daemon.answerWhen(nullptr);
        QVERIFY2(!m_daemon.wasWaitedFor(), "a request waited for the daemon's answer");
        step("the stored PIN, twice");
        m_showsRequestsAtOnce = true; // each is sent before it is used up
        m_module->PINreply("");
        m_module->PINreply("");
        m_showsRequestsAtOnce = false;
        compare();
    }

    void enabled()
    {
        for (const char* id :
             { ":config:bluetoothlauncher:bluetooth:enabled:", ":config:x:bluetooth:enabled:",
               ":config:bluetoothlauncher:other:enabled:", "xbluetooth:enabled:",
               ":config:bluetoothlauncher:bluetooth:enabled", ":config:x:bluetooth:ENABLED:" }) {
            step(id);
            m_module->slotItemChanged(id);
        }
        step("switched on, twice, and off");
        for (const bool on : { true, true, false }) {
            m_module->setConfig("enabled", on, true);
        }
        step("inhibited");
        m_module.get()->*member(Inhibition()) = true;
        m_module->setConfig("enabled", true, true);
        m_module->setConfig("enabled", false, true);
        m_module.get()->*member(Inhibition()) = false;
        step("enableConfig, off and on");
        record("reply", m_module->enableConfig());
        m_module->config("enabled")->setValue(true, true);
        m_module->Disable();
        m_module->enableConfig();
        step("enableConfig with a daemon");
        m_module->Disable();
        answerAll(0);
        QVERIFY(comes());
        recording::lines() << "  enableConfig";
        m_module->enableConfig();
        compare();
    }

    void power()
    {
        const auto enable = [this](const char* what) {
            step(what);
            m_module->Enable();
        };
        enable("a controller");
        enable("a second one");
        m_module->Disable();
        SystemFunctions::forked = -1;
        enable("no process");
        enable("tried again");
        SystemFunctions::forked = 0;
        enable("in the child");
        renew();
        SystemFunctions::hostName = QByteArray(200, 'n') + "\n";
        enable("a long name");
        renew();
        SystemFunctions::hostName = "";
        SystemFunctions::systemStatus = 256;
        enable("an empty name, no firmware");
        renew();
        SystemFunctions::popenFails = true;
        enable("no name");
        compare();
    }

    void cycle()
    {
        m_module->commands.at("cycleradio")();
        recordTimers();
        step("the timer");
        m_module->cycleRadio();
        recordTimers();
        step("once more within the pause, and the timer that is pending then");
        for (int call = 0; call < 3; ++call) {
            m_module->cycleRadio();
            recordTimers();
        }
        step("inhibited, which counts as a flip");
        m_module.get()->*member(Inhibition()) = true;
        m_module->cycleRadio();
        m_module.get()->*member(Inhibition()) = false;
        m_module->cycleRadio();
        recordTimers();
        compare();
    }

    void loan()
    {
        for (const bool on : { false, true }) {
            m_module->setConfig("enabled", on, true);
            for (const std::string text :
                 { "812", "812,1,0", "abc,1", ",1", "", ",", "0,1", "P;1", "99999999999,1", " 5 ,+1", "5,0",
                   "812,", "812,0", "812,x", "812,2", "812,1", "77,1", "77,0" }) {
                request(text);
            }
            step("enabled, while it is lent");
            m_module->setConfig("enabled", false, true);
            m_module->setConfig("enabled", on, true);
            request("812,0");
        }
        SystemFunctions::fopenFails = true;
        SystemFunctions::unlinkError = EACCES;
        request("812,1");
        request("812,0");
        compare();
    }

    void borrowerIsWatched()
    {
        request(std::to_string(getpid()) + ",1");
        step("alive");
        m_module->resourceCheck();
        recordTimers();
        request(std::to_string(getpid()) + ",0");
        step("free");
        m_module->resourceCheck();
        recordTimers();
        request("-5,1");
        step("gone");
        m_module->resourceCheck();
        recordTimers();
        recording::lines().replaceInStrings(QString::number(getpid()), "OURS");
        compare();
    }

    void daemonGoes()
    {
        answerAll(0);
        QVERIFY(comes());
        m_module->setConfig("enabled", true, true);
        const auto leaves = [this](const QString& what, const QString& name = DaemonName) {
            step(what);
            m_module->onServiceUnregistered(name);
        };
        leaves("another name", "com.qarn.Bluetooth");
        m_module->onServiceRegistered("com.qarn.Bluetooth");
        leaves("the daemon");
        QVERIFY(QDir().mkdir(MarkerFile));
        leaves("a folder is no marker");
        QVERIFY(QDir().rmdir(MarkerFile));
        QFile marker(MarkerFile);
        QVERIFY(marker.open(QIODevice::WriteOnly));
        leaves("an orderly shutdown");
        SystemFunctions::unlinkError = EACCES;
        leaves("a marker that stays");
        m_module->RequestBluetooth("812,1");
        leaves("while the radio is lent");
        QVERIFY(marker.remove());
        compare();
    }

    void mobileApp()
    {
        for (const bool there : { true, false }) {
            KELClientInterface::isThere = there;
            for (const QVariant& value :
                 { QVariant(Address), QVariant("7"), QVariant("x"), QVariant(QVariantMap()) }) {
                record("# with", value);
                m_module->onMTConnectionEstablished(QDBusVariant(value));
                m_module->onDeviceDisconnected(QDBusVariant(value));
            }
        }
        compare();
    }

private:
    /// Another module; how it is made is told by one test alone.
    void renew()
    {
        const int before = recording::lines().size();
        m_module = std::make_unique<BluetoothModule>(this);
        recording::lines().erase(recording::lines().begin() + before, recording::lines().end());
    }

    static void step(const QString& text) { recording::lines() << "# " + text; }

    void request(const std::string& text)
    {
        step("requests " + QString::fromStdString(text));
        record("reply", m_module->RequestBluetooth(text));
        record("mode", m_module.get()->*member(LoanMode()));
        recordTimers();
    }

    /// The intervals of the single-shot timers that run, in milliseconds; they end with that.
    static void recordTimers()
    {
        QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
        const QObjectList owners = dispatcher->children();
        for (QObject* owner : owners) {
            for (const auto& timer : dispatcher->registeredTimers(owner)) {
                record("timer", timer.interval);
                dispatcher->unregisterTimer(timer.timerId);
            }
        }
    }

    void answerAll(int pairState)
    {
        m_daemon.answer("status", { 3 });
        m_daemon.answer("scanState", { 1, 2 });
        m_daemon.answer("pairState", { pairState });
        m_daemon.answer("confirmationCode", { "123456" });
        m_daemon.answer("myName", { "radio" });
        m_daemon.answer("wifedsConnected", { "a,b" });
        m_daemon.answer("scanResults", { QVariant::fromValue(ScanResults{ { { Address, -57, "Phone" } } }) });
        m_daemon.answer("pairList", { QVariant::fromValue(PairList{ { { Address, "Phone", 1 } } }) });
    }

    [[nodiscard]] int proxies() const
    {
        return m_module ? m_module->findChildren<QDBusAbstractInterface*>().size() : m_proxies;
    }

    [[nodiscard]] QDBusAbstractInterface* proxy() const
    {
        return m_module->findChild<QDBusAbstractInterface*>();
    }

    [[nodiscard]] bool comes()
    {
        step("the daemon comes");
        return m_daemon.appear() && Patience::waitFor([this] { return proxy() != nullptr; });
    }

    /// Returns when the module has handled every signal that was sent before.
    void settle()
    {
        const int fences = m_fences + 1;
        m_daemon.send("fence", 0);
        QVERIFY(Patience::waitFor([&] { return m_fences == fences; }));
    }

    void recordSent()
    {
        if (proxy() == nullptr) {
            return;
        }
        static_cast<void>(proxy()->property("myAddress")); // answered after all that was sent before
        m_daemon.takeReads();
        for (const ScriptedDaemon::Call& call : m_daemon.takeCalls()) {
            QStringList words{ "  sends", call.member, call.signature };
            for (const QVariant& argument : call.arguments) {
                words << recording::shown(argument);
            }
            recording::lines() << words.join(' ');
        }
    }

    static void compare()
    {
        recording::before()();
        const QString name = QString("%1.txt").arg(QTest::currentTestFunction());
        const QByteArray calls = folded(recording::lines()).join('\n').toUtf8() + '\n';
        QTemporaryFile found;
        QVERIFY(found.open());
        found.write(calls);
        found.flush();
        if (const QString folder = qEnvironmentVariable("RECORDED_CALLS_TO"); !folder.isEmpty()) {
            QFile kept(folder + '/' + name);
            QVERIFY(kept.open(QIODevice::WriteOnly));
            kept.write(calls);
        }
        QProcess diff;
        diff.start("diff",
                   { "-u", "--label", "expected " + name, "--label", "found", RECORDED "/" + name,
                     found.fileName() });
        QVERIFY(diff.waitForFinished());
        QVERIFY2(diff.exitCode() == 0, diff.readAll() + diff.readAllStandardError());
    }

public Q_SLOTS:
    void passFence() { ++m_fences; }

private:
    ScriptedDaemon m_daemon;
    std::unique_ptr<BluetoothModule> m_module;
    int m_fences = 0;
    bool m_showsRequestsAtOnce = false;
    int m_proxies = 0; ///< as was told last
};

// A module leaves its bus watcher behind, by intent. The name is the sanitizer's.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:BluetoothModule::BluetoothModule";
}

int main(int argc, char** argv)
{
    // The module looks for its files in /tmp.
    return runInPrivateView("/bin/true", argc, argv, [&](const world::PrivateFilesystem& /*view*/) {
        PrivateSystemBus bus;
        const QString problem = bus.start();
        if (!problem.isEmpty()) {
            qFatal("%s", qPrintable(problem));
        }
        Marking marking;
        QCoreApplication::installTranslator(&marking);
        RecordedCallsTest test(bus.address());
        return QTest::qExec(&test, argc, argv);
    });
}

#include "RecordedCallsTest.moc"
