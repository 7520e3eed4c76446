#pragma once

#include <QDBusMessage>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <memory>

#include <sys/types.h>

class KELClientInterface;
namespace world {
class PrivateFilesystem;
}

namespace testkit {

/// Who is around the simulated radio, and how it runs.
struct SimulationOptions
{
    /// A name, or the path of a file; a recording as well. Empty is the simulation's default.
    QString scenario = QStringLiteral("room");
    quint32 seed = 1; ///< the same number, the same run
    bool isPaused = true; ///< the simulated time passes by step() alone, so that a test has no race
};

/// One call of a method of the Bluetooth daemon.
struct DaemonCall
{
    double time = 0; ///< simulated seconds
    QString member; ///< the method, or "set NAME" for a property
    QVariantList arguments;
};

/// A private world for a test program: buses, the host with the Bluetooth module, and the simulated radio,
/// seen from both sides: the module's items as a client sees them, and what drives the simulation.
///
///     #include <SimulatedWorld.h>
///     class LampTest : public QObject { … explicit LampTest(testkit::SimulatedWorld& world); … };
///     BLUETOOTH_TESTKIT_MAIN(LampTest)
///
/// In CMake: find_package(bluetooth-testkit), and target_link_libraries(… bluetooth::testkit).
///
/// Questions and changes that fail answer with an empty value or false; problem() then says why. What can be
/// seen to be in vain, as waiting for an item that does not exist, fails at once.
class SimulatedWorld
{
public:
    explicit SimulatedWorld(const world::PrivateFilesystem& filesystem);
    ~SimulatedWorld();
    SimulatedWorld(const SimulatedWorld&) = delete;
    SimulatedWorld& operator=(const SimulatedWorld&) = delete;

    /// Begins, or begins anew: a fresh host, the radio off, nothing paired. From then on the environment of
    /// this process leads to the world's buses (DBUS_SYSTEM_BUS_ADDRESS, DBUS_SESSION_BUS_ADDRESS) and
    /// programs (PATH), so that whatever the test starts is in the world as well.
    [[nodiscard]] bool start(const SimulationOptions& options = {});
    /// How long to wait for anything before it counts as failed, in real time; 20 s unless it is set.
    void setPatience(std::chrono::milliseconds patience);

    /// Has the module switch the radio on, and returns when it is.
    [[nodiscard]] bool switchOn();
    /// Puts a daemon on the bus that is no child of the module, so that it stays when the module switches
    /// off.
    [[nodiscard]] bool startOwnDaemon(const QString& scenario = {});
    void endOwnDaemon();

    // The module's items, by id.
    [[nodiscard]] QString text(const QString& item);
    [[nodiscard]] int number(const QString& item) { return text(item).toInt(); }
    [[nodiscard]] bool isApplicable(const QString& item);
    [[nodiscard]] bool set(const QString& item, const QVariant& value);
    [[nodiscard]] bool trigger(const QString& action, const QString& text = {});
    /// Returns when the item has this value.
    [[nodiscard]] bool waitFor(const QString& item, const QString& value);
    [[nodiscard]] bool waitForApplicable(const QString& item, bool applicable);
    /// For all that a client can do; declared in the header of the same name, of the package "ipc".
    [[nodiscard]] KELClientInterface& client();

    // The devices around the radio, by address or name; as in simctl(1).
    /// @param description as in a scenario file, like { "address": "0A:00:00:00:00:01", "name": "Lamp" }
    [[nodiscard]] bool addDevice(const QString& description) { return control("AddDevice", { description }); }
    [[nodiscard]] bool removeDevice(const QString& device) { return control("RemoveDevice", { device }); }
    [[nodiscard]] bool returnDevice(const QString& device) { return control("ReturnDevice", { device }); }
    /// @param rssi in dBm, reached after that many simulated seconds
    [[nodiscard]] bool moveDevice(const QString& device, int rssi, double seconds = 0)
    {
        return control("MoveDevice", { device, rssi, seconds });
    }
    [[nodiscard]] bool dropDevice(const QString& device) { return control("DropDevice", { device }); }
    [[nodiscard]] bool connectDevice(const QString& device) { return control("ConnectDevice", { device }); }
    [[nodiscard]] bool requestPairing(const QString& device) { return control("RequestPairing", { device }); }
    [[nodiscard]] bool answerPairing(const QString& device, bool accept)
    {
        return control("AnswerPairing", { device, accept });
    }

    // The simulation.
    /// Lets simulated time pass; returns when every signal that fell due is on the bus.
    [[nodiscard]] bool step(double seconds) { return control("Step", { seconds }); }
    /// A request is on its way through two buses; simulated time passes, half a second at a time, until the
    /// condition holds.
    [[nodiscard]] bool stepUntil(const std::function<bool()>& holds);
    [[nodiscard]] bool stepUntil(const QString& item, const QString& value);
    [[nodiscard]] bool fault(const QStringList& fault) { return control("SetFault", { fault }); }
    /// The daemon's methods that were called, the oldest first.
    [[nodiscard]] QStringList calls() const;
    [[nodiscard]] QList<DaemonCall> callsWithArguments() const;
    /// Any method of tov.sim.Radio1.
    [[nodiscard]] bool control(const char* method, const QVariantList& arguments);
    [[nodiscard]] QDBusMessage ask(const char* method, const QVariantList& arguments = {}) const;

    /// Why the last question or change failed.
    [[nodiscard]] const QString& problem() const { return m_problem; }
    /// What buses, host and radio printed so far.
    [[nodiscard]] QString output() const;
    /// The process that has the module; 0 when it has ended.
    [[nodiscard]] pid_t hostPid() const;

private:
    struct Parts;

    [[nodiscard]] bool succeed(const QString& problem);
    [[nodiscard]] bool checkScenario(const QString& scenario);
    [[nodiscard]] bool waitForSimulation();
    [[nodiscard]] bool waitForItem(const std::function<bool()>& holds);
    /// Says what an item is instead, and why. @return false
    [[nodiscard]] bool fail(const QString& item, const QString& expected, const QString& reason = {});

    std::unique_ptr<Parts> m_parts;
    QString m_problem;
};

/// Calls \a test with a world that has started. Once in a process, and before anything in it starts a thread.
/// @param programs the folder of the test kit's programs
/// @return what \a test returned; 1 when the world did not start; 77, which CTest can count as skipped, where
/// no private view of the file system can be had. Then, and when \a test fails, standard error says more.
[[nodiscard]] int runInWorld(int& argc, char** argv, const QString& programs,
                             const std::function<int(SimulatedWorld&)>& test);

} // namespace testkit

/// main() of a test class that is constructed with a SimulatedWorld&.
#define BLUETOOTH_TESTKIT_MAIN(Test)                                                                         \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        return testkit::runInWorld(argc, argv, QStringLiteral(BLUETOOTH_TESTKIT_BIN),                        \
                                   [&](testkit::SimulatedWorld& world) {                                     \
                                       Test test(world);                                                     \
                                       return QTest::qExec(&test, argc, argv);                               \
                                   });                                                                       \
    }
