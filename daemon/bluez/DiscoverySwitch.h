#pragma once

#include <BluezQt/Adapter>

#include <QObject>

namespace bt {

/// Makes bluetoothd look around with one adapter, or no longer.
///
/// One request at a time: while bluetoothd has not answered the last one it refuses the next as InProgress,
/// so that a discovery that is ended at once would go on for ever, and one that follows at once would not
/// begin.
class DiscoverySwitch : public QObject
{
    Q_OBJECT

public:
    explicit DiscoverySwitch(BluezQt::AdapterPtr adapter);

    void set(bool on);

Q_SIGNALS:
    /// It does not, and has said why on standard error.
    void refused();

private:
    void ask();
    void answered(bool on, bool runs);

    BluezQt::AdapterPtr m_adapter;
    bool m_wanted = false;
    bool m_runs = false;
    bool m_waits = false;
};

} // namespace bt
