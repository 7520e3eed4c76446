#include "Item.h"

#include "ForkGuard.h"
#include "ModuleItems.h"
#include "expressions/Applicability.h"

#include <QDebug>

#include <utility>

namespace ipc {

Item::Item(ItemAddress address, const Definition& definition, ModuleItems* owner)
    : m_address(std::move(address))
    , m_label(definition.label)
    , m_hint(definition.hint)
    , m_handler(definition.handler)
    , m_type(definition.type)
    , m_defaultValue(definition.initialValue)
    , m_value(m_defaultValue)
    , m_toldValue(m_defaultValue)
    , m_owner(owner)
    , m_isWritable(definition.kind == ItemKind::Config)
{
}

const QString& Item::addressText() const
{
    if (m_addressText.isEmpty()) {
        m_addressText = m_address.toString();
    }
    return m_addressText;
}

QString Item::applicability() const
{
    return m_expression == nullptr ? QString() : m_expression->text();
}

bool Item::isApplicable() const
{
    return m_madeApplicable && (m_expression == nullptr || m_expression->holds());
}

void Item::store(const QVariant& value, bool announce)
{
    leaveIfForked();
    const QVariant converted = m_type.fromModule(value);
    if (!converted.isValid() && value.isValid()) {
        qWarning().noquote() << addressText() << "keeps its value: a" << value.typeName()
                             << "does not convert to" << m_type.name();
        return;
    }
    const bool isNew = converted != m_value;
    if (isNew) {
        m_value = converted;
        valueChanged();
        noteDifference();
    }
    if (announce && (isNew || m_value != m_toldValue)) {
        m_hasChanged = true;
        applicabilityMayDiffer();
    }
    if (m_isObserved && m_owner != nullptr) {
        m_owner->announceWrite(*this);
    }
}

void Item::setApplicable(bool applicable, bool announce)
{
    leaveIfForked();
    m_madeApplicable = applicable;
    noteDifference();
    if (announce) {
        applicabilityMayDiffer();
    }
}

void Item::noteDifference()
{
    if (m_owner != nullptr) {
        m_owner->noteDifference();
    }
}

void Item::applicabilityMayDiffer()
{
    if (m_owner != nullptr && !std::exchange(m_isListed, true)) {
        m_owner->listAsChanged(*this);
    }
}

Item::Changes Item::takeChanges(bool withApplicability)
{
    Changes changes;
    m_isListed = false;
    changes.differs = m_value != m_toldValue;
    changes.value = std::exchange(m_hasChanged, false) || changes.differs;
    m_toldValue = m_value;
    if (withApplicability && isApplicable() != m_toldApplicable) {
        m_toldApplicable = !m_toldApplicable;
        changes.applicable = true;
    }
    return changes;
}

} // namespace ipc
