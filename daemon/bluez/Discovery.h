#pragma once

#include "DaemonTypes.h"
#include "DiscoverySwitch.h"

#include <BluezQt/Adapter>
#include <BluezQt/Device>

#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>

namespace bt {

/// One look around of the real radio, classic and low energy.
///
/// The list keeps its order: what an earlier one found stays where it is and goes at the end, unless it was
/// heard again; new devices follow in the order in which they are heard. Changes are gathered, so that a
/// crowd of devices does not become a flood of lists.
class Discovery : public QObject
{
    Q_OBJECT

public:
    /// More devices than that are not listed.
    static constexpr int MostResults = 128;

    /// \a radio is the adapter's, and has to outlive this.
    Discovery(BluezQt::AdapterPtr adapter, DiscoverySwitch& radio, ScanResults before);

    /// Ends it early; nothing is told any more.
    void end();

    [[nodiscard]] const ScanResults& results() const { return m_results; }

Q_SIGNALS:
    void resultsChanged();
    /// Also when the radio cannot look around.
    void finished();

private:
    void follow(const BluezQt::DevicePtr& device);
    void hear(const BluezQt::Device& device);
    ScanEntry* entryOf(qulonglong address);
    void publish();
    void finish();

    BluezQt::AdapterPtr m_adapter;
    DiscoverySwitch& m_radio;
    ScanResults m_results;
    QHash<qulonglong, int> m_rows;
    QSet<qulonglong> m_heard;
    QTimer m_gathering;
    QTimer m_end;
    bool m_changed = false;
};

} // namespace bt
