#pragma once

#include "ChildProcess.h"
#include "MessageBus.h"
#include "PrivateFilesystem.h"

#include <QString>

#include <chrono>

namespace world {

struct WorldOptions
{
    QString host; ///< the host's program; empty is the bluetoothlauncher of this build
    QStringList modules; ///< files of modules that the host serves beside Bluetooth
    QString companion; ///< the mobile synchronisation module's program; empty is none
    QString state; ///< the folder of the host's configs; empty is a fresh one
    int output = -1; ///< takes what buses, host and controller print; -1 is a file that output() reads
    int cancel = -1; ///< a descriptor that gives the start up when it becomes readable
    std::chrono::milliseconds limit{ 30'000 }; ///< how long the host may take until it is ready
};

/// A private system bus, a private session bus and the host, ready for clients. This process's environment
/// leads to them: DBUS_SYSTEM_BUS_ADDRESS, DBUS_SESSION_BUS_ADDRESS, and PATH with the build's programs
/// first, XDG_DATA_DIRS with the completion of their command lines. The simulated radio keeps its pairings as
/// long as the world stands (BLUESIM_STATE). There is one in a process, because QDBusConnection::systemBus()
/// and sessionBus() keep the first address.
///
///     int main(int argc, char **argv)
///     {
///         world::PrivateFilesystem filesystem;
///         const auto entered = filesystem.enter({ controller, {} }, argv); // before there are threads
///         QCoreApplication application(argc, argv);
///         world::World world(filesystem);
///         const auto started = world.start();
class World
{
public:
    /// How long the host may take to shut down in order.
    static constexpr std::chrono::milliseconds HostGrace{ 5000 };

    explicit World(const PrivateFilesystem& filesystem);
    /// Ends everything: see stop().
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// Returns when the host answers. Needs a QCoreApplication.
    [[nodiscard]] base::Result<> start(const WorldOptions& options = {});

    /// Ends, in this order: all other descendants of this process, the host, its companion, the buses, and
    /// what is left.
    void stop();

    /// Starts the host, unless it runs, and returns when it answers.
    [[nodiscard]] base::Result<> startHost();
    /// Ends the host, in order, if it runs, and starts it again.
    [[nodiscard]] base::Result<> restartHost();
    /// Returns when the host has gone, and its name.
    void stopHost();
    /// Sends a signal to the host; an error when it does not run.
    [[nodiscard]] base::Result<> signalHost(int number);
    /// From now on, gives up the start of a host when this descriptor becomes readable; see WorldOptions.
    void setCancel(int descriptor) { m_options.cancel = descriptor; }

    /// What the next controller that the host starts will be.
    [[nodiscard]] base::Result<> setController(const QString& program) const
    {
        return m_filesystem.setController(program);
    }

    [[nodiscard]] QString systemBusAddress() const { return m_systemBus.address(); }
    [[nodiscard]] QString sessionBusAddress() const { return m_sessionBus.address(); }
    [[nodiscard]] QString stateFolder() const;
    [[nodiscard]] pid_t hostPid() const { return m_host.pid(); }
    [[nodiscard]] bool hostRuns();
    /// Whether the host is not there although it should be.
    [[nodiscard]] bool hostIsMissing() { return m_isHostWanted && !hostRuns(); }
    /// What buses, host and controller printed so far, unless it goes elsewhere.
    [[nodiscard]] QString output() const;
    /// The file that takes it.
    [[nodiscard]] int outputDescriptor() const { return m_options.output; }

    /// The folder of this build's programs: beside this program, unless it was told.
    [[nodiscard]] static QString binFolder();
    /// For a program that stands somewhere else.
    static void setBinFolder(const QString& folder);

private:
    [[nodiscard]] base::Result<> startBuses();
    [[nodiscard]] base::Result<> startCompanion();
    [[nodiscard]] base::Result<> startServer(ChildProcess& process, const QStringList& arguments,
                                             const QString& busName) const;
    void exportEnvironment() const;
    [[nodiscard]] QString outputPath() const;

    const PrivateFilesystem& m_filesystem;
    WorldOptions m_options;
    FileDescriptor m_ownOutput;
    MessageBus m_systemBus;
    MessageBus m_sessionBus;
    ChildProcess m_companion;
    ChildProcess m_host;
    bool m_isHostWanted = false;
};

} // namespace world
