#include "client/KELClientInterface.h"
#include "support/PrivateBus.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString Lamps = "tov.base.lamps";
const QString Brightness = ":config:lamps:lamp:brightness: ";
// What was built with a sanitizer is linked with it.
const QString Flags = SANITIZER_FLAGS;

/// The next line of output that begins with a text.
QString lineOf(QProcess& process, const QString& beginning)
{
    while (true) {
        while (process.canReadLine()) {
            QString line = QString::fromUtf8(process.readLine()).trimmed();
            if (line.startsWith(beginning)) {
                return line;
            }
        }
        if (!process.waitForReadyRead()) {
            return QString("no line \"%1\"").arg(beginning);
        }
    }
}

} // namespace

/// What is installed is all that a program outside of this repository needs.
class PackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        qputenv("XDG_DATA_HOME", path("data").toUtf8());
        QFile document(DOCUMENT);
        QVERIFY2(document.open(QIODevice::ReadOnly), DOCUMENT);
        m_document = QString::fromUtf8(document.readAll())
                         .replace("build/release", BUILD_FOLDER)
                         .replace("PREFIX", path("prefix"));
        const QStringList installing =
            m_document.split('\n').filter(QRegularExpression("^    cmake --install "));
        QVERIFY(!installing.isEmpty());
        QVERIFY(!printed("sh", { "-ec", installing.join('\n') }).isEmpty());
    }

    void examplesBuildAndRun()
    {
        QVERIFY(!printed("cmake",
                         { "-G", "Ninja", "-S", EXAMPLES, "-B", path("build"),
                           "-DCMAKE_PREFIX_PATH=" + path("prefix"), "-DCMAKE_CXX_FLAGS=" + Flags })
                     .isEmpty());
        QVERIFY(!printed("cmake", { "--build", path("build") }).isEmpty());

        QProcess lamp;
        startLamp(lamp);
        QProcess follower;
        follower.start(path("build/follow-list/follow_list"), { Lamps, "bright*" });
        QCOMPARE(lineOf(follower, Brightness), Brightness + "50");
        const KELClientInterface client(Lamps, QDBusConnection::sessionBus());
        QVERIFY(client.trigger("off", QString()));
        QCOMPARE(lineOf(follower, Brightness), Brightness + '0');
        QVERIFY(!client.set("brightness", 101));

        // The next lamp is as bright as this one was, and is followed without another word.
        QVERIFY(client.set("brightness", 80));
        QCOMPARE(lineOf(follower, Brightness), Brightness + "80");
        lamp.kill();
        lamp.waitForFinished();
        QCOMPARE(lineOf(follower, Lamps), Lamps + " left");
        startLamp(lamp);
        QCOMPARE(lineOf(follower, Brightness), Brightness + "80");
        for (QProcess* process : { &follower, &lamp }) {
            process->kill();
            process->waitForFinished();
        }
    }

    void pkgConfigLeadsToEveryHeaderAndToTheLibrary()
    {
        const QStringList headers = QDir(path("prefix/include/ipc")).entryList({ "*.h" });
        QVERIFY2(headers.contains("KELClientInterface.h"), qPrintable(headers.join(' ')));
        QFile source(path("main.cpp"));
        QVERIFY(source.open(QIODevice::WriteOnly));
        for (const QString& header : headers) {
            source.write(QString("#include <ipc/%1>\n").arg(header).toUtf8());
        }
        source.write("#include <cstdio>\nint main() { std::printf(\"%s %s\", "
                     "ipc::ItemServer::staticMetaObject.className(),"
                     " KELClientInterface::staticMetaObject.className()); }\n");
        source.close();

        // As it is written for a program without CMake, but by the compiler and with the sanitizer of this
        // build.
        const QString commands = m_document.section("\nWithout CMake:\n\n", 1).section("\n\n", 0, 0);
        QVERIFY2(commands.contains("    c++ "), qPrintable(commands));
        const QString compiler = QString("    %1 %2 ").arg(COMPILER, Flags);
        QCOMPARE(printed("sh", { "-ec", QString(commands).replace("    c++ ", compiler) }),
                 "ipc::ItemServer KELClientInterface");
    }

    void pathOfTheLibraryIsInProgramsOnlyWhereItIsNeeded_data()
    {
        const Rows<QString, bool> row("prefix", "needed");
        row("/usr", "/usr", false);
        row("/usr/local", "/usr/local", false);
        row("below /usr", "/usr/lib/devkit", true);
        row("/opt", "/opt/devkit", true);
    }

    void pathOfTheLibraryIsInProgramsOnlyWhereItIsNeeded()
    {
        QFETCH(const QString, prefix);
        QFETCH(const bool, needed);
        const QTemporaryDir root;
        qputenv("DESTDIR", root.path().toUtf8());
        const QString installed =
            printed("cmake", { "--install", BUILD_FOLDER, "--prefix", prefix, "--component", "ipc-dev" });
        qunsetenv("DESTDIR");
        QVERIFY(!installed.isEmpty());
        qputenv("PKG_CONFIG_PATH", (root.path() + prefix + "/lib/pkgconfig").toUtf8());
        const QString libraries = printed("pkg-config", { "--libs", "ipc" });
        qunsetenv("PKG_CONFIG_PATH");
        QVERIFY(libraries.contains("-lipc"));
        QVERIFY2(libraries.contains("-rpath") == needed, qPrintable(libraries));
    }

private:
    [[nodiscard]] QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    /// Runs a program to its end. @return what it printed; nothing when it failed, which is a test failure.
    [[nodiscard]] QString printed(const QString& program, const QStringList& arguments) const
    {
        const Finished finished = run(program, arguments, { {}, false, m_folder.path() });
        if (finished.status == 0) {
            return finished.out.isEmpty() ? "done" : finished.out.trimmed();
        }
        qWarning().noquote() << program << arguments.join(' ') << finished.out << finished.err;
        return {};
    }

    void startLamp(QProcess& lamp) const
    {
        QDBusServiceWatcher watcher(Lamps, QDBusConnection::sessionBus(),
                                    QDBusServiceWatcher::WatchForRegistration);
        QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
        lamp.start(path("build/module/lamp"), QStringList());
        QVERIFY2(registered.wait(), lamp.readAllStandardError().constData());
    }

    QTemporaryDir m_folder;
    QString m_document; // with this build and the installed tree in it
    PrivateSessionBus m_bus;
};

QTEST_GUILESS_MAIN(PackageTest)
#include "PackageTest.moc"
