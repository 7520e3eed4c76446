// The methods of tov.base.Items: what clients ask of a server.

#include "CallQueue.h"
#include "ItemProperties.h"
#include "ItemServer.h"
#include "Names.h"
#include "RegistrationModule.h"
#include "items/ForkGuard.h"
#include "items/ItemPattern.h"
#include "items/ModuleItems.h"

#include <QDBusMessage>
#include <QSet>

#include <algorithm>

namespace ipc {
namespace {

const QLatin1String NotAnAction{ "tov.base.Error.NotAnAction" };
const QLatin1String NoValue{ "tov.base.Error.NoValue" };
const QLatin1String ReadOnly{ "tov.base.Error.ReadOnly" };
const QLatin1String InvalidValue{ "tov.base.Error.InvalidValue" };
const QLatin1String Halting{ "tov.base.Error.Halting" };
const QLatin1String ActionFailed{ "tov.base.Error.ActionFailed" };

/// "bluetooth:scan" and "scan" name an item without saying of which kind; a full address says it.
QString withoutModule(const QString& name, const QString& module)
{
    const QString prefix = module + QLatin1Char(':');
    return name.startsWith(prefix) ? name.mid(prefix.size()) : name;
}

} // namespace

std::vector<ItemServer::Found> ItemServer::findAll(const QString& name) const
{
    std::vector<Found> found;
    for (RegistrationModule* module : m_modules) {
        if (!module->publishesItems()) {
            continue;
        }
        const QString local = withoutModule(name, module->moduleName());
        for (const ItemKind kind : { ItemKind::Config, ItemKind::Result, ItemKind::Action }) {
            if (Item* item = module->items().find(kind, local)) {
                found.push_back({ module, item });
            }
        }
    }
    return found;
}

ItemServer::Found ItemServer::findForRequest(const QString& name)
{
    leaveIfForked();
    const std::vector<Found> found = findAll(name);
    if (found.size() == 1) {
        if (!m_hadClient) {
            m_hadClient = true;
            for (RegistrationModule* module : m_modules) {
                module->firstClientSeen();
            }
        }
        return found.front();
    }
    if (found.empty()) {
        m_calls->refuse(names::NoSuchItem,
                        QStringLiteral("there is no item \"%1\" among %2; List names them all")
                            .arg(name, modules().join(QStringLiteral(", "))));
        return {};
    }
    QStringList candidates;
    for (const Found& candidate : found) {
        candidates << candidate.item->addressText();
    }
    m_calls->refuse(
        names::AmbiguousItem,
        QStringLiteral("\"%1\" names several items: %2").arg(name, candidates.join(QStringLiteral(", "))));
    return {};
}

// Names, as most patterns are, need no look at each of thousands of items.
ItemRecords ItemServer::named(const QStringList& names) const
{
    ItemRecords records;
    for (RegistrationModule* module : m_modules) {
        if (!module->publishesItems()) {
            continue;
        }
        QSet<const Item*> found;
        for (const QString& name : names) {
            const QString local = withoutModule(name, module->moduleName());
            for (const ItemKind kind : { ItemKind::Config, ItemKind::Result, ItemKind::Action }) {
                for (const Item* item : module->items().instances(kind, local)) {
                    found.insert(item);
                }
            }
        }
        if (found.size() == 1) {
            records << listedItem(**found.begin());
        } else if (!found.isEmpty()) {
            for (const auto& item : module->items().all()) { // in this order
                if (found.contains(item.get())) {
                    records << listedItem(*item);
                }
            }
        }
    }
    return records;
}

ItemRecords ItemServer::matching(const QStringList& patterns) const
{
    if (!patterns.isEmpty() && std::all_of(patterns.begin(), patterns.end(), isName)) {
        return named(patterns);
    }
    ItemRecords records;
    for (RegistrationModule* module : m_modules) {
        if (!module->publishesItems()) {
            continue;
        }
        for (const auto& item : module->items().all()) {
            if (patterns.isEmpty() || matchesAnyPattern(item->address(), patterns)) {
                records << listedItem(*item);
            }
        }
    }
    return records;
}

const ItemRecords& ItemServer::all()
{
    std::vector<quint64> versions;
    for (RegistrationModule* module : m_modules) {
        versions.push_back(module->publishesItems() ? module->items().version() : 0);
    }
    if (versions != m_keptVersions) {
        m_kept = matching({});
        m_keptVersions = versions;
    }
    return m_kept;
}

qulonglong ItemServer::List(const QStringList& patterns, ItemRecords& items)
{
    // What waits to be sent goes first, so that the answer contains all up to its serial.
    flush();
    items = patterns.isEmpty() ? all() : matching(patterns);
    return m_serial;
}

qulonglong ItemServer::Watch(const QStringList& patterns, ItemRecords& items)
{
    const QString client = m_calls->caller();
    if (m_watchers.isEmpty()) {
        // The first watcher's snapshot is what changes of applicability are measured against.
        tell();
        for (RegistrationModule* module : m_modules) {
            for (const auto& item : module->items().all()) {
                item->takeChanges(true);
            }
        }
    }
    if (!m_watchers.contains(client)) {
        m_watchers.insert(client);
        m_watcherLeft.addWatchedService(client);
    }
    return List(patterns, items);
}

QDBusVariant ItemServer::Get(const QString& item)
{
    const Found found = findForRequest(item);
    if (!found.item) {
        return QDBusVariant(QString());
    }
    if (!found.item->value().isValid()) {
        const bool isAction = found.item->address().kind == ItemKind::Action;
        m_calls->refuse(NoValue,
                        QStringLiteral("%1 %2").arg(
                            found.item->addressText(),
                            isAction ? QStringLiteral("is an action and has no value; Trigger calls it")
                                     : QStringLiteral("has no value yet")));
        return QDBusVariant(QString());
    }
    return QDBusVariant(found.item->value());
}

void ItemServer::Set(const QString& item, const QDBusVariant& value)
{
    const Found found = findForRequest(item);
    if (!found.item) {
        return;
    }
    const QString& address = found.item->addressText();
    if (!found.item->isWritable()) {
        m_calls->refuse(
            ReadOnly,
            found.item->address().kind == ItemKind::Action
                ? QStringLiteral("%1 is an action and takes no value; Trigger calls it").arg(address)
                : QStringLiteral("%1 is a result, which its module alone writes").arg(address));
        return;
    }
    QString reason;
    if (!found.module->validateAndApply(address, value.variant(), &reason)) {
        leaveIfForked();
        m_calls->refuse(InvalidValue, QStringLiteral("%1 keeps its value: %2").arg(address, reason));
    }
    leaveIfForked();
}

QString ItemServer::Trigger(const QString& action, const QString& text)
{
    const Found found = findForRequest(action);
    if (!found.item) {
        return {};
    }
    const QString& address = found.item->addressText();
    if (found.item->address().kind != ItemKind::Action) {
        m_calls->refuse(
            NotAnAction,
            QStringLiteral("%1 is no action; Set writes a config, Get reads an item").arg(address));
        return {};
    }
    if (found.module->items().refusesActions()) {
        m_calls->refuse(Halting, QStringLiteral("%1 is refused: the server is shutting down").arg(address));
        return {};
    }
    // What changed before goes first, so that what is told behind the answer came later; but not sooner than
    // signals may be sent, or calls could fill a bus with them.
    flush();
    return callAction(*found.item, text);
}

QString ItemServer::callAction(const Item& action, const QString& text) const
{
    const QString& address = action.addressText();
    std::string reply;
    try {
        if (const auto* handler = std::get_if<TextHandler>(&action.handler())) {
            reply = (*handler)(text.toStdString());
        } else if (!text.isEmpty()) {
            m_calls->refuse(InvalidValue, QStringLiteral("%1 takes no text").arg(address));
        } else if (const auto* plain = std::get_if<NullHandler>(&action.handler())) {
            (*plain)();
        }
    } catch (const std::exception& error) {
        leaveIfForked();
        m_calls->refuse(ActionFailed,
                        QStringLiteral("%1 failed: %2").arg(address, QString::fromUtf8(error.what())));
    }
    leaveIfForked();
    return QString::fromStdString(reply);
}

QVariantMap ItemServer::Describe(const QString& item)
{
    const Found found = findForRequest(item);
    return found.item ? describedItem(*found.item) : QVariantMap();
}

} // namespace ipc
