#include "Programs.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>
#include <array>

namespace bt {

namespace {

constexpr int Patience = 2'000; // ms

struct KnownProgram
{
    const char* name; ///< of the process; the kernel keeps 15 characters
    const char* takes;
};

constexpr std::array KnownPrograms{
    KnownProgram{ "blueman-applet", "pairing questions and services" },
    KnownProgram{ "blueman-tray", "pairing questions" },
    KnownProgram{ "bluetoothctl", "pairing questions" },
    KnownProgram{ "bt-agent", "pairing questions" },
    KnownProgram{ "gnome-shell", "pairing questions" },
    KnownProgram{ "gnome-control-c", "pairing questions, and looks for devices" },
    KnownProgram{ "kded5", "pairing questions" },
    KnownProgram{ "blueberry-tray", "pairing questions" },
    KnownProgram{ "obexd", "file transfer" },
    KnownProgram{ "ofonod", "hands-free" },
    KnownProgram{ "ModemManager", "dial-up" },
};

QString processName(uint pid)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(pid));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

} // namespace

Findings findingsOfPrograms(const QDBusConnection& bus, const QStringList& names)
{
    const QString subject = QStringLiteral("programs");
    QSet<QString> present;
    for (const QString& name : names) {
        if (name.startsWith(QLatin1Char(':'))) {
            const QDBusReply<uint> pid = bus.interface()->servicePid(name);
            if (pid.error().type() == QDBusError::NoReply) {
                break; // a bus that hangs now is not asked for every other name
            }
            present.insert(processName(pid.value()));
        }
    }
    Findings findings;
    for (const KnownProgram& program : KnownPrograms) {
        if (present.contains(QLatin1String(program.name))) {
            findings.append(
                { Finding::Level::Note, subject,
                  QStringLiteral("%1 is there, and takes %2")
                      .arg(QLatin1String(program.name), QLatin1String(program.takes)),
                  QStringLiteral("what it does to the adapter meanwhile counts; end it if it is in "
                                 "the way") });
        }
    }
    if (findings.isEmpty()) {
        findings.append(
            { Finding::Level::Fine, subject, QStringLiteral("none that is known to interfere"), {} });
    }
    return findings;
}

QString versionOfBluez(const QDBusConnection& bus)
{
    const QDBusReply<uint> pid = bus.interface()->servicePid(QStringLiteral("org.bluez"));
    if (processName(pid.value()) != QLatin1String("bluetoothd")) {
        return {}; // anybody may call himself org.bluez on a bus of his own
    }
    // Which file root's process runs is told to root alone; others ask the one that is installed.
    QString program = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid.value()));
    if (QFileInfo(program).fileName() != QLatin1String("bluetoothd")) {
        program = QStandardPaths::findExecutable(
            QStringLiteral("bluetoothd"),
            { QStringLiteral("/usr/libexec/bluetooth"), QStringLiteral("/usr/lib/bluetooth") });
    }
    QProcess process;
    process.start(program, { QStringLiteral("--version") }, QIODevice::ReadOnly);
    return process.waitForFinished(Patience) ? QString::fromUtf8(process.readAllStandardOutput()).trimmed()
                                             : QString();
}

bool isAudioService(const QString& uuid)
{
    // Audio source and sink, headset and hands-free, at either end.
    constexpr std::array Services{ "0000110a", "0000110b", "00001108", "00001112", "0000111e", "0000111f" };
    return std::any_of(Services.begin(), Services.end(), [&uuid](const char* service) {
        return uuid.startsWith(QLatin1String(service), Qt::CaseInsensitive);
    });
}

} // namespace bt
