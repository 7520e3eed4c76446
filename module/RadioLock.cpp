#include "BluetoothModule.h"

#include <QDebug>
#include <QFile>
#include <QTimer>

#include <cstdio>

#include <unistd.h>

namespace {

constexpr const char* LockFile = "/tmp/bluelock";
constexpr int CheckPeriod = 500; // milliseconds

// For other processes; the module itself never reads it, and lends the radio without it as well.
void writeLockFile(int pid)
{
    if (FILE* const file = fopen(LockFile, "w+"); file != nullptr) {
        fprintf(file, "%d", pid);
        fclose(file);
    }
}

} // namespace

std::string BluetoothModule::RequestBluetooth(std::string params)
{
    const QString text = QString::fromStdString(params);
    qDebug() << "requestBluetooth called with params" << text;
    const QStringList parts = text.split(QLatin1Char(','), Qt::KeepEmptyParts);
    if (parts.size() != 2) {
        return "Failure";
    }
    // What is no number counts as 0: no process as the first part, a return of the radio as the second.
    const int pid = parts.at(0).toInt();
    const int mode = parts.at(1).toInt();
    // Any other number is taken as it is, a negative one too: no process has it, and the first check ends
    // that loan.
    if (pid == 0) {
        return "Failure";
    }

    ServerItem& enabled = *config(enabledConfig());
    if (lockOwnerPid == 0 && mode != 0) {
        lendRadio(pid, mode, enabled);
        return "Success";
    }
    if (lockOwnerPid == pid && mode == 0) {
        takeRadioBack(pid, enabled);
        return "Success";
    }
    qWarning() << "requestBluetooth" << pid << " rejected lock";
    return "Rejected";
}

void BluetoothModule::lendRadio(int pid, int mode, ServerItem& enabled)
{
    lockOwnerPid = pid;
    lockRequestValue = mode;
    writeLockFile(pid);
    qDebug() << "requestBluetooth" << pid << " successful lock";
    // The setting keeps its value: it says what the radio returns to.
    if (enabled.value().toBool()) {
        Disable();
    }
    enabled.setApplicable(false, true);
    // A loan that follows another within one period has two chains of checks; both end with it.
    QTimer::singleShot(CheckPeriod, this, SLOT(resourceCheck()));
}

void BluetoothModule::takeRadioBack(int pid, ServerItem& enabled)
{
    lockOwnerPid = 0;
    lockRequestValue = 0;
    unlink(LockFile);
    qDebug() << "requestBluetooth" << pid << " successful free";
    enabled.setApplicable(true, true);
    if (enabled.value().toBool()) {
        Enable();
    }
}

void BluetoothModule::resourceCheck()
{
    if (lockOwnerPid == 0) {
        return;
    }
    if (QFile(QStringLiteral("/proc/%1").arg(lockOwnerPid)).exists()) {
        QTimer::singleShot(CheckPeriod, this, SLOT(resourceCheck()));
        return;
    }
    qWarning() << "Process" << lockOwnerPid << " exited without freeing Bluetooth resource";
    RequestBluetooth(QStringLiteral("%1,0").arg(lockOwnerPid).toStdString());
}
