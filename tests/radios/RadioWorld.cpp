#include "RadioWorld.h"

#include <QProcess>
#include <QSet>
#include <QTest>

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
    auto servers = mirror::sessionBus().and_then(
        [](const QDBusConnection& bus) { return mirror::Servers::open(bus, { "bluetoothlauncher" }); });
    if (!servers) {
        return problemOf(servers);
    }
    m_items = std::make_unique<mirror::LiveItems>(std::move(*servers));
    QObject::connect(m_items.get(), &mirror::LiveItems::itemChanged, m_items.get(),
                     [this](int position) { note(m_items->items().at(position)); });
    const auto present = m_items->start();
    for (const mirror::Item& item : m_items->items()) {
        note(item);
    }
    mark();
    return problemOf(present);
}

void RadioWorld::note(const mirror::Item& item)
{
    const QString name = item.idWithIndex();
    const QString now = item.text.isEmpty() ? item.value.toString() : item.text;
    const QString before = std::exchange(m_texts[name], now);
    if (before != now) {
        QStringList& history = m_history[name];
        history << (history.isEmpty() ? QStringList{ before, now } : QStringList{ now });
    }
}

int RadioWorld::row(const QString& item, const QString& value) const
{
    for (int index = 0; m_texts.contains(QString("%1:%2").arg(item).arg(index)); ++index) {
        if (text(QString("%1:%2").arg(item).arg(index)) == value) {
            return index;
        }
    }
    return -1;
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

// A line comes another way than the items do.
bool RadioWorld::awaitTold(const QString& part) const
{
    const auto isTold = [&] {
        return m_world.output().midRef(m_toldBefore).contains(part);
    };
    const bool came = QTest::qWaitFor(isTold, static_cast<int>(m_scenery.patience(m_inVain).count()));
    if (!came) {
        qWarning().noquote() << part << "is not told, but" << m_world.output().mid(m_toldBefore);
    }
    return came;
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
