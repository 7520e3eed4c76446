#include "Opening.h"

#include "BusLoss.h"
#include "ItemNames.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QTimer>

namespace itemctl {
namespace {

using Opened = base::Result<std::unique_ptr<LiveItems>>;
using Check = std::function<base::Result<>(LiveItems&)>;

/// Whether a server that comes may change it: none is there, or none has the item.
bool mayStillCome(const base::Error& error)
{
    return error.kind == base::Failure::NoServer || error.kind == base::Failure::NoSuchItem;
}

/// Leaves out the servers that have nothing of these, which have nothing to tell.
/// @return what to ask the others for: these, or everything, among which the nearest to a name that nobody
/// has is looked for.
QStringList narrowed(Servers& servers, const QStringList& names)
{
    if (names.isEmpty()) {
        return {};
    }
    const auto items = servers.list(names);
    if (!items || !unmatched(*items, names).isEmpty()) {
        return {};
    }
    servers.keepThoseOf(*items);
    return names;
}

Opened open(const Request& request, const QStringList& names, const Patience& patience, Output& output,
            const Check& check)
{
    auto servers = serversFor(request, names);
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    servers->setTimeout(patience.ofAnAnswer());
    const QStringList asked = narrowed(*servers, names);
    auto live = std::make_unique<LiveItems>(std::move(*servers), asked);
    if (const auto started = live->start(); !started) {
        return tl::unexpected(started.error());
    }
    const auto checked = check(*live);
    if (!checked && request.awaitsServer && mayStillCome(checked.error())) {
        return tl::unexpected(checked.error());
    }
    noteSilent(live->servers(), output);
    return checked ? Opened(std::move(live)) : tl::unexpected(checked.error());
}

} // namespace

Opened openLive(const Request& request, const QStringList& names, const Patience& patience, Output& output,
                const Check& check)
{
    if (!request.awaitsServer) {
        return open(request, names, patience, output, check);
    }
    const QDBusConnection bus = ownConnection();
    QEventLoop loop;
    // Listens first: a server may come between a look and the next.
    const QDBusServiceWatcher arrivals(QStringLiteral("tov.base*"), bus,
                                       QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&arrivals, &QDBusServiceWatcher::serviceRegistered, &loop, &QEventLoop::quit);
    const base::BusLoss loss(bus);
    QObject::connect(&loss, &base::BusLoss::lost, &loop, &QEventLoop::quit);
    QTimer time;
    time.setSingleShot(true);
    QObject::connect(&time, &QTimer::timeout, &loop, &QEventLoop::quit);
    for (;;) {
        Opened opened = open(request, names, patience, output, check);
        if (opened || !mayStillCome(opened.error()) || !bus.isConnected()) {
            return opened;
        }
        if (patience.isOver()) {
            return base::error(
                QStringLiteral("timed out after %1: %2").arg(patience.text(), opened.error().text),
                base::Failure::NoAnswer);
        }
        if (patience.hasEnd()) {
            time.start(patience.left());
        }
        loop.exec();
    }
}

} // namespace itemctl
