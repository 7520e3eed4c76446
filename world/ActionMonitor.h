#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>

namespace world {

class NoticeOutlet;

/// Tells of each action of the Bluetooth module that reaches no radio: without a daemon on the system bus the
/// module drops it, silently. Listens on the session bus, where the action is called, and so changes nothing
/// there.
class ActionMonitor : public QDBusVirtualObject
{
    Q_OBJECT

public:
    ActionMonitor(const QString& sessionBusAddress, const QString& systemBusAddress, NoticeOutlet& outlet);
    ~ActionMonitor() override;

    /// Returns when what was called before has been looked at.
    void finish();

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    /// Takes everything, so that nobody gets an answer from us.
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

Q_SIGNALS:
    /// The end that finish() marked was seen, and all questions before it are answered.
    void finished();

private:
    using Answer = std::function<void(const QDBusMessage& reply)>;

    [[nodiscard]] bool listen();
    void ask(const QDBusConnection& bus, const QDBusMessage& question, const Answer& then);
    void askWhyNoRadio(const QString& action);
    void finishIfDone();

    NoticeOutlet& m_outlet;
    QDBusConnection m_overheard; ///< sends nothing: the bus would end it
    QDBusConnection m_session;
    QDBusConnection m_system;
    bool m_isListening = false;
    bool m_hasSeenEnd = false;
    int m_questions = 0; ///< without an answer yet
};

} // namespace world
