#pragma once

#include "Finding.h"

#include <QDBusConnection>

namespace bt {

/// Looks at all that a radio needs of this machine: the bus and who may speak on it, bluetoothd, rfkill, the
/// adapters, its settings, and the other programs that use Bluetooth. Changes nothing, and waits for
/// bluetoothd three seconds at most for each of its few questions.
class Checkup
{
public:
    /// @param bus that of bluetoothd. @param wanted as BLUEZ_ADAPTER has it; empty for any adapter.
    /// @param root what stands before /sys and /etc
    Checkup(QDBusConnection bus, QString wanted, QString root);

    Findings run();

private:
    void lookAtRfkill();
    bool lookAtBus();
    bool lookAtBluez();
    void lookAtAdapters();
    void lookAtSettings();
    void lookAtPrograms();

    void add(Finding::Level level, const QString& subject, const QString& text, const QString& remedy = {});

    QDBusConnection m_bus;
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
