#pragma once

#include "Scenery.h"
#include "client/KELClientInterface.h"
#include "world/ItemMirror.h"
#include "world/World.h"

#include <QSignalSpy>

#include <chrono>

/// The module in its host with one of the radios, as a client of its items sees it.
class RadioWorld
{
public:
    /// Nothing that is waited for takes that long; software emulation is slow.
    static constexpr std::chrono::milliseconds Limit{ 60'000 };

    RadioWorld(const world::PrivateFilesystem& filesystem, Scenery& scenery);
    [[nodiscard]] QString start();

    [[nodiscard]] Scenery& scenery() { return m_scenery; }
    [[nodiscard]] QString output() const { return m_world.output(); }

    [[nodiscard]] QString text(const QString& item) const { return m_mirror->text(item); }
    [[nodiscard]] int row(const QString& item, const QString& value) const
    {
        return m_mirror->row(item, value);
    }
    /// Waits until it holds; looked at again at each change of an item.
    template <typename Condition>
    [[nodiscard]] bool await(Condition holds, std::chrono::milliseconds limit = Limit)
    {
        const QDeadlineTimer deadline(limit);
        while (!holds()) {
            QSignalSpy changes(m_mirror.get(), &world::ItemMirror::changed);
            if (!changes.wait(static_cast<int>(deadline.remainingTime()))) {
                return holds();
            }
        }
        return true;
    }
    [[nodiscard]] bool await(const QString& item, const QString& value)
    {
        return await([&] { return text(item) == value; });
    }

    /// By itemctl, as everybody does.
    static void trigger(const QString& action, const QString& text = {});
    [[nodiscard]] bool enable(bool enabled);

    /// Begins to keep what items go through.
    void mark() { m_mirror->mark(); }
    /// What an item was, and each value since mark(); empty when it did not change.
    [[nodiscard]] QStringList history(const QString& item) const;

private:
    Scenery& m_scenery;
    world::World m_world;
    std::unique_ptr<KELClientInterface> m_client;
    std::unique_ptr<world::ItemMirror> m_mirror;
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
