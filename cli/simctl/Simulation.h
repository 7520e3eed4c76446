#pragma once

#include "common/Failure.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingReply>

#include <memory>

class SimulationProxy;

namespace simctl {

/// The system bus, or why there is none.
[[nodiscard]] cli::Expected<QDBusConnection> systemBus();

/// The simulation that runs on the system bus.
class Simulation
{
public:
    /// The simulation, or why there is none.
    static cli::Expected<Simulation> find();
    explicit Simulation(std::shared_ptr<SimulationProxy> proxy);

    [[nodiscard]] SimulationProxy& proxy() const { return *m_proxy; }
    /// One of its properties.
    [[nodiscard]] cli::Expected<QVariant> property(const char* name) const;
    /// Members of the daemon that it plays. \a kinds has SIGNAL in it, or PROPERTY, or both.
    [[nodiscard]] QStringList daemonMembers(const QString& kinds) const;
    /// Done, or why not.
    [[nodiscard]] cli::Failure setProperty(const char* name, const QVariant& value) const;

    /// Waits for the answer. Its status is Done when there is no failure.
    template <typename... Types>
    static cli::Failure failureOf(QDBusPendingReply<Types...> reply)
    {
        reply.waitForFinished();
        return reply.isError() ? failureFrom(reply.error()) : cli::Failure{ cli::ExitStatus::Done, {} };
    }
    [[nodiscard]] static cli::Failure failureFrom(const QDBusError& error);

private:
    [[nodiscard]] QDBusPendingCall ask(const QDBusMessage& call) const;

    std::shared_ptr<SimulationProxy> m_proxy;
};

} // namespace simctl
