#pragma once

#include "ExpressionShape.h"

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

namespace ipc {

class Applicability;
class Item;
class ModuleItems;
class ScriptEngine;

/// One applicability expression, shared by all items that have the same text. It knows its inputs, and is
/// evaluated when one of them changed and somebody asks.
class Expression
{
public:
    Expression(Applicability& applicability, QString text);

    [[nodiscard]] const QString& text() const { return m_text; }
    [[nodiscard]] bool holds();
    void inputChanged();

private:
    friend class Applicability;

    Applicability& m_applicability;
    QString m_text;
    void* m_function = nullptr; ///< null: it does not compile, and nothing ever applies
    bool m_isResolved = false; ///< the inputs were looked up
    bool m_isStale = true;
    bool m_isListed = false; ///< among those whose dependents have to be told
    bool m_holds = false;
    std::vector<ExpressionShape::Input> m_names; ///< of the inputs, until they are looked up
    std::vector<Item*> m_inputs;
    std::vector<void*> m_objects; ///< the engine's objects for the inputs
    std::vector<Item*> m_dependents;
};

/// The applicability expressions of one module.
class Applicability
{
public:
    explicit Applicability(const ModuleItems& items);
    ~Applicability();
    Applicability(const Applicability&) = delete;
    Applicability& operator=(const Applicability&) = delete;

    /// Gives an item its expression. One that does not compile says so and applies as false.
    void bind(Item& item, const QString& text);

    /// Names every expression that reads an item which the module does not have.
    void check();

    /// Lists the items as changed whose expression has an input that changed since the last call.
    void listDependents();

private:
    friend class Expression;

    void compile(Expression& expression, const Item& item);
    void resolve(Expression& expression);
    void addInput(Expression& expression, Item& input);
    void evaluate(Expression& expression);
    void showToEngine(Item& item);

    const ModuleItems& m_items;
    std::unique_ptr<ScriptEngine> m_engine;
    QHash<QString, Expression*> m_byText;
    QHash<QString, void*> m_functions; ///< by shape
    std::vector<std::unique_ptr<Expression>> m_expressions;
    QHash<const Item*, void*> m_objects; ///< the engine's object for each input
    std::vector<Expression*> m_listed;
};

} // namespace ipc
