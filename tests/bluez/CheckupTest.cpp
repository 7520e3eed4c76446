#include "BluezFixture.h"
#include "support/Programs.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>

namespace {

/// What is so on the machine, for a moment: files, and what bluetoothd has.
struct Machine
{
    FakeBluez& bluez;
    QDir root;

    void write(const QString& path, const QByteArray& content) const
    {
        root.mkpath(QFileInfo(path).path());
        QFile file(root.filePath(path));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    void rfkill(const QByteArray& soft, const QByteArray& hard, const QByteArray& type = "bluetooth") const
    {
        write("sys/class/rfkill/rfkill0/type", type + '\n');
        write("sys/class/rfkill/rfkill0/name", "hci0\n");
        write("sys/class/rfkill/rfkill0/soft", soft + '\n');
        write("sys/class/rfkill/rfkill0/hard", hard + '\n');
    }
    void settings(const QByteArray& lines) const { write("etc/bluetooth/main.conf", lines); }
    void adapter(const QVariantMap& more = {}, const QString& path = "/org/bluez/hci0") const
    {
        QVariantMap properties{ { "UUIDs", QStringList{ "0000110a-0000-1000-8000-00805f9b34fb" } } };
        for (auto one = more.begin(); one != more.end(); ++one) {
            properties.insert(one.key(), one.value());
        }
        bluez.addAdapter(path, properties);
    }
};

using Scene = std::function<void(const Machine&)>;

} // namespace

Q_DECLARE_METATYPE(Scene)

/// bluezradio --check.
class CheckupTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void finds_data()
    {
        const Rows<Scene, QString, QString, int> row("scene", "wanted", "line", "status");
        const auto fine = [](const Machine& machine) {
            machine.bluez.appear();
            machine.adapter();
        };
        const auto with = [fine](const Scene& more) {
            return Scene([fine, more](const Machine& machine) {
                fine(machine);
                more(machine);
            });
        };
        row("all is fine", fine, "", "fine   adapter: hci0 00:", 0);
        row(
            "nobody", [](const Machine&) {}, "", "fault  bluetoothd: it does not run\n       systemctl start",
            3);
        row(
            "does not answer",
            [](const Machine& machine) {
                machine.bluez.appear();
                machine.bluez.answer("ObjectManager.GetManagedObjects", {});
            },
            "", "fault  bluetoothd: it does not answer: ", 3);
        row(
            "not allowed",
            [](const Machine& machine) {
                machine.bluez.appear();
                machine.bluez.answer("ObjectManager.GetManagedObjects",
                                     "org.freedesktop.DBus.Error.AccessDenied");
            },
            "", "fault  bluetoothd: this user may not speak to it\n       be root", 3);
        row(
            "no adapter", [](const Machine& machine) { machine.bluez.appear(); }, "",
            "fault  adapter: the machine has none", 3);
        row(
            "the kernel's alone",
            [](const Machine& machine) {
                machine.bluez.appear();
                machine.write("sys/class/bluetooth/hci0/type", {});
            },
            "", "fault  adapter: the kernel has hci0, bluetoothd does not", 3);
        row("two of them", with([](const Machine& machine) { machine.adapter({}, "/org/bluez/hci1"); }),
            "hci1", "hci1 00:", 0);
        row(
            "the lowest of many",
            [](const Machine& machine) {
                machine.bluez.appear();
                machine.adapter({}, "/org/bluez/hci10");
                machine.adapter({}, "/org/bluez/hci2");
            },
            "", "hci2 00:AA:01:00:00:42 \"machine\": off; it is the one that is taken", 0);
        row("seen by others", with([](const Machine& machine) {
                machine.bluez.change("/org/bluez/hci0", "Adapter1",
                                     { { "Powered", true }, { "Discoverable", true } });
            }),
            "", "\"machine\": on, visible to others; it is the one that is taken", 0);
        row("off, and seen by nobody", with([](const Machine& machine) {
                machine.bluez.change("/org/bluez/hci0", "Adapter1", { { "Discoverable", true } });
            }),
            "", "\"machine\": off; it is the one that is taken", 0);
        row("not that one", fine, "hci7", "fault  adapter: hci7 is not there\n       plug it in, or choose",
            3);
        row("looks around", with([](const Machine& machine) {
                machine.bluez.change("/org/bluez/hci0", "Adapter1", { { "Discovering", true } });
            }),
            "", "another program looks for devices", 0);
        row(
            "no sound",
            [](const Machine& machine) {
                machine.bluez.appear();
                machine.adapter({ { "UUIDs", QStringList() } });
            },
            "", "note   audio: no program offers audio", 1);
        row("blocked", with([](const Machine& machine) { machine.rfkill("1", "0"); }), "",
            "fault  rfkill: hci0 is blocked\n       rfkill unblock bluetooth", 3);
        row("blocked by a switch", with([](const Machine& machine) { machine.rfkill("1", "1"); }), "",
            "fault  rfkill: hci0 is blocked by a switch", 3);
        row("something else is blocked",
            with([](const Machine& machine) { machine.rfkill("1", "0", "wlan"); }), "",
            "fine   rfkill: nothing is blocked", 0);
        row("settings", with([](const Machine& machine) {
                machine.settings(
                    "[General]\nJustWorksRepairing = always\nPrivacy=device\n[Policy]\nAutoEnable=true\n");
            }),
            "", "note   main.conf: JustWorksRepairing=always: ", 1);
        row("always pairable",
            with([](const Machine& machine) { machine.settings("[General]\nAlwaysPairable = true\n"); }), "",
            "note   main.conf: AlwaysPairable=true: devices may ask", 1);
        row("privacy", with([](const Machine& machine) { machine.settings("[General]\nPrivacy=device\n"); }),
            "", "note   main.conf: Privacy=device: ", 1);
        row("presets that are written down", with([](const Machine& machine) {
                machine.settings("[General]\nJustWorksRepairing = never\n#Privacy = device\nPrivacy=off\n");
            }),
            "", "fine   main.conf: no setting that bites", 0);
        row("settings of a group",
            with([](const Machine& machine) { machine.settings("[Policy]\nAutoEnable=true\n"); }), "",
            "fine   main.conf: AutoEnable=true: ", 0);
        row("harmless settings", with([](const Machine& machine) {
                machine.settings("[General]\nName = x\nAlwaysPairable=false\n[Policy]\nAutoEnable=false\n");
            }),
            "", "fine   main.conf: ", 0);
        row("a name that steers terminals", with([](const Machine& machine) {
                machine.bluez.change("/org/bluez/hci0", "Adapter1", { { "Alias", "\x1b[2J" } });
            }),
            "", "\\x1b[2J\": off", 0);
    }

    void finds()
    {
        QFETCH(Scene, scene);
        QFETCH(QString, line);
        const QTemporaryDir root;
        scene({ *m_bluez, QDir(root.path()) });
        QFETCH(QString, wanted);
        const QByteArray told = check({}, root.path(), wanted);
        QVERIFY2(told.contains(line.toUtf8()), told.constData());
        QTEST(m_status, "status");
        for (const QString& call : m_bluez->calls()) { // it looks, and touches nothing
            QCOMPARE(call, "ObjectManager.GetManagedObjects");
        }
    }

    void knowsProgramsByName()
    {
        const QTemporaryDir root;
        m_bluez->appear();
        m_bluez->addAdapter("/org/bluez/hci0");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_bluez->busAddress());
        QProcess other;
        other.setProcessEnvironment(environment);
        other.start("bluetoothctl", QStringList());
        QTRY_VERIFY2(check({}, root.path()).contains("note   programs: bluetoothctl is there"),
                     m_told.constData());
        other.kill();
        other.waitForFinished();
        QCOMPARE(m_status, 1);
    }

    // Others than root see the name of bluetoothd's process alone, not which file it runs.
    void tellsVersion()
    {
        const QTemporaryDir root;
        m_bluez->appear();
        std::array<char, 16> ownName{};
        prctl(PR_GET_NAME, ownName.data());
        prctl(PR_SET_NAME, "bluetoothd");
        const QString told = check({}, root.path());
        prctl(PR_SET_NAME, ownName.data());
        QVERIFY2(told.contains(QRegularExpression("fine   bluetoothd: it answers, version \\d+\\.\\d+\n")),
                 qPrintable(told));
    }

    void speaksToPrograms()
    {
        const QTemporaryDir root;
        m_bluez->appear();
        const QList<QByteArray> lines = check({ "--json" }, root.path()).trimmed().split('\n');
        QVERIFY(lines.size() > 3);
        QStringList faults;
        for (const QByteArray& line : lines) {
            const QJsonObject finding = QJsonDocument::fromJson(line).object();
            QCOMPARE(finding.keys(), (QStringList{ "level", "remedy", "subject", "text" }));
            if (finding.value("level") == "fault") {
                faults << finding.value("subject").toString();
            }
        }
        QCOMPARE(faults, QStringList{ "adapter" });
        QCOMPARE(m_status, 3);
    }

    void saysThatSettingsCannotBeRead()
    {
        const QTemporaryDir root;
        Machine{ *m_bluez, QDir(root.path()) }.settings("[General]\nPrivacy=device\n");
        const QString path = root.filePath("etc/bluetooth/main.conf");
        QVERIFY(QFile::setPermissions(path, {}));
        QVERIFY(QFile::setPermissions(root.path(), QFile::permissions("/"))); // anybody may get there
        const Finished told = run(BLUEZRADIO, { "--check" },
                                  { { { "BLUEZ_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent" },
                                      { "BLUEZ_CHECK_ROOT", root.path() } },
                                    geteuid() == 0,
                                    {} });
        QVERIFY2(told.out.contains("note   main.conf: " + path + " cannot be read"), qPrintable(told.out));
    }

    void saysThatThereIsNoBus()
    {
        const Finished told =
            run(BLUEZRADIO, { "--check" },
                { { { "BLUEZ_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent" } }, false, {} });
        QVERIFY2(told.out.contains("fault  bus: the system bus cannot be reached: "), qPrintable(told.out));
        QCOMPARE(told.status, 3);
    }

    void doesNotWaitForBusThatHangs()
    {
        const QTemporaryDir folder;
        world::MessageBus bus;
        QVERIFY(bus.start(world::MessageBus::Kind::System, folder.path()));
        kill(bus.pid(), SIGSTOP);
        siginfo_t stopped{};
        QCOMPARE(waitid(P_PID, static_cast<id_t>(bus.pid()), &stopped, WSTOPPED), 0);
        const Finished told =
            run(BLUEZRADIO, { "--check" },
                { { { "BLUEZ_SYSTEM_BUS_ADDRESS", bus.address() }, { "BLUEZ_CHECK_ROOT", folder.path() } },
                  false,
                  {} });
        kill(bus.pid(), SIGCONT);
        QVERIFY2(told.out.contains("fault  bus: it does not answer\n       systemctl restart dbus"),
                 qPrintable(told.out));
        QVERIFY(told.out.contains("fine   main.conf: "));
        QCOMPARE(told.status, 3);
    }

private:
    QByteArray check(const QStringList& options, const QString& root, const QString& wanted = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("BLUEZ_CHECK_ROOT", root);
        environment.insert("BLUEZ_ADAPTER", wanted);
        QProcess program;
        program.setProcessEnvironment(environment);
        QEventLoop loop; // in which bluetoothd answers
        connect(&program, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop,
                &QEventLoop::quit);
        program.start(BLUEZRADIO, QStringList("--check") + options);
        loop.exec();
        m_status = program.exitCode();
        m_told = program.readAllStandardOutput();
        return m_told;
    }

    int m_status = -1;
    QByteArray m_told;
};

QTEST_GUILESS_MAIN(CheckupTest)
#include "CheckupTest.moc"
