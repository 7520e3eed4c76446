#include "RadioWorld.h"

#include <QProcess>
#include <QSet>

namespace {

const QString PairState = "pairstate";

bool isSettled(const QString& state)
{
    static const QSet<QString> settled{ "Idle", "Paired", "Failed", "Failed Authentication",
                                        "Failed Connecting" };
    return settled.contains(state);
}

void answer(const QString& state, const OurUser& user)
{
    const bool agrees = user.says == OurUser::Says::Yes;
    if (user.says == OurUser::Says::Nothing) {
        return;
    }
    if (state == "PIN Needed") {
        agrees ? RadioWorld::trigger("pinreply", user.pin) : RadioWorld::trigger("pindecline");
    } else if (state == "Need Confirmation" || state == "Need Verification") {
        RadioWorld::trigger(agrees ? "confirmcode" : "rejectcode");
    }
}

/// What it has to say goes to our own output.
bool itemctl(const QStringList& arguments)
{
    return QProcess::execute("itemctl", arguments) == 0;
}

} // namespace

RadioWorld::RadioWorld(const world::PrivateFilesystem& filesystem, Scenery& scenery)
    : m_scenery(scenery)
    , m_world(filesystem)
{
}

QString RadioWorld::start()
{
    QString problem = m_scenery.begin();
    if (problem.isEmpty()) {
        world::WorldOptions options;
        options.limit = m_scenery.patience(0);
        problem = problemOf(m_world.start(options));
    }
    if (!problem.isEmpty()) {
        return problem;
    }
    m_client =
        std::make_unique<KELClientInterface>("tov.base.bluetoothlauncher", QDBusConnection::sessionBus());
    m_mirror = std::make_unique<world::ItemMirror>(*m_client);
    return problemOf(m_mirror->begin());
}

void RadioWorld::trigger(const QString& action, const QString& text)
{
    itemctl({ "call", action, "--", text });
}

bool RadioWorld::enable(bool enabled)
{
    return itemctl({ "set", "enabled", enabled ? "true" : "false" })
        && await("status", enabled ? "On" : "No Device");
}

QStringList RadioWorld::history(const QString& item) const
{
    for (const world::ItemHistory& history : m_mirror->history()) {
        if (history.name == item) {
            return history.values;
        }
    }
    return {};
}

QString seePairingThrough(RadioWorld& world, const OurUser& user)
{
    int seen = 1; // the state before
    const bool settled = world.await([&] {
        const QStringList states = world.history(PairState);
        for (; seen < states.size(); ++seen) {
            answer(states.at(seen), user);
        }
        return states.size() > 1 && isSettled(states.last());
    });
    return settled ? world.text(PairState) : "still " + world.text(PairState);
}

QString pairWith(RadioWorld& world, const QString& address, const OurUser& user)
{
    if (!world.await("status", "On")) {
        return "no radio";
    }
    world.mark();
    RadioWorld::trigger("pair", address);
    return seePairingThrough(world, user);
}

bool unpairAll(RadioWorld& world)
{
    const QString first = "pairlistAddr:0";
    while (!world.text(first).isEmpty()) {
        const QString address = world.text(first);
        RadioWorld::trigger("unpair", address);
        if (!world.await([&] { return world.row("pairlistAddr", address) < 0; })) {
            return false;
        }
    }
    world.scenery().forgetUs();
    return true;
}
