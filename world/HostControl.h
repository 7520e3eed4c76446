#pragma once

#include "World.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

#include <functional>

namespace world {

/// Serves hostctl, one request at a time. Each is answered when it has come true: the host is ready, or it
/// and its name have gone.
class HostControl : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "tov.world.Host")

public:
    explicit HostControl(World& world);
    ~HostControl() override;

public Q_SLOTS:
    void Start();
    void Stop();
    void Restart();
    void Kill();
    void Freeze();
    void Thaw();

private:
    void serve(const std::function<base::Result<>()>& request);

    World& m_world;
    QDBusConnection m_bus;
    bool m_isBusy = false;
};

} // namespace world
