#pragma once

#include "DiscoverySwitch.h"
#include "ScanList.h"

#include <BluezQt/Adapter>
#include <BluezQt/Device>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace bt {

/// One look around of the real radio, classic and low energy: one round of bluetoothd's, in which it asks
/// those that it has heard for their names as well.
///
/// What an earlier one found goes at the end, unless it was heard again. Changes are gathered, so that a
/// crowd of devices does not become a flood of lists.
class Discovery : public QObject
{
    Q_OBJECT

public:
    /// \a radio is the adapter's, and has to outlive this.
    Discovery(BluezQt::AdapterPtr adapter, DiscoverySwitch& radio, const ScanResults& before);

    /// Ends it early; nothing is told any more.
    void end();

    [[nodiscard]] ScanResults results() const { return m_list.results(); }

Q_SIGNALS:
    void resultsChanged();
    /// In bounded time, and when the radio cannot look around.
    void finished();

private:
    void follow(const BluezQt::DevicePtr& device);
    void hear(const BluezQt::Device& device);
    void followRound(bool discovering);
    void publish();
    void finish();

    BluezQt::AdapterPtr m_adapter;
    DiscoverySwitch& m_radio;
    ScanList m_list;
    QTimer m_gathering;
    QTimer m_end;
    QElapsedTimer m_time;
    bool m_inRound = false; ///< in one that began with us
    bool m_changed = false;
};

} // namespace bt
