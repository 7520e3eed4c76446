#include "Item.h"

#include "ForkGuard.h"
#include "ModuleItems.h"
#include "expressions/Applicability.h"

#include <QDebug>

namespace ipc {

Item::Item(ItemAddress itemAddress, QString itemLabel, ValueType valueType, const QVariant& initialValue)
    : address(std::move(itemAddress))
    , label(std::move(itemLabel))
    , defaultValue(initialValue)
    , type(std::move(valueType))
    , isWritable(address.kind == ItemKind::Config)
    , m_value(initialValue)
    , m_toldValue(initialValue)
{
}

bool Item::isApplicable() const
{
    return m_madeApplicable && (expression == nullptr || expression->holds());
}

void Item::store(const QVariant& value, bool announce)
{
    leaveIfForked();
    const QVariant converted = type.fromModule(value);
    if (!converted.isValid() && value.isValid()) {
        qWarning().noquote() << address.toString() << "keeps its value: a" << value.typeName()
                             << "does not convert to" << type.name();
        return;
    }
    if (converted != m_value) {
        m_value = converted;
        newForExpressions = true;
        for (Expression* reader : readers) {
            reader->inputChanged();
        }
    }
    if (announce && owner != nullptr && m_value != m_toldValue) {
        owner->listAsChanged(*this);
    }
    if (isObserved && owner != nullptr) {
        owner->announceWrite(*this);
    }
}

void Item::setApplicable(bool applicable, bool announce)
{
    leaveIfForked();
    m_madeApplicable = applicable;
    if (announce) {
        applicabilityMayDiffer();
    }
}

void Item::applicabilityMayDiffer()
{
    if (owner != nullptr) {
        owner->listAsChanged(*this);
    }
}

unsigned Item::takeChanges(bool withApplicability)
{
    unsigned changes = NoChange;
    if (m_value != m_toldValue) {
        m_toldValue = m_value;
        changes |= ValueChanged;
    }
    if (withApplicability && isApplicable() != m_toldApplicable) {
        m_toldApplicable = !m_toldApplicable;
        changes |= ApplicableChanged;
    }
    return changes;
}

} // namespace ipc
