#pragma once

#include "LiveItems.h"
#include "Scenery.h"
#include "World.h"
#include "support/ProblemOf.h"

#include <QDebug>
#include <QSignalSpy>

#include <chrono>

/// The module in its host with one of the radios, as a client of its items sees it.
class RadioWorld
{
public:
    RadioWorld(const world::PrivateFilesystem& filesystem, Scenery& scenery);
    [[nodiscard]] QString start();

    [[nodiscard]] Scenery& scenery() { return m_scenery; }
    [[nodiscard]] QString output() const { return m_world.output(); }

    /// The value as a person reads it: an enumeration's label. Empty for an unknown name.
    [[nodiscard]] QString text(const QString& item) const { return m_texts.value(item); }
    /// The index of the row of a list that has this value; -1 when there is none.
    [[nodiscard]] int row(const QString& item, const QString& value) const;
    /// Waits until it holds; looked at again at each change of an item.
    template <typename Condition>
    [[nodiscard]] bool await(Condition holds)
    {
        const QDeadlineTimer deadline(m_scenery.patience(m_inVain));
        while (!holds()) {
            QSignalSpy changes(m_items.get(), &mirror::LiveItems::turnEnded);
            if (!changes.wait(static_cast<int>(deadline.remainingTime())) && !holds()) {
                ++m_inVain;
                return false;
            }
        }
        return true;
    }
    /// Says so when it does not come.
    [[nodiscard]] bool await(const QString& item, const QString& value)
    {
        const bool came = await([&] { return text(item) == value; });
        if (!came) {
            qWarning().noquote() << item << "is" << text(item) << "and not" << value;
        }
        return came;
    }

    /// By itemctl, as everybody does.
    static void trigger(const QString& action, const QString& text = {});
    [[nodiscard]] bool enable(bool enabled);

    /// Begins to keep what items go through, and what is told.
    void mark()
    {
        m_history.clear();
        m_toldBefore = m_world.output().size();
    }
    /// What an item was, and each value since mark(); empty when it did not change.
    [[nodiscard]] QStringList history(const QString& item) const { return m_history.value(item); }

    /// Waits for a line of the radio's since mark().
    [[nodiscard]] bool awaitTold(const QString& part) const;

private:
    void note(const mirror::Item& item);

    Scenery& m_scenery;
    world::World m_world;
    int m_inVain = 0;
    std::unique_ptr<mirror::LiveItems> m_items;
    QHash<QString, QString> m_texts; ///< by name, "pairlistName:3"
    QHash<QString, QStringList> m_history;
    int m_toldBefore = 0; ///< characters
};

/// How our user answers what is asked during a pairing.
struct OurUser
{
    enum class Says { Yes, No, Nothing };
    Says says = Says::Yes;
    QString pin = Scenery::pin();
};

/// Answers the questions of the pairing that is under way. @return the state in which it settles.
QString seePairingThrough(RadioWorld& world, const OurUser& user = {});
/// Asks to pair, and sees it through.
QString pairWith(RadioWorld& world, const QString& address, const OurUser& user = {});
/// Unpairs whatever is paired, on both sides.
[[nodiscard]] bool unpairAll(RadioWorld& world);
