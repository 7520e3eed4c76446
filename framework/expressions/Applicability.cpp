#include "Applicability.h"

#include "ScriptEngine.h"

#include <QDebug>

namespace ipc {

void ExpressionItem::valueChanged()
{
    m_isNew = true;
    for (Expression* reader : m_readers) {
        reader->inputChanged();
    }
}

Expression::Expression(Applicability& applicability, QString text)
    : m_applicability(applicability)
    , m_text(std::move(text))
{
}

bool Expression::holds()
{
    if (m_isStale && !m_isBroken) {
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

Applicability::Applicability(QString moduleName,
                             std::function<ExpressionItem*(ExpressionShape::Root, const QString&)> find)
    : m_moduleName(std::move(moduleName))
    , m_find(std::move(find))
{
}

Applicability::~Applicability() = default;

Expression& Applicability::bind(ExpressionItem& item, const QString& text)
{
    Expression*& expression = m_byText[text];
    const bool isNew = expression == nullptr;
    if (isNew) {
        m_expressions.push_back(std::make_unique<Expression>(*this, text));
        expression = m_expressions.back().get();
    }
    expression->m_dependents.push_back(&item);
    if (isNew && m_isComplete) {
        compile(*expression);
    }
    return *expression;
}

void Applicability::check()
{
    const bool wasAsked = m_engine != nullptr;
    for (const auto& expression : m_expressions) {
        compile(*expression);
    }
    for (const auto& expression : m_expressions) {
        resolve(*expression);
    }
    m_isComplete = true;
    if (!wasAsked) {
        // Perhaps nobody ever asks, and the engine is large beside all items.
        m_engine.reset();
        for (auto& code : m_code) {
            code.second.function = nullptr;
        }
    }
}

void Applicability::compile(Expression& expression)
{
    if (expression.m_code == nullptr) {
        ExpressionShape shape = ExpressionShape::of(expression.m_text);
        expression.m_names = shape.inputs;
        const QString text = shape.text;
        expression.m_code = &m_code.try_emplace(text, Expression::Code{ std::move(shape) }).first->second;
    }
    Expression::Code& code = *expression.m_code;
    if (expression.m_isBroken || code.function != nullptr) {
        return;
    }
    if (!m_engine) {
        m_engine = std::make_unique<ScriptEngine>();
    }
    const auto function = m_engine->compile(code.shape.parameters, code.shape.text);
    if (function) {
        code.function = *function;
        return;
    }
    expression.m_isBroken = true;
    qWarning().noquote() << expression.m_dependents.front()->addressText() << "never applies; its expression"
                         << expression.m_text << "does not compile:" << function.error().message;
}

/// "pairlistAddr_3" in an expression is instance 3, unless an item is really called that.
ExpressionItem* Applicability::findInput(const ExpressionShape::Input& input) const
{
    ExpressionItem* found = m_find(input.root, input.name);
    const auto underscore = input.name.lastIndexOf(QLatin1Char('_'));
    if (found != nullptr || underscore < 0) {
        return found;
    }
    return m_find(input.root,
                  input.name.left(underscore) + QLatin1Char(':') + input.name.mid(underscore + 1));
}

void Applicability::resolve(Expression& expression)
{
    if (expression.m_isResolved || expression.m_isBroken) {
        return;
    }
    expression.m_isResolved = true;
    for (const ExpressionShape::Input& named : std::exchange(expression.m_names, {})) {
        ExpressionItem* input = findInput(named);
        if (input == nullptr) {
            qWarning().noquote().nospace()
                << expression.m_dependents.front()->addressText() << " never applies; its expression names "
                << named.name << " at character " << named.position + 1 << ", and " << m_moduleName
                << " has no " << (named.root == ExpressionShape::Root::Result ? "result" : "config")
                << " of that id";
            expression.m_isBroken = true;
            return;
        }
        expression.m_inputs.push_back(input);
        input->m_readers.push_back(&expression);
    }
}

void Applicability::evaluate(Expression& expression)
{
    expression.m_isStale = false;
    compile(expression);
    resolve(expression);
    if (expression.m_isBroken) {
        return;
    }
    std::vector<void*> objects;
    objects.reserve(expression.m_inputs.size());
    for (ExpressionItem* input : expression.m_inputs) {
        objects.push_back(showToEngine(*input));
    }
    const auto holds = m_engine->evaluate(expression.m_code->function, objects);
    expression.m_holds = holds && *holds;
    if (!holds) {
        qWarning().noquote() << expression.m_dependents.front()->addressText()
                             << "does not apply; its expression" << expression.m_text
                             << "failed:" << holds.error().message;
    }
}

void* Applicability::showToEngine(ExpressionItem& item)
{
    if (item.m_object == nullptr) {
        item.m_object = m_engine->makeObject();
        for (const EnumValue& value : item.enumValues()) {
            m_engine->setEnumValue(item.m_object, QLatin1Char('e') + value.symbol, value.value);
        }
    }
    if (item.m_isNew) {
        item.m_isNew = false;
        m_engine->setValue(item.m_object, item.value());
    }
    return item.m_object;
}

void Applicability::listDependents()
{
    for (Expression* expression : std::exchange(m_listed, {})) {
        expression->m_isListed = false;
        for (ExpressionItem* dependent : expression->m_dependents) {
            dependent->applicabilityMayDiffer();
        }
    }
}

} // namespace ipc
