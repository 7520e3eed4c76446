#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>

namespace base {

/// Turns SIGTERM and SIGINT into a Qt signal. One at a time in a process.
///
/// By a handler and a pipe, with no signal blocked at any time: a blocked mask would be inherited by every
/// program that this process starts, which could then not be ended by SIGTERM.
class EndingSignals : public QObject
{
    Q_OBJECT
public:
    explicit EndingSignals(QObject* parent = nullptr);
    ~EndingSignals() override;

Q_SIGNALS:
    void received();

private:
    void drain();

    std::array<int, 2> m_pipe;
    QSocketNotifier m_notifier;
};

/// Takes back what a careless parent may have left to this process: ignored SIGCHLD, with which no child
/// could be waited for, and blocked signals. Before any thread is
/// started.
void resetInheritedSignals();

} // namespace base
