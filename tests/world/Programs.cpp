#include "Programs.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTest>

#include <unistd.h>

Finished run(const QString& program, const QStringList& arguments, const Run& how)
{
    QStringList words{ program };
    words << arguments;
    if (how.ordinaryUser) {
        words = QStringList{ QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                             QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups") }
            + words;
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : how.environment) {
        environment.insert(name, value);
    }
    process.setProcessEnvironment(environment);
    if (!how.folder.isEmpty()) {
        process.setWorkingDirectory(how.folder);
    }
    process.start(words.takeFirst(), words);
    if (!process.waitForFinished(60'000)) {
        return {};
    }
    const bool ended = process.exitStatus() == QProcess::NormalExit;
    return { ended ? process.exitCode() : 128 + process.exitCode(),
             QString::fromLocal8Bit(process.readAllStandardOutput()),
             QString::fromLocal8Bit(process.readAllStandardError()) };
}

QString besideTest(const QString& name)
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + name;
}

void addMechanisms()
{
    QTest::addColumn<QString>("mechanism");
    QTest::addColumn<bool>("ordinaryUser");
    for (const char* mechanism : { "namespace", "proot" }) {
        QTest::newRow(mechanism) << mechanism << false;
        if (geteuid() == 0) {
            QTest::addRow("%s, ordinary user", mechanism) << mechanism << true;
        }
    }
}

QString whyNot(const QString& mechanism, bool ordinaryUser)
{
    if (ordinaryUser
        && run(QStringLiteral("test"), { "-x", besideTest(QStringLiteral("view_probe")) }, { {}, true, "/" })
                .status
            != 0) {
        return QStringLiteral("an ordinary user cannot reach this build");
    }
    const Finished trial = run(besideTest(QStringLiteral("view_probe")), { "/bin/true", "/bin/true" },
                               { only(mechanism), ordinaryUser, "/" });
    return trial.status == 69 ? trial.error.simplified() : QString();
}

std::vector<std::pair<QString, QString>> only(const QString& mechanism)
{
    // The leak checker is a tracer itself, and cannot work under another one.
    return { { QStringLiteral("BLUETOOTHWORLD_FILESYSTEM"), mechanism },
             { QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0") } };
}
