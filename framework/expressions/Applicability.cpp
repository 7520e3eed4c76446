#include "Applicability.h"

#include "ScriptEngine.h"
#include "items/ModuleItems.h"

#include <QDebug>
#include <QRegularExpression>

#include <algorithm>

namespace ipc {
namespace {

/// Text literals, which hold no names, or a dotted name that begins with one of the two roots.
const QRegularExpression& literalOrName()
{
    static const QRegularExpression expression(QStringLiteral(
        R"("(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)*'|(?<![\w$.])(?<root>res|cfg)\.(?<name>[\w$]+))"));
    return expression;
}

/// "pairlistAddr_3" in an expression is instance 3, unless an item is really called that.
Item* findInput(const ModuleItems& items, ItemKind kind, const QString& name)
{
    if (Item* item = items.find(kind, name))
        return item;
    const auto underscore = name.lastIndexOf(QLatin1Char('_'));
    if (underscore < 0)
        return nullptr;
    return items.find(kind, name.left(underscore) + QLatin1Char(':') + name.mid(underscore + 1));
}

ItemKind kindOf(const QString& root)
{
    return root == QLatin1String("res") ? ItemKind::Result : ItemKind::Config;
}

} // namespace

Expression::Expression(Applicability& applicability, QString text)
    : m_applicability(applicability)
    , m_text(std::move(text))
{
}

bool Expression::holds()
{
    if (m_isStale && m_function)
        m_applicability.evaluate(*this);
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
    if (!expression) {
        if (!m_engine)
            m_engine = std::make_unique<ScriptEngine>();
        m_expressions.push_back(std::make_unique<Expression>(*this, text));
        expression = m_expressions.back().get();
        QString error;
        expression->m_function = m_engine->compile(text, &error);
        if (!expression->m_function)
            qWarning().noquote() << item.address.toString() << "never applies; its expression" << text
                                 << "does not compile:" << error;
    }
    item.expression = expression;
    expression->m_dependents.push_back(&item);
}

void Applicability::check()
{
    for (const auto& expression : m_expressions) {
        if (expression->m_function && !expression->m_isResolved)
            resolve(*expression);
    }
}

void Applicability::resolve(Expression& expression)
{
    expression.m_isResolved = true;
    auto matches = literalOrName().globalMatch(expression.m_text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString root = match.captured(QStringLiteral("root"));
        if (root.isEmpty())
            continue;
        const QString name = match.captured(QStringLiteral("name"));
        Item* input = findInput(m_items, kindOf(root), name);
        if (!input) {
            qWarning().noquote().nospace()
                << expression.m_dependents.front()->address.toString()
                << " never applies; its expression names " << root << '.' << name << " at character "
                << match.capturedStart() + 1 << ", and " << m_items.moduleName() << " has no "
                << toString(kindOf(root)) << " of that id";
            expression.m_function = nullptr;
            return;
        }
        if (std::find(expression.m_inputs.begin(), expression.m_inputs.end(), input)
            != expression.m_inputs.end())
            continue;
        expression.m_inputs.push_back(input);
        input->readers.push_back(&expression);
        if (!m_objects.contains(input)) {
            void* object = m_engine->makeObject(root == QLatin1String("res") ? "res" : "cfg", name);
            m_objects.insert(input, object);
            for (const EnumValue& value : input->type.values())
                m_engine->setEnumValue(object, QLatin1Char('e') + value.symbol, value.value);
        }
    }
}

void Applicability::evaluate(Expression& expression)
{
    if (!expression.m_isResolved)
        resolve(expression);
    expression.m_isStale = false;
    if (!expression.m_function)
        return;
    for (Item* input : expression.m_inputs)
        showToEngine(*input);
    QString error;
    expression.m_holds = m_engine->evaluate(expression.m_function, &error);
    if (!error.isEmpty())
        qWarning().noquote() << expression.m_dependents.front()->address.toString()
                             << "does not apply; its expression" << expression.m_text << "failed:" << error;
}

void Applicability::showToEngine(Item& item)
{
    if (!item.newForExpressions)
        return;
    item.newForExpressions = false;
    m_engine->setValue(m_objects.value(&item), item.value());
}

void Applicability::listDependents()
{
    std::vector<Expression*> listed;
    listed.swap(m_listed);
    for (Expression* expression : listed) {
        expression->m_isListed = false;
        for (Item* dependent : expression->m_dependents)
            dependent->applicabilityMayDiffer();
    }
}

} // namespace ipc
