#pragma once

#include "ExpressionItem.h"
#include "ExpressionShape.h"

#include <QHash>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace ipc {

class Applicability;
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

    /// A shape, once for all expressions that have it.
    struct Code
    {
        ExpressionShape shape; ///< its inputs are those of the first expression
        void* function = nullptr; ///< the engine's, while there is one
    };

    Applicability& m_applicability;
    QString m_text;
    Code* m_code = nullptr; ///< null: not looked at yet
    bool m_isBroken = false; ///< it does not compile or names an unknown item, and nothing ever applies
    bool m_isResolved = false; ///< the inputs were looked up
    bool m_isStale = true;
    bool m_isListed = false; ///< among those whose dependents have to be told
    bool m_holds = false;
    std::vector<ExpressionShape::Input> m_names; ///< of the inputs, until they are looked up
    std::vector<ExpressionItem*> m_inputs;
    std::vector<ExpressionItem*> m_dependents;
};

/// The applicability expressions of one module.
class Applicability
{
public:
    /// @param find the item of that id, "id:3" for an instance; null when there is none.
    Applicability(QString moduleName,
                  std::function<ExpressionItem*(ExpressionShape::Root, const QString&)> find);
    ~Applicability();
    Applicability(const Applicability&) = delete;
    Applicability& operator=(const Applicability&) = delete;

    /// The expression of that text, which the item depends on from here on.
    Expression& bind(ExpressionItem& item, const QString& text);

    /// When the module is complete: names every expression that does not compile or reads an item which the
    /// module does not have. They apply as false.
    void check();

    /// Tells the items whose expression has an input that changed since the last call.
    void listDependents();

private:
    friend class Expression;

    [[nodiscard]] ExpressionItem* findInput(const ExpressionShape::Input& input) const;
    void compile(Expression& expression);
    void resolve(Expression& expression);
    void evaluate(Expression& expression);
    void* showToEngine(ExpressionItem& item);

    QString m_moduleName;
    std::function<ExpressionItem*(ExpressionShape::Root, const QString&)> m_find;
    std::unique_ptr<ScriptEngine> m_engine; ///< from the first question on
    bool m_isComplete = false;
    QHash<QString, Expression*> m_byText;
    std::map<QString, Expression::Code> m_code; ///< by shape
    std::vector<std::unique_ptr<Expression>> m_expressions;
    std::vector<Expression*> m_listed;
};

} // namespace ipc
