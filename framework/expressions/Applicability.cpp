#include "Applicability.h"

#include "ScriptEngine.h"
#include "items/ModuleItems.h"

#include <QDebug>

namespace ipc {
namespace {

/// "pairlistAddr_3" in an expression is instance 3, unless an item is really called that.
Item* findInput(const ModuleItems& items, ItemKind kind, const QString& name)
{
    if (Item* item = items.find(kind, name); item != nullptr) {
        return item;
    }
    const auto underscore = name.lastIndexOf(QLatin1Char('_'));
    if (underscore < 0) {
        return nullptr;
    }
    return items.find(kind, name.left(underscore) + QLatin1Char(':') + name.mid(underscore + 1));
}

} // namespace

Expression::Expression(Applicability& applicability, QString text)
    : m_applicability(applicability)
    , m_text(std::move(text))
{
}

bool Expression::holds()
{
    if (m_isStale && m_function != nullptr) {
        m_applicability.evaluate(*this);
    }
    return m_holds;
}

void Expression::inputChanged()
{
    m_isStale = true;
    if (!m_isListed) {
        m_isListed = true;
        m_applicability.m_listed.push_back(this);
    }
}

Applicability::Applicability(const ModuleItems& items)
    : m_items(items)
{
}

Applicability::~Applicability() = default;

void Applicability::bind(Item& item, const QString& text)
{
    Expression*& expression = m_byText[text];
    if (expression == nullptr) {
        m_expressions.push_back(std::make_unique<Expression>(*this, text));
        expression = m_expressions.back().get();
        compile(*expression, item);
    }
    item.expression = expression;
    expression->m_dependents.push_back(&item);
}

void Applicability::compile(Expression& expression, const Item& item)
{
    if (!m_engine) {
        m_engine = std::make_unique<ScriptEngine>();
    }
    ExpressionShape shape = ExpressionShape::of(expression.m_text);
    void*& function = m_functions[shape.text];
    if (function == nullptr) {
        QString error;
        function = m_engine->compile(shape.parameters, shape.text, &error);
        if (function == nullptr) {
            qWarning().noquote() << item.address.toString() << "never applies; its expression"
                                 << expression.m_text << "does not compile:" << error;
        }
    }
    expression.m_function = function;
    expression.m_names = std::move(shape.inputs);
}

void Applicability::check()
{
    for (const auto& expression : m_expressions) {
        if (expression->m_function != nullptr && !expression->m_isResolved) {
            resolve(*expression);
        }
    }
}

void Applicability::resolve(Expression& expression)
{
    expression.m_isResolved = true;
    for (const ExpressionShape::Input& named : expression.m_names) {
        Item* input = findInput(m_items, named.kind, named.name);
        if (input == nullptr) {
            qWarning().noquote().nospace()
                << expression.m_dependents.front()->address.toString()
                << " never applies; its expression names " << named.name << " at character "
                << named.position + 1 << ", and " << m_items.moduleName() << " has no "
                << toString(named.kind) << " of that id";
            expression.m_function = nullptr;
            break;
        }
        addInput(expression, *input);
    }
    expression.m_names.clear();
}

void Applicability::addInput(Expression& expression, Item& input)
{
    void*& object = m_objects[&input];
    if (object == nullptr) {
        object = m_engine->makeObject();
        for (const EnumValue& value : input.type.values()) {
            m_engine->setEnumValue(object, QLatin1Char('e') + value.symbol, value.value);
        }
    }
    expression.m_objects.push_back(object);
    expression.m_inputs.push_back(&input);
    input.readers.push_back(&expression);
}

void Applicability::evaluate(Expression& expression)
{
    if (!expression.m_isResolved) {
        resolve(expression);
    }
    expression.m_isStale = false;
    if (expression.m_function == nullptr) {
        return;
    }
    for (Item* input : expression.m_inputs) {
        showToEngine(*input);
    }
    QString error;
    expression.m_holds = m_engine->evaluate(expression.m_function, expression.m_objects, &error);
    if (!error.isEmpty()) {
        qWarning().noquote() << expression.m_dependents.front()->address.toString()
                             << "does not apply; its expression" << expression.m_text << "failed:" << error;
    }
}

void Applicability::showToEngine(Item& item)
{
    if (!item.newForExpressions) {
        return;
    }
    item.newForExpressions = false;
    m_engine->setValue(m_objects.value(&item), item.value());
}

void Applicability::listDependents()
{
    std::vector<Expression*> listed;
    listed.swap(m_listed);
    for (Expression* expression : listed) {
        expression->m_isListed = false;
        for (Item* dependent : expression->m_dependents) {
            dependent->applicabilityMayDiffer();
        }
    }
}

} // namespace ipc
