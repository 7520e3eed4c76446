#pragma once

#include "DaemonBackend.h"
#include "DaemonService.h"

#include <QDBusConnection>
#include <QDBusServer>

namespace bt {

class Radio;

/// The daemon's D-Bus side as any radio has it, on a connection inside this program instead of a bus. There
/// is one in a program.
class PrivateLine : public DaemonBackend
{
    Q_OBJECT

public:
    explicit PrivateLine(Radio& radio);
    ~PrivateLine() override;

    void start() override;
    void stop() override;
    void call(const QDBusMessage& request, Reply reply) override;
    void flush(std::function<void()> done) override;

private:
    void serve(QDBusConnection connection);

    Radio& m_radio;
    DaemonService m_service;
    QDBusServer& m_server;
    QDBusConnection m_client;
};

} // namespace bt
