#include "Mechanisms.h"

#include "World.h"
#include "support/Rows.h"

#include <QCoreApplication>

#include <unistd.h>

QString besideTest(const QString& name)
{
    return QCoreApplication::applicationDirPath() + '/' + name;
}

QString worldProgram()
{
    return world::World::binFolder() + "/bluetoothworld";
}

QStringList withStandIn(const QStringList& arguments)
{
    return QStringList{ "--radio", "/bin/true", "--host", besideTest("stand_in_host") } + arguments;
}

void addMechanisms()
{
    const Rows<QString, bool> row("mechanism", "ordinaryUser");
    for (const char* mechanism : { "namespace", "proot" }) {
        row(mechanism, mechanism, false);
        if (geteuid() == 0) {
            row(qPrintable(QString("%1, ordinary user").arg(mechanism)), mechanism, true);
        }
    }
}

QString whyNot(const QString& mechanism, bool ordinaryUser)
{
    if (ordinaryUser && run("test", { "-x", besideTest("view_probe") }, { {}, true, "/" }).status != 0) {
        return "an ordinary user cannot reach this build";
    }
    const Finished trial =
        run(besideTest("view_probe"), { "/bin/true", "/bin/true" }, { only(mechanism), ordinaryUser, "/" });
    return trial.status == 69 ? trial.err.simplified() : QString();
}

std::vector<std::pair<QString, QString>> only(const QString& mechanism)
{
    // The leak checker is a tracer itself, and cannot work under another one.
    return { { "BLUETOOTHWORLD_FILESYSTEM", mechanism }, { "ASAN_OPTIONS", "detect_leaks=0" } };
}
