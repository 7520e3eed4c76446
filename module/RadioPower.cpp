#include "BluetoothModule.h"

#include "BluetoothIf.h"

#include <QDebug>
#include <QFileInfo>
#include <QTimer>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString shutdownLockFile = QStringLiteral("/tmp/bluelock_shutdown");

constexpr const char* DefaultName = "TORLO-EKS";
constexpr const char* Controller = "/usr/bin/blue_controller_zq4";
constexpr int CyclePause = 1000; // milliseconds

/// The radio's local name: the prefix and the first line, up to 127 bytes, that "hostname" prints.
std::string localName()
{
    std::string name = DefaultName;
    if (FILE* const output = popen("hostname", "r"); output != nullptr) {
        std::array<char, 128> line{};
        // The line end stays in the name.
        if (fgets(line.data(), static_cast<int>(line.size()), output) != nullptr) {
            name = std::string("TORLO-") + line.data();
        }
        pclose(output);
    }
    return name;
}

} // namespace

void BluetoothModule::Enable()
{
    // A daemon that is on the bus, whoever started it, gets no second controller beside it.
    if (bluetoothIf != nullptr || controllerPid != -1 || lockOwnerPid != 0) {
        return;
    }

    const std::string name = localName();
    // Whether it worked is not asked.
    [[maybe_unused]] const int copied = std::system("cp /lib/firmware/FCC.bts /tmp/bt.bts");

    // The raw result: a failed fork leaves -1, so that the next call tries again.
    controllerPid = fork();
    if (controllerPid == 0) {
        // The controller must not outlive this server.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        execl(Controller, Controller, name.empty() ? DefaultName : name.c_str(), "1", "1", nullptr);
        perror("Exec failed blue_controller bluetoothmod");
        // The copy of the server goes back to the caller, like the server itself; the host ends it.
        return;
    }
    if (controllerPid < 0) {
        perror("fork failed bluetoothmod");
    }
}

void BluetoothModule::Disable()
{
    if (controllerPid != -1) {
        kill(controllerPid, SIGTERM);
        // Blocks until the controller has left, so that the radio is free when this returns.
        waitpid(controllerPid, nullptr, 0);
        controllerPid = -1;
    }
    delete bluetoothIf;
    bluetoothIf = nullptr;
    ClearResults();
}

// One call of the action flips the setting twice, one pause apart. A second call within the pause acts as the
// second flip, and the timer that is still pending then begins a cycle of its own.
void BluetoothModule::cycleRadio()
{
    cyclingRadio = !cyclingRadio;
    ServerItem* const enabled = config(enabledConfig());
    const bool wasEnabled = enabled->value().toBool();
    if (radioSwitchInhibited) {
        return;
    }
    enabled->setValue(!wasEnabled, true);
    if (cyclingRadio) {
        QTimer::singleShot(CyclePause, this, SLOT(cycleRadio()));
    }
}

bool BluetoothModule::checkShutdownLockFile()
{
    const QFileInfo marker(shutdownLockFile);
    // Only a regular file is the marker; a folder of its name stays.
    if (!marker.exists() || !marker.isFile()) {
        return false;
    }
    if (unlink(shutdownLockFile.toUtf8().constData()) != 0) {
        const int error = errno;
        qWarning() << "Could not remove bluetooth shutdown lockfile. Errno:" << error;
    }
    return true;
}
