#pragma once

#include "ItemRecord.h"
#include "Outcome.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>

#include <functional>
#include <list>

namespace ipc {

class ItemServer;
class Outflow;

/// The object on the bus: takes the calls of tov.base.Items in as they come. A few of callers of whom none
/// waits are answered at once; when there are more, the server answers one in each turn of the event loop,
/// its callers taking turns. So nobody waits for more than one call of each other caller, however many
/// somebody sends, and a single call hardly at all. What is refused because too many calls wait is told in
/// its caller's turns as well: who sends a call for each answer would fill the bus with calls that are
/// refused at once, and every other call would wait behind them.
class CallQueue : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_PROPERTY(QStringList Modules READ modules)
public:
    /// Calls that may wait of one caller; as many as a bus lets wait for answers by default.
    static constexpr int MostOfOne = 128;
    /// Bytes of the calls that may wait of all callers together; twice as many for those of whom none waits.
    static constexpr qint64 MostOfAll = 8'000'000;
    /// Bytes of the refusals that wait for their caller's turn; those beyond are told at once.
    static constexpr qint64 MostRefusals = 4'000'000;

    /// Both have to outlive it.
    CallQueue(ItemServer& server, Outflow& outflow, const QDBusConnection& connection);

    /// The call that is being answered is answered with an error.
    void refuse(const QString& error, const QString& text);
    /// Who sent it; empty outside of a call.
    [[nodiscard]] QString caller() const { return m_answered.service(); }

    [[nodiscard]] QStringList modules() const;

    // The methods of tov.base.Items. What they return is dropped: the answer comes later.
    qulonglong List(const QStringList& patterns, ipc::ItemRecords& items);
    qulonglong Watch(const QStringList& patterns, ipc::ItemRecords& items);
    QDBusVariant Get(const QString& item);
    void Set(const QString& item, const QDBusVariant& value);
    QString Trigger(const QString& action, const QString& text);
    QVariantMap Describe(const QString& item);

private:
    using Answer = std::function<QVariantList()>;
    struct Call
    {
        QDBusMessage message;
        Answer answer;
        qint64 weight = 0; ///< bytes, about
    };
    struct Refusal
    {
        QDBusMessage message;
        qint64 weight = 0; ///< bytes, about, with the call that it answers
    };
    struct Caller
    {
        QString name;
        std::list<Call> calls;
        std::list<Refusal> refusals;
        bool isWatched = false;
    };

    /// @param checked whether the call keeps within the limits of requests: nothing larger waits here.
    void take(const Outcome<Done>& checked, Answer answer);
    template <auto Method>
    void takeOfPatterns(const QStringList& patterns);
    /// @return why a call is not taken in, of whose caller so many wait; empty when it is
    [[nodiscard]] QString excess(const Call& call, std::size_t waiting) const;
    void refuse(const Call& call, const QString& text, Caller* caller);
    void tellRefusals(Caller& caller, int most);
    void scheduleAnswer();
    void answerNext();
    void answer(const Call& call);
    void send(const QDBusMessage& call, const QDBusMessage& answer, const QVariantList& values = {});
    /// Of a caller that has left the bus.
    void dropUnheard(const QString& caller);

    ItemServer& m_server;
    Outflow& m_outflow;
    std::list<Caller> m_callers; ///< those who wait, in the order in which they are answered
    qint64 m_waiting = 0; ///< bytes of their calls
    qint64 m_refused = 0; ///< bytes of the refusals
    QDBusServiceWatcher m_callerLeft; ///< of the watched callers, for whom many calls wait
    QDBusMessage m_answered; ///< the call that is being answered
    int m_atOnce = 0; ///< calls answered as they came, in this turn
    bool m_isRefused = false;
    bool m_isScheduled = false;
};

} // namespace ipc
