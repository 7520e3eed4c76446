#pragma once

#include "Result.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusPendingReply>

#include <memory>

class SimulationProxy;

namespace simctl {

/// The system bus, or why there is none.
[[nodiscard]] base::Result<QDBusConnection> systemBus();

/// The simulation that runs on the system bus.
class SimulationClient
{
public:
    /// The simulation, or why there is none.
    static base::Result<SimulationClient> find();
    explicit SimulationClient(std::shared_ptr<SimulationProxy> proxy);

    [[nodiscard]] SimulationProxy& proxy() const { return *m_proxy; }
    /// One of its properties.
    [[nodiscard]] base::Result<QVariant> property(const char* name) const;
    /// Members of the daemon that it plays. \a kinds has SIGNAL in it, or PROPERTY, or both.
    [[nodiscard]] QStringList daemonMembers(const QString& kinds) const;
    [[nodiscard]] base::Result<> setProperty(const char* name, const QVariant& value) const;

    /// Waits for the answer.
    template <typename T>
    static base::Result<T> answerOf(QDBusPendingReply<T> reply)
    {
        return answerOf(QDBusPendingReply<>(reply)).map([&reply] { return reply.value(); });
    }
    [[nodiscard]] static base::Result<> answerOf(QDBusPendingReply<> reply);

private:
    [[nodiscard]] QDBusPendingCall ask(const QDBusMessage& call) const;

    std::shared_ptr<SimulationProxy> m_proxy;
};

} // namespace simctl
