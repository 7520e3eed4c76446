#pragma once

#include "Attendant.h"
#include "FileDescriptor.h"

#include <QString>
#include <QThread>

#include <memory>

namespace world {

class ActionMonitor;
class NoticeOutlet;

/// Tells of each action of the Bluetooth module that reaches no radio: without a daemon on the system bus the
/// module drops it, silently. Listens on the session bus, where the action is called, and so changes nothing
/// there. It has a thread of its own, which asks the buses; whoever waits for a process is not held up.
class ActionWatch : public Attendant
{
public:
    ActionWatch(const QString& sessionBusAddress, const QString& systemBusAddress, NoticeOutlet& outlet);
    ~ActionWatch() override;

    [[nodiscard]] pollfd awaits() const override { return { m_notices.reading.get(), POLLIN, 0 }; }
    void attend() override;
    /// Returns when what was called before has been looked at.
    void finish();

private:
    /// @return whether the monitor said that it has seen all.
    bool take();

    NoticeOutlet& m_outlet;
    Pipe m_notices; ///< a line each; an empty one answers finish()
    QByteArray m_text;
    QThread m_thread;
    std::unique_ptr<ActionMonitor> m_monitor;
};

} // namespace world
