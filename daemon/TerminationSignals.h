#pragma once

#include <QObject>

#include <array>

class QSocketNotifier;

namespace bt {

/// SIGTERM and SIGINT as a Qt signal, so that a program can leave in order. Whatever the parent blocked,
/// these two arrive. One object in a process; the handlers stay until it is gone.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

Q_SIGNALS:
    void received();

private:
    void drain();

    std::array<int, 2> m_pipe{ -1, -1 };
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace bt
