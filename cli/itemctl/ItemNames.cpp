#include "ItemNames.h"

#include "NearestWord.h"
#include "common/DisplayText.h"
#include "items/ItemPattern.h"

#include <QRegularExpression>

#include <algorithm>

namespace itemctl {
namespace {

constexpr int MaximumCandidates = 6;

QString quoted(const QString& name)
{
    return QLatin1Char('"') + escaped(name) + QLatin1Char('"');
}

bool hasName(const Item& item, const QString& name)
{
    return name == item.address || name == item.idWithIndex() || name == item.shortName();
}

/// Whether the name is that of the whole list which the item is an instance of.
bool isInstanceOf(const Item& item, const QString& name)
{
    if (!item.index) {
        return false;
    }
    if (name == item.id || name == item.module + QLatin1Char(':') + item.id) {
        return true;
    }
    return name == QStringLiteral(":%1:%2:%3:%4:").arg(item.kind, item.server, item.module, item.id);
}

/// The name that was probably meant; empty when none is near enough.
QString nearest(const Items& items, const QString& typed)
{
    const QString name = typed.section(QLatin1Char('='), 0, 0); // as of a condition, or an assignment
    const bool isAddress = name.startsWith(QLatin1Char(':'));
    const bool withModule = name.contains(QLatin1Char(':'));
    QStringList candidates;
    for (const Item& item : items) {
        const QString candidate = isAddress ? item.address : withModule ? item.shortName() : item.id;
        // The instances of a list follow one another.
        if (candidates.isEmpty() || candidates.last() != candidate) {
            candidates += candidate;
        }
    }
    return base::nearestWord(name, candidates);
}

/// The module that "module:id" names; empty for a full address, for an id and for one with an index.
QString moduleOf(const QString& name)
{
    static const QRegularExpression form(QStringLiteral("^(\\w+):(?!\\d+$)"));
    return form.match(name).captured(1);
}

QString suggestion(const Items& items, const QString& name)
{
    const QString near = nearest(items, name);
    return near.isEmpty() ? QStringLiteral("; \"itemctl list\" shows what there is")
                          : QStringLiteral("; did you mean %1?").arg(quoted(near));
}

base::Error several(const Items& items, const QVector<int>& found, const QString& name)
{
    QStringList addresses;
    for (const int at : found.mid(0, MaximumCandidates)) {
        addresses += items[at].address;
    }
    if (found.size() > MaximumCandidates) {
        addresses += QStringLiteral("%1 more").arg(found.size() - MaximumCandidates);
    }
    return { QStringLiteral("%1 fits several items, name one of them: %2")
                 .arg(quoted(name), addresses.join(QStringLiteral(", "))),
             base::Failure::NoSuchItem };
}

base::Error noAction(const Item& item, const QString& name)
{
    const QString instead = item.kind == QLatin1String("config")
        ? QStringLiteral("\"itemctl set %1 VALUE\" writes it")
        : QStringLiteral("\"itemctl get %1\" reads it");
    return { QStringLiteral("%1 is a %2, not an action; %3")
                 .arg(quoted(name), item.kind, instead.arg(escaped(name))),
             base::Failure::NoSuchItem };
}

base::Error none(const Items& items, const QString& name, Wanted wanted)
{
    const auto instances =
        std::count_if(items.begin(), items.end(), [&](const Item& item) { return isInstanceOf(item, name); });
    if (instances > 0) {
        return { QStringLiteral("%1 is a list of %2 instances, name one of them: %1:0 to %1:%3")
                     .arg(name)
                     .arg(instances)
                     .arg(instances - 1),
                 base::Failure::NoSuchItem };
    }
    return { QStringLiteral("no %1 %2%3")
                 .arg(wanted == Wanted::Action ? QStringLiteral("action") : QStringLiteral("item"),
                      quoted(name), suggestion(items, name)),
             base::Failure::NoSuchItem };
}

} // namespace

base::Result<int> findItem(const Items& items, const QString& name, Wanted wanted)
{
    QVector<int> found;
    QVector<int> ofOtherKind;
    for (int i = 0; i < items.size(); ++i) {
        if (!hasName(items[i], name)) {
            continue;
        }
        const bool fits = wanted == Wanted::Any || items[i].isAction() == (wanted == Wanted::Action);
        (fits ? found : ofOtherKind).append(i);
    }
    if (found.isEmpty() && wanted == Wanted::Valued) {
        found = ofOtherKind;
    }
    if (found.size() == 1) {
        return found.first();
    }
    if (found.size() > 1) {
        return tl::unexpected(several(items, found, name));
    }
    if (!ofOtherKind.isEmpty()) {
        return tl::unexpected(noAction(items[ofOtherKind.first()], name));
    }
    return tl::unexpected(none(items, name, wanted));
}

base::Result<QVector<int>> findRows(const Items& items, const QString& name)
{
    QVector<int> found;
    QStringList lists;
    for (int i = 0; i < items.size(); ++i) {
        if (isInstanceOf(items[i], name)) {
            found.append(i);
            lists << QStringLiteral(":%1:%2:%3:%4:")
                         .arg(items[i].kind, items[i].server, items[i].module, items[i].id);
        }
    }
    lists.removeDuplicates();
    if (lists.size() > 1) {
        return base::error(QStringLiteral("%1 fits several lists, name one of them: %2")
                               .arg(quoted(name), lists.join(QStringLiteral(", "))),
                           base::Failure::NoSuchItem);
    }
    if (found.isEmpty()) {
        return base::error(QStringLiteral("no list %1%2").arg(quoted(name), suggestion(items, name)),
                           base::Failure::NoSuchItem);
    }
    return found;
}

base::Error notFound(const Items& items, const Servers& servers, const QString& name,
                     const base::Error& error)
{
    const auto without = [&error](const QString& server) {
        return base::Error{ QStringLiteral("server %1 is not on the bus; %2").arg(server, error.text),
                            base::Failure::NoServer };
    };
    const QString server = serverOfAddress(name);
    const auto isOf = [&server](const Item& item) {
        return item.server == server;
    };
    if (!server.isEmpty() && std::none_of(items.begin(), items.end(), isOf)) {
        return without(server);
    }
    if (!servers.absent().isEmpty()) {
        return without(servers.absent().join(QStringLiteral(", ")));
    }
    if (!servers.silent().empty()) {
        return { QStringLiteral("no server that answers has %1").arg(quoted(name)), base::Failure::NoAnswer };
    }
    const QString module = moduleOf(name);
    const auto isIn = [&module](const Item& item) {
        return item.module == module;
    };
    if (!module.isEmpty() && std::none_of(items.begin(), items.end(), isIn)
        && nearest(items, name).isEmpty()) {
        return { QStringLiteral("no server on the session bus has a module %1").arg(quoted(module)),
                 base::Failure::NoServer };
    }
    return error;
}

base::Result<Condition> bind(const Condition& condition, const Item& item, const Servers& servers)
{
    if (!condition.comparesValue()) {
        return condition;
    }
    return resultOf(servers.clientOf(item).describe(item.address))
        .and_then([&condition](const QVariantMap& description) { return condition.boundTo(description); });
}

QString serverOfAddress(const QString& name)
{
    const QString server =
        name.startsWith(QLatin1Char(':')) ? name.section(QLatin1Char(':'), 2, 2) : QString();
    // A shell pattern there means any server that fits.
    const bool isPattern = std::any_of(server.begin(), server.end(), [](QChar character) {
        return QLatin1String("*?[").contains(character);
    });
    return isPattern ? QString() : server;
}

bool matches(const Item& item, const QString& pattern)
{
    const auto address = ipc::ItemAddress::parse(item.address);
    return address && ipc::matchesPattern(*address, pattern);
}

bool matchesAny(const Item& item, const QStringList& patterns)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const QString& pattern) { return matches(item, pattern); });
}

Items matching(const Items& items, const QStringList& patterns)
{
    if (patterns.isEmpty()) {
        return items;
    }
    Items fitting;
    std::copy_if(items.begin(), items.end(), std::back_inserter(fitting),
                 [&](const Item& item) { return matchesAny(item, patterns); });
    return fitting;
}

QStringList unmatched(const Items& items, const QStringList& patterns)
{
    QStringList left;
    std::copy_if(patterns.begin(), patterns.end(), std::back_inserter(left), [&](const QString& pattern) {
        return std::none_of(items.begin(), items.end(),
                            [&](const Item& item) { return matches(item, pattern); });
    });
    return left;
}

base::Result<> checkAllMatch(const Items& items, const Servers& servers, const QStringList& patterns)
{
    const QStringList left = unmatched(items, patterns);
    if (left.isEmpty()) {
        return {};
    }
    QStringList names;
    std::transform(left.begin(), left.end(), std::back_inserter(names), quoted);
    const QString text = QStringLiteral("no item matches %1%2")
                             .arg(names.join(QStringLiteral(" or ")), suggestion(items, left.first()));
    return tl::unexpected(notFound(items, servers, left.first(), { text, base::Failure::NoSuchItem }));
}

} // namespace itemctl
