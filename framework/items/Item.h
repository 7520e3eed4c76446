#pragma once

#include "IpcExport.h"
#include "ItemAddress.h"
#include "ValueType.h"

#include <QString>
#include <QVariant>

#include <boost/function.hpp>

#include <string>
#include <variant>
#include <vector>

namespace ipc {

class Expression;
class ModuleItems;

using NullHandler = boost::function<void()>;
using TextHandler = boost::function<std::string(const std::string&)>;

/// One config, result or action of a module, or one instance of a list item.
class IPC_EXPORT Item
{
public:
    /// What clients have not been told yet, as bits.
    enum Change : unsigned { NoChange = 0, ValueChanged = 1, ApplicableChanged = 2 };

    Item(ItemAddress itemAddress, QString itemLabel, ValueType valueType, const QVariant& initialValue);

    const ItemAddress address;
    const QString label;
    const QVariant defaultValue;
    ValueType type;
    QString hint;
    bool isPrivate = false;
    bool isObserved = false;
    bool isWritable = false; ///< by clients
    std::variant<std::monostate, NullHandler, TextHandler> handler; ///< of an action

    /// The items that announce changes; null for an item that is published nowhere.
    ModuleItems* owner = nullptr;
    Expression* expression = nullptr; ///< null: the item always applies
    std::vector<Expression*> readers; ///< expressions that this item's value is an input of
    bool newForExpressions = true; ///< the expression engine has not seen the present value

    [[nodiscard]] const QVariant& value() const { return m_value; }
    [[nodiscard]] bool isApplicable() const;

    /// A write of the module's own, or a client's that was checked.
    void store(const QVariant& value, bool announce);
    void setApplicable(bool applicable, bool announce);
    /// The item's expression has a new result, perhaps.
    void applicabilityMayDiffer();

    /// What differs from what clients were told last; calling it says that they are told now.
    unsigned takeChanges(bool withApplicability);
    /// Whether a module said so, leaving the expression aside.
    [[nodiscard]] bool isMadeApplicable() const { return m_madeApplicable; }

    bool isListedAsChanged = false; ///< kept by ModuleItems

private:
    QVariant m_value;
    QVariant m_toldValue;
    bool m_madeApplicable = true;
    bool m_toldApplicable = true;
};

} // namespace ipc
