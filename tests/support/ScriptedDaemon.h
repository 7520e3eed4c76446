#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <QMutex>
#include <QSemaphore>
#include <QString>
#include <QStringList>
#include <QThread>
#include <QVariant>

#include <sys/types.h>

/// Stands in for the Bluetooth daemon on the private system bus: records what is asked of it and answers as
/// it was told, with well-formed values and others. It lives on a thread of its own, so that a test may wait
/// for the module's host while that waits for the daemon.
class ScriptedDaemon : private QDBusVirtualObject
{
public:
    /// One method call, or write of a property, as it arrived.
    struct Call
    {
        QString member;
        QString signature;
        QVariantList arguments;
    };

    explicit ScriptedDaemon(const QString& busAddress);
    ~ScriptedDaemon() override;
    ScriptedDaemon(const ScriptedDaemon&) = delete;
    ScriptedDaemon& operator=(const ScriptedDaemon&) = delete;

    /// Takes the bus name, from another daemon too. @return whether that worked
    [[nodiscard]] bool appear(const QString& name = "com.qarn.bluetooth") const;
    void leave(const QString& name = "com.qarn.bluetooth") const;

    /// Successive reads of a property get these values in turn; the last stays.
    void answer(const QString& property, const QVariantList& values);
    /// From here on each method call is answered when the semaphore has been released for it, or after two
    /// seconds; null ends that.
    void answerWhen(QSemaphore* released);
    /// Whether a call had to be answered because it was waited for.
    [[nodiscard]] bool wasWaitedFor() const;
    /// Sends a signal with one variant argument.
    void send(const QString& signal, const QVariant& payload) const;

    /// Returns when all that was sent so far has arrived at another connection of the bus, and when what came
    /// from there before its answer is recorded here. @return whether that connection answered
    [[nodiscard]] bool roundTrip(const QString& connection);
    /// The connections to the bus of a process.
    [[nodiscard]] QStringList connectionsOf(pid_t process) const;

    /// What was asked since the last call of these, in order.
    QList<Call> takeCalls();
    QStringList takeReads(); ///< names of properties

private:
    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    [[nodiscard]] QDBusMessage replyToRead(const QDBusMessage& message);

    QString m_connectionName;
    QThread m_thread;

    mutable QMutex m_mutex; ///< for what the thread and the test both have:
    QSemaphore* m_released = nullptr;
    bool m_wasWaitedFor = false;
    QHash<QString, QVariantList> m_answers;
    QList<Call> m_calls;
    QStringList m_reads;
};

/// Calls as a test that fails shows them: "Pair(t 4660), Scan()".
[[nodiscard]] QString callText(const QList<ScriptedDaemon::Call>& calls);
