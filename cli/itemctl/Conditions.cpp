#include "Conditions.h"

#include "ValueText.h"
#include "client/ExpectedValue.h"
#include "common/DisplayText.h"

namespace itemctl {
namespace {

tl::unexpected<base::Error> usage(const QString& message)
{
    return base::error(message, base::Failure::Usage);
}

QString without(const QString& text, const QString& suffix)
{
    const QString item = text.left(text.size() - suffix.size());
    // A full address ends with a colon, which is easily taken for the one before the word.
    return item.startsWith(QLatin1Char(':')) && !item.endsWith(QLatin1Char(':')) ? item + QLatin1Char(':')
                                                                                 : item;
}

} // namespace

base::Result<Condition> Condition::parse(const QString& text)
{
    static const QRegularExpression operators(QStringLiteral("!=|=|~"));
    Condition condition;
    condition.m_text = text;
    if (const auto found = operators.match(text); found.hasMatch()) {
        condition.m_item = text.left(found.capturedStart());
        condition.m_operand = text.mid(found.capturedEnd());
        condition.m_kind = found.captured() == QLatin1String("=") ? Kind::Equals
            : found.captured() == QLatin1String("~")              ? Kind::Matches
                                                                  : Kind::Differs;
    } else if (text.endsWith(QLatin1String(":applicable"))) {
        condition.m_kind = Kind::Applicable;
        condition.m_item = without(text, QStringLiteral(":applicable"));
    } else if (text.endsWith(QLatin1String(":inapplicable"))) {
        condition.m_kind = Kind::Inapplicable;
        condition.m_item = without(text, QStringLiteral(":inapplicable"));
    }
    if (const QLatin1String rows("[*]"); condition.m_item.endsWith(rows)) {
        condition.m_item.chop(rows.size());
        condition.m_isAboutRows = true;
    }
    if (condition.m_item.isEmpty()) {
        return usage(QStringLiteral("\"%1\" is no condition; write ITEM=VALUE, ITEM!=VALUE, ITEM~REGEX, "
                                    "ITEM:applicable or ITEM:inapplicable")
                         .arg(escaped(text)));
    }
    if (condition.m_kind == Kind::Matches) {
        condition.m_expression.setPattern(condition.m_operand);
        condition.m_expression.setPatternOptions(QRegularExpression::UseUnicodePropertiesOption);
        if (!condition.m_expression.isValid()) {
            return usage(QStringLiteral("\"%1\" is no regular expression: %2")
                             .arg(escaped(condition.m_operand), condition.m_expression.errorString()));
        }
    }
    return condition;
}

bool Condition::comparesValue() const
{
    return m_kind == Kind::Equals || m_kind == Kind::Differs;
}

base::Result<Condition> Condition::boundTo(const QVariantMap& description) const
{
    const QString type = description.value(QStringLiteral("type")).toString();
    if (!comparesValue() || type == QLatin1String("text") || type == QLatin1String("any")) {
        return *this;
    }
    const auto expected = ipc::expectedValue(description, m_operand);
    if (type == QLatin1String("action")) {
        return usage(QStringLiteral("%1: %2; wait for %1:applicable").arg(m_item, expected.error().message));
    }
    if (!expected) {
        return usage(QStringLiteral("%1: \"%2\" does not fit; %3")
                         .arg(m_item, escaped(m_operand), escaped(expected.error().message)));
    }
    Condition bound = *this;
    bound.m_operand = base::rawText(*expected);
    return bound;
}

bool Condition::holds(const Item& item) const
{
    switch (m_kind) {
    case Kind::Equals:
        return base::rawText(item.value) == m_operand;
    case Kind::Differs:
        return base::rawText(item.value) != m_operand;
    case Kind::Matches:
        return m_expression.match(base::rawText(item.value)).hasMatch()
            || (!item.text.isEmpty() && m_expression.match(item.text).hasMatch());
    case Kind::Applicable:
        return item.applicable;
    case Kind::Inapplicable:
        return !item.applicable;
    }
    return false;
}

} // namespace itemctl
