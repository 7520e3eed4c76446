#pragma once

#include "Finding.h"

#include <QDBusConnection>

namespace bt {

/// Looks at all that a radio needs of this machine: the bus and who may speak on it, bluetoothd, rfkill, the
/// adapters, its settings, and the other programs that use Bluetooth. Changes nothing, and waits three
/// seconds at most for each of its few questions. Where a bus hangs a thread is left that waits for it, so
/// that the process ends by _exit() alone.
class Checkup
{
public:
    /// @param address of bluetoothd's bus; empty for the system bus. @param wanted as BLUEZ_ADAPTER has it;
    /// empty for any adapter.
    /// @param root what stands before /sys and /etc
    Checkup(QString address, QString wanted, QString root);

    Findings run();

private:
    void lookAtRfkill();
    bool lookAtBus();
    bool lookAtBluez();
    void lookAtAdapters();
    void lookAtSettings();
    void lookAtPrograms();

    void add(Finding::Level level, const QString& subject, const QString& text, const QString& remedy = {});

    QString m_address;
    QDBusConnection m_bus;
    QStringList m_names; ///< on the bus
    QString m_wanted;
    QString m_root;
    Findings m_findings;
    QVector<QVariantMap> m_adapters; ///< properties, and "Path", by path
    bool m_hasAudio = false;
};

/// Prints them, a line each; as JSON an object a line. @return the exit status: 0 when all is fine, 1 with a
/// note, 3 with a fault
int printFindings(const Findings& findings, bool json);

} // namespace bt
