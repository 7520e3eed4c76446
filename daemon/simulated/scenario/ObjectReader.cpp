#include "ObjectReader.h"

#include "ScenarioReader.h"
#include "text/NearestWord.h"

#include <algorithm>

namespace bt {

QString unknownWord(const QString& text, const QString& role, const QStringList& words)
{
    const QString nearest = text::nearestWord(text, words);
    const QString advice = nearest.isEmpty()
        ? QStringLiteral("; there are %1").arg(words.join(QStringLiteral(", ")))
        : QStringLiteral("; did you mean \"%1\"?").arg(nearest);
    return QStringLiteral("\"%1\" is no %2").arg(text, role) + advice;
}

ObjectReader::ObjectReader(const JsonValue& value, QString what, const QStringList& known,
                           TextProblem& problem)
    : m_value(value)
    , m_members(value.as<JsonValue::Members>())
    , m_what(std::move(what))
    , m_problem(problem)
{
    if (m_members == nullptr) {
        complain(value.line, QStringLiteral("%1 has to be an object, \"{ … }\"").arg(m_what));
        return;
    }
    for (const auto& [name, member] : *m_members) {
        if (!known.contains(name)) {
            complain(member.line, unknownWord(name, QStringLiteral("field of %1").arg(m_what), known));
        }
    }
}

void ObjectReader::complain(int line, const QString& text)
{
    if (isGood()) {
        m_problem = { line, text };
    }
}

const JsonValue* ObjectReader::member(const char* name) const
{
    if (m_members == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(m_members->begin(), m_members->end(),
                                    [name](const auto& entry) { return entry.first == QLatin1String(name); });
    return found == m_members->end() ? nullptr : &found->second;
}

int ObjectReader::lineOf(const char* name) const
{
    const JsonValue* value = member(name);
    return value != nullptr ? value->line : m_value.line;
}

void ObjectReader::require(const char* name)
{
    if (member(name) == nullptr) {
        complain(m_value.line, QStringLiteral("%1 needs \"%2\"").arg(m_what, QLatin1String(name)));
    }
}

template <typename Type>
const Type* ObjectReader::typed(const char* name, const char* type)
{
    const JsonValue* value = member(name);
    if (value == nullptr) {
        return nullptr;
    }
    const auto* content = value->as<Type>();
    if (content == nullptr) {
        complain(value->line,
                 QStringLiteral("\"%1\" of %2 has to be %3")
                     .arg(QLatin1String(name), m_what, QLatin1String(type)));
    }
    return content;
}

std::optional<QString> ObjectReader::text(const char* name)
{
    const auto* content = typed<QString>(name, "a text");
    return content != nullptr ? std::optional<QString>(*content) : std::nullopt;
}

std::optional<bool> ObjectReader::truth(const char* name)
{
    const auto* content = typed<bool>(name, "true or false");
    return content != nullptr ? std::optional<bool>(*content) : std::nullopt;
}

std::optional<double> ObjectReader::number(const char* name, double least, double most)
{
    const auto* content = typed<double>(name, "a number");
    if (content == nullptr) {
        return {};
    }
    if (*content < least || *content > most) {
        complain(lineOf(name),
                 QStringLiteral("\"%1\" of %2 is %3 but has to be from %4 to %5")
                     .arg(QLatin1String(name), m_what)
                     .arg(*content)
                     .arg(least)
                     .arg(most));
        return {};
    }
    return *content;
}

std::optional<QString> ObjectReader::word(const char* name, const QStringList& words)
{
    std::optional<QString> content = text(name);
    if (content && !words.contains(*content)) {
        complain(
            lineOf(name),
            QStringLiteral("\"%1\" of %2: ").arg(QLatin1String(name), m_what)
                + unknownWord(*content, QStringLiteral("%1 that is known").arg(QLatin1String(name)), words));
        return {};
    }
    return content;
}

const JsonValue::Elements* ObjectReader::list(const char* name)
{
    return typed<JsonValue::Elements>(name, "a list, \"[ … ]\"");
}

} // namespace bt
