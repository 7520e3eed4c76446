#pragma once

#include "BluetoothModule.h"
#include "support/ScriptedDaemon.h"

#include <QHash>
#include <QSemaphore>

#include <functional>
#include <memory>

class QDBusAbstractInterface;

/// The module between a framework that writes down what it is asked for and a daemon that does the same. It
/// does the steps of a table.
class RecordedModule : public QObject
{
    Q_OBJECT

public:
    explicit RecordedModule(const QString& busAddress);

    /// Begins anew: a module, a daemon that is not there yet, and a system on which all succeeds.
    void begin();
    void end();

    /// Does a step, "VERB" or "VERB ARGUMENT", and writes down all that comes of it: calls of the framework
    /// and the system, requests to the daemon, timers. The verbs are those of RecordedSteps.cpp, the module's
    /// actions and its slots; a slot that takes a signal's value gets values of every kind.
    /// @return whether there is such a verb
    [[nodiscard]] bool perform(const QString& step);
    /// Whether a request held the module up until the daemon had answered.
    [[nodiscard]] bool hasWaited() const { return m_daemon.wasWaitedFor(); }

public Q_SLOTS:
    void passFence() { ++m_fences; }

private:
    using Step = std::function<void(const QString& argument)>;
    void addModuleSteps();
    void addDaemonSteps();
    void addSystemSteps();
    [[nodiscard]] bool doSpecial(const QString& verb, const QString& argument);
    [[nodiscard]] bool act(const QString& verb, const QString& argument);
    [[nodiscard]] bool invokeSlot(const QString& name, const QString& argument);

    /// Another module; how it is made is told by one table alone.
    void renew();
    void showHooks();
    void destroy();
    void answerUsual();
    void sendSignal(const QString& name, const QVariant& value);
    void publishDevices(int count);

    /// Writes down what the daemon has seen since. To wait for the requests that are on their way takes time.
    void look(bool atRequests);
    [[nodiscard]] QList<QDBusAbstractInterface*> proxies() const;

    static constexpr qulonglong Address = 0x123456789ABC;

    ScriptedDaemon m_daemon;
    std::unique_ptr<BluetoothModule> m_module;
    QHash<QString, Step> m_steps;
    QSemaphore m_returned; ///< for each request that may be answered
    bool m_isActing = false;
    int m_fences = 0;
    int m_proxies = 0; ///< as was told last
};
