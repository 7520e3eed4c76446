#pragma once

#include "IpcExport.h"
#include "ItemAddress.h"
#include "ServerItem.h"
#include "ValueType.h"
#include "expressions/ExpressionItem.h"

#include <QString>
#include <QVariant>

#include <boost/function.hpp>

#include <string>
#include <variant>

namespace ipc {

class ModuleItems;

using NullHandler = boost::function<void()>;
using TextHandler = boost::function<std::string(const std::string&)>;
/// What an action does; nothing for other items.
using ActionHandler = std::variant<std::monostate, NullHandler, TextHandler>;

/// One config, result or action of a module, or one instance of a list item.
class IPC_EXPORT Item final : public ExpressionItem
{
public:
    /// What all instances of an item have in common.
    struct Definition
    {
        ItemKind kind = ItemKind::Result;
        QString id = {};
        QString label = {};
        ValueType type = {};
        QVariant initialValue = {};
        QString applicability = {}; ///< one expression, or one for each instance (see joinExpressions())
        unsigned instances = 1;
        QString hint = {};
        ActionHandler handler = {};
    };

    /// What clients have not been told yet.
    struct Changes
    {
        bool value = false; ///< also when it changed and is back at what they were told last
        bool differs = false; ///< the value is another one than they were told last
        bool applicable = false;
    };

    /// @param owner the items that announce changes; null for an item that is published nowhere.
    Item(ItemAddress address, const Definition& definition, ModuleItems* owner);

    [[nodiscard]] const ItemAddress& address() const { return m_address; }
    [[nodiscard]] const QString& addressText() const override;
    [[nodiscard]] const QString& label() const { return m_label; }
    [[nodiscard]] const QString& hint() const { return m_hint; }
    [[nodiscard]] const ActionHandler& handler() const { return m_handler; }
    [[nodiscard]] const ValueType& type() const { return m_type; }
    [[nodiscard]] const QVector<EnumValue>& enumValues() const override { return m_type.values(); }
    [[nodiscard]] const QVariant& defaultValue() const { return m_defaultValue; }
    [[nodiscard]] const QVariant& value() const override { return m_value; }
    /// The expression; empty when the item always applies.
    [[nodiscard]] QString applicability() const;
    [[nodiscard]] bool isApplicable() const;
    [[nodiscard]] bool isPrivate() const { return m_isPrivate; }
    [[nodiscard]] bool isWritable() const { return m_isWritable; } ///< by clients
    /// The module's own access to the item.
    [[nodiscard]] ServerItem& handle() { return m_handle; }

    void setRange(const QVariant& minimum, const QVariant& maximum) { m_type.setRange(minimum, maximum); }
    void setRegularExpression(const QString& text) { m_type.setRegularExpression(text); }
    void setExpression(Expression& expression) { m_expression = &expression; }
    void makePrivate() { m_isPrivate = true; }
    void makeWritable() { m_isWritable = true; }
    /// From here on every write announces itself.
    void observe() { m_isObserved = true; }

    /// A write of the module's own, or a client's that was checked.
    void store(const QVariant& value, bool announce);
    void setApplicable(bool applicable, bool announce);
    void applicabilityMayDiffer() override;

    /// Calling it says that clients are told now. @param withApplicability whether somebody asks for it.
    Changes takeChanges(bool withApplicability);

private:
    void noteDifference();

    ItemAddress m_address;
    mutable QString m_addressText; ///< made when it is first asked for
    QString m_label;
    QString m_hint;
    ActionHandler m_handler;
    ValueType m_type;
    QVariant m_defaultValue;
    QVariant m_value;
    QVariant m_toldValue;
    ServerItem m_handle{ *this };
    ModuleItems* m_owner;
    Expression* m_expression = nullptr;
    bool m_isPrivate = false;
    bool m_isObserved = false;
    bool m_isWritable;
    bool m_isListed = false; ///< among those of the owner that changed
    bool m_hasChanged = false; ///< the value, since clients were told
    bool m_madeApplicable = true;
    bool m_toldApplicable = true;
};

} // namespace ipc
