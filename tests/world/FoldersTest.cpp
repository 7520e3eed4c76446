#include "KeptPaths.h"
#include "RuntimeFolder.h"
#include "support/Rows.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>

/// Where a world puts what it has, and which of its caller's paths stay visible below /tmp.
class FoldersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removesWhatKilledWorldsLeft()
    {
        const QTemporaryDir runtime("/var/tmp/runtime-XXXXXX");
        const auto make = [&](const char* name, int seconds) {
            const QByteArray path = QFile::encodeName(runtime.filePath(name));
            const timespec changed{ QDateTime::currentSecsSinceEpoch() - seconds, 0 };
            const std::array<timespec, 2> times{ changed, changed };
            QVERIFY(mkdir(path.constData(), S_IRWXU) == 0 && utimensat(AT_FDCWD, path, times.data(), 0) == 0);
        };
        make("bluetoothworld-old", 65);
        make("bluetoothworld-beginning", 50); // made, and not locked yet
        make("bluetoothworld-used", 3600);
        make("another", 3600);
        const world::FileDescriptor used(
            open(runtime.filePath("bluetoothworld-used").toLocal8Bit(), O_RDONLY));
        QCOMPARE(flock(used.get(), LOCK_EX | LOCK_NB), 0);

        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        world::RuntimeFolder folder;
        QVERIFY(folder.create());
        QStringList left = QDir(runtime.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QVERIFY2(left.removeOne(QFileInfo(folder.path()).fileName()), qPrintable(folder.path()));
        QCOMPARE(left, (QStringList{ "another", "bluetoothworld-beginning", "bluetoothworld-used" }));
    }

    void takesAnotherFolder_data()
    {
        const Rows<QString, QString> row("parent", "name");
        row("a comma, which overlays take for an option", "/var/tmp", "a,b");
        row("a colon, which overlays take for a list", "/var/tmp", "a:b");
        row("below /tmp, which the world hides", "/tmp", "ab");
        row("not there", "/var/tmp", "a/b");
    }

    void takesAnotherFolder()
    {
        QFETCH(QString, parent);
        QFETCH(QString, name);
        const QTemporaryDir runtime(parent + "/runtime-XXXXXX");
        QDir(runtime.path()).mkdir(name);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.filePath(name)));
        world::RuntimeFolder folder;
        QVERIFY(folder.create());
        QVERIFY2(!folder.path().startsWith(runtime.path()), qPrintable(folder.path()));
    }

    void keepsWhatIsBelowTmp_data()
    {
        // In a folder below /tmp with the folders a/b and ab, and with "link" to "a".
        const Rows<QStringList, QStringList> row("paths", "kept");
        row("one", { "a" }, { "a" });
        row("below another", { "a/b", "a" }, { "a" });
        row("with the same beginning", { "a", "ab" }, { "a", "ab" });
        row("through a link", { "link/b" }, { "a/b", "link/b" });
        row("not there", { "c" }, {});
    }

    void keepsWhatIsBelowTmp()
    {
        QFETCH(QStringList, paths);
        QFETCH(QStringList, kept);
        const QTemporaryDir folder("/tmp/kept-XXXXXX");
        QVERIFY(QDir(folder.path()).mkpath("a/b") && QDir(folder.path()).mkpath("ab"));
        QVERIFY(QFile::link("a", folder.filePath("link")));
        const auto whole = [&folder](QStringList list) {
            for (QString& path : list) {
                path = folder.filePath(path);
            }
            return list;
        };
        QStringList found = world::pathsBelowTmp(whole(paths) << "/usr" << QString());
        found.sort();
        QCOMPARE(found, whole(kept));
    }
};

QTEST_GUILESS_MAIN(FoldersTest)
#include "FoldersTest.moc"
