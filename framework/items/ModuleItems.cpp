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
    , m_applicability(
          std::make_unique<Applicability>(m_module, [this](ExpressionShape::Root root, const QString& name) {
              return find(root == ExpressionShape::Root::Result ? ItemKind::Result : ItemKind::Config, name);
          }))
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

std::vector<Item*> ModuleItems::add(const Item::Definition& definition)
{
    std::vector<Item*> added;
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
        m_items.push_back(std::make_unique<Item>(address, definition, this));
        known = m_items.back().get();
        added.push_back(known);
        noteDifference();
        // One expression may stand for all instances; an instance without one always applies.
        const QString expression = expressions.size() == 1 ? expressions.first() : expressions.value(i);
        if (!expression.isEmpty()) {
            known->setExpression(m_applicability->bind(*known, expression));
        }
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

void ModuleItems::checkExpressions() const
{
    m_applicability->check();
}

void ModuleItems::listAsChanged(Item& item)
{
    m_changed.push_back(&item);
    if (!m_changeAnnounced && m_onFirstChange) {
        m_changeAnnounced = true;
        m_onFirstChange();
    }
}

void ModuleItems::announceWrite(const Item& item) const
{
    m_onObservedWrite(item.addressText());
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
    return std::exchange(m_changed, {});
}

} // namespace ipc
