#include "client/KELClientInterface.h"
#include "world/MessageBus.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

/// What is installed is all that a program outside of this repository needs.
class PackageTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void examplesBuildAndRun();
    void pkgConfigLeadsToEveryHeader();

private:
    [[nodiscard]] QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    /// Runs a program to its end. @return what it printed; nothing when it failed, which is a test failure.
    [[nodiscard]] QString run(const QString& program, const QStringList& arguments) const;
    [[nodiscard]] QString findFile(const QString& name) const;
    void startLamp(QProcess& lamp) const;

    QTemporaryDir m_folder;
    world::MessageBus m_bus;
};

namespace {

constexpr int PatienceMilliseconds = 100'000;
const QString Lamps = QStringLiteral("tov.base.lamps");
const QString Brightness = QStringLiteral(":config:lamps:lamp:brightness: ");
// What was built with a sanitizer is linked with it.
const QString Flags = QStringLiteral(SANITIZER_FLAGS);

/// The next line of output that begins with a text.
QString lineOf(QProcess& process, const QString& beginning)
{
    while (true) {
        while (process.canReadLine()) {
            QString line = QString::fromUtf8(process.readLine()).trimmed();
            if (line.startsWith(beginning))
                return line;
        }
        if (!process.waitForReadyRead())
            return QStringLiteral("no line \"%1\"").arg(beginning);
    }
}

} // namespace

QString PackageTest::run(const QString& program, const QStringList& arguments) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setWorkingDirectory(m_folder.path());
    process.start(program, arguments);
    const bool ended = process.waitForFinished(PatienceMilliseconds);
    const QString output = QString::fromUtf8(process.readAll());
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return output.isEmpty() ? QStringLiteral("done") : output.trimmed();
    qWarning().noquote() << program << arguments.join(QLatin1Char(' ')) << process.errorString() << output;
    return {};
}

void PackageTest::initTestCase()
{
    const QString error = m_bus.start(world::MessageBus::Kind::Session, m_folder.path());
    QVERIFY2(error.isEmpty(), qPrintable(error));
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toUtf8());
    qputenv("XDG_DATA_HOME", path("data").toUtf8());
    for (const char* component : { "ipc", "ipc-dev" }) {
        QVERIFY(!run(QStringLiteral("cmake"),
                     { QStringLiteral("--install"), QStringLiteral(BUILD_FOLDER), QStringLiteral("--prefix"),
                       path("prefix"), QStringLiteral("--component"), QLatin1String(component) })
                     .isEmpty());
    }
}

void PackageTest::cleanupTestCase()
{
    m_bus.stop();
}

void PackageTest::startLamp(QProcess& lamp) const
{
    QDBusServiceWatcher watcher(Lamps, QDBusConnection::sessionBus(),
                                QDBusServiceWatcher::WatchForRegistration);
    QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
    lamp.start(path("build/module/lamp"), QStringList());
    QVERIFY2(registered.wait(), lamp.readAllStandardError().constData());
}

void PackageTest::examplesBuildAndRun()
{
    QVERIFY(
        !run(QStringLiteral("cmake"),
             { QStringLiteral("-G"), QStringLiteral("Ninja"), QStringLiteral("-S"), QStringLiteral(EXAMPLES),
               QStringLiteral("-B"), path("build"), QStringLiteral("-DCMAKE_PREFIX_PATH=") + path("prefix"),
               QStringLiteral("-DCMAKE_CXX_FLAGS=") + Flags })
             .isEmpty());
    QVERIFY(!run(QStringLiteral("cmake"), { QStringLiteral("--build"), path("build") }).isEmpty());

    QProcess lamp;
    startLamp(lamp);
    QProcess follower;
    follower.start(path("build/follow-list/follow_list"), { Lamps, QStringLiteral("bright*") });
    QCOMPARE(lineOf(follower, Brightness), Brightness + QLatin1String("50"));
    const KELClientInterface client(Lamps, QDBusConnection::sessionBus());
    QVERIFY(client.trigger(QStringLiteral("off"), QString()));
    QCOMPARE(lineOf(follower, Brightness), Brightness + QLatin1Char('0'));
    QVERIFY(!client.set(QStringLiteral("brightness"), 101));

    // The next lamp is as bright as this one was, and is followed without another word.
    QVERIFY(client.set(QStringLiteral("brightness"), 80));
    QCOMPARE(lineOf(follower, Brightness), Brightness + QLatin1String("80"));
    lamp.kill();
    lamp.waitForFinished();
    QCOMPARE(lineOf(follower, Lamps), Lamps + QLatin1String(" left"));
    startLamp(lamp);
    QCOMPARE(lineOf(follower, Brightness), Brightness + QLatin1String("80"));
    for (QProcess* process : { &follower, &lamp }) {
        process->kill();
        process->waitForFinished();
    }
}

void PackageTest::pkgConfigLeadsToEveryHeader()
{
    const QStringList headers = QDir(path("prefix/include/ipc")).entryList({ QStringLiteral("*.h") });
    QVERIFY2(headers.contains(QStringLiteral("KELClientInterface.h")),
             qPrintable(headers.join(QLatin1Char(' '))));
    QFile source(path("all.cpp"));
    QVERIFY(source.open(QIODevice::WriteOnly));
    for (const QString& header : headers)
        source.write(QStringLiteral("#include <ipc/%1>\n").arg(header).toUtf8());
    source.write("#include <cstdio>\nint main() { std::printf(\"%s %s\", "
                 "ipc::ItemServer::staticMetaObject.className(),"
                 " KELClientInterface::staticMetaObject.className()); }\n");
    source.close();

    qputenv("PKG_CONFIG_PATH", QFileInfo(findFile(QStringLiteral("ipc.pc"))).path().toUtf8());
    const QString flags =
        run(QStringLiteral("pkg-config"),
            { QStringLiteral("--cflags"), QStringLiteral("--libs"), QStringLiteral("ipc") });
    QVERIFY(!flags.isEmpty());
    const QString library = QFileInfo(findFile(QStringLiteral("libipc.so.1"))).path();
    QStringList arguments{ QStringLiteral("-std=c++17"), QStringLiteral("-fPIC"), source.fileName() };
    arguments << (flags + QLatin1Char(' ') + Flags).split(QLatin1Char(' '), Qt::SkipEmptyParts)
              << QStringLiteral("-Wl,-rpath,") + library << QStringLiteral("-o") << path("all");
    QVERIFY(!run(QStringLiteral(COMPILER), arguments).isEmpty());
    QCOMPARE(run(path("all"), {}), QStringLiteral("ipc::ItemServer KELClientInterface"));
}

QString PackageTest::findFile(const QString& name) const
{
    // Below lib or lib/TRIPLET, as the machine has it.
    QDirIterator found(path("prefix"), { name }, QDir::Files, QDirIterator::Subdirectories);
    return found.hasNext() ? found.next() : QString();
}

QTEST_GUILESS_MAIN(PackageTest)
#include "PackageTest.moc"
