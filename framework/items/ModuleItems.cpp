#include "ModuleItems.h"

#include "ForkGuard.h"
#include "expressions/Applicability.h"

#include <QDebug>

namespace ipc {
namespace {

constexpr QLatin1Char ExpressionSeparator{ '\n' };

std::size_t slot(ItemKind kind)
{
    return static_cast<std::size_t>(kind);
}

} // namespace

ModuleItems::ModuleItems(QString serverName, QString moduleName,
                         std::function<void(const QString&)> onObservedWrite)
    : m_server(std::move(serverName))
    , m_module(std::move(moduleName))
    , m_onObservedWrite(std::move(onObservedWrite))
    , m_applicability(std::make_unique<Applicability>(*this))
{
    for (const ItemKind kind : { ItemKind::Config, ItemKind::Result, ItemKind::Action }) {
        m_addressPrefixes[slot(kind)] = QStringLiteral(":%1:%2:%3:").arg(toString(kind), m_server, m_module);
    }
}

ModuleItems::~ModuleItems() = default;

QString ModuleItems::joinExpressions(const QStringList& expressions)
{
    return expressions.join(ExpressionSeparator);
}

std::vector<std::shared_ptr<Item>> ModuleItems::add(const Definition& definition)
{
    std::vector<std::shared_ptr<Item>> added;
    const bool isList = definition.instances != 1;
    const QStringList expressions = definition.applicability.split(ExpressionSeparator);
    for (int i = 0; i < static_cast<int>(definition.instances); ++i) {
        const ItemAddress address{ definition.kind, m_server, m_module, definition.id,
                                   isList ? i : ItemAddress::NoIndex };
        Item*& known = m_byName[slot(definition.kind)][address.shortName()];
        if (known) {
            qWarning().noquote() << address.toString() << "exists already and is not added again";
            continue;
        }
        auto item =
            std::make_shared<Item>(address, definition.label, definition.type, definition.initialValue);
        item->hint = definition.hint;
        item->owner = this;
        known = item.get();
        // One expression may stand for all instances; an instance without one always applies.
        const QString expression = expressions.size() == 1 ? expressions.first() : expressions.value(i);
        if (!expression.isEmpty()) {
            m_applicability->bind(*item, expression);
        }
        m_handles.emplace(item.get(), std::make_unique<ServerItem>(item));
        m_items.push_back(item);
        added.push_back(std::move(item));
    }
    return added;
}

Item* ModuleItems::find(ItemKind kind, const QString& name) const
{
    const auto& byName = m_byName[slot(kind)];
    if (!name.startsWith(QLatin1Char(':'))) {
        return byName.value(name);
    }
    const QString& prefix = m_addressPrefixes[slot(kind)];
    if (!name.startsWith(prefix) || !name.endsWith(QLatin1Char(':'))) {
        return nullptr;
    }
    return byName.value(name.mid(prefix.size(), name.size() - prefix.size() - 1));
}

Item* ModuleItems::findOrWarn(ItemKind kind, const QString& name) const
{
    leaveIfForked();
    Item* item = find(kind, name);
    if (!item) {
        warnOnce(kind, name);
    }
    return item;
}

void ModuleItems::warnOnce(ItemKind kind, const QString& name) const
{
    const QString kindAndName = toString(kind) + QLatin1Char(' ') + name;
    if (m_unknownNames.contains(kindAndName)) {
        return;
    }
    m_unknownNames.insert(kindAndName);
    qWarning().noquote().nospace() << m_module << " has no " << toString(kind) << " \"" << name << '"';
}

std::vector<Item*> ModuleItems::instances(ItemKind kind, const QString& id) const
{
    std::vector<Item*> found;
    if (Item* single = find(kind, id)) {
        found.push_back(single);
        return found;
    }
    for (int i = 0;; ++i) {
        Item* instance = m_byName[slot(kind)].value(shortItemName(id, i));
        if (!instance) {
            return found;
        }
        found.push_back(instance);
    }
}

ServerItem* ModuleItems::handle(const Item& item) const
{
    const auto found = m_handles.find(&item);
    return found == m_handles.end() ? nullptr : found->second.get();
}

void ModuleItems::checkExpressions() const
{
    m_applicability->check();
}

void ModuleItems::listAsChanged(Item& item)
{
    if (!item.isListedAsChanged) {
        item.isListedAsChanged = true;
        m_changed.push_back(&item);
    }
    if (!m_changeAnnounced && m_onFirstChange) {
        m_changeAnnounced = true;
        m_onFirstChange();
    }
}

void ModuleItems::announceWrite(const Item& item) const
{
    m_onObservedWrite(item.address.toString());
    leaveIfForked();
}

std::vector<Item*> ModuleItems::takeChanged(bool withApplicability)
{
    // Listing the dependents of expressions with a new result must not announce a further change.
    m_changeAnnounced = true;
    if (withApplicability) {
        m_applicability->listDependents();
    }
    m_changeAnnounced = false;
    std::vector<Item*> changed;
    changed.swap(m_changed);
    for (Item* item : changed) {
        item->isListedAsChanged = false;
    }
    return changed;
}

} // namespace ipc
