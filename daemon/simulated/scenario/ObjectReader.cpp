#include "ObjectReader.h"

#include "NearestWord.h"
#include "Quoted.h"

#include <algorithm>
#include <cmath>

namespace bt {

namespace {

/// Some of the words; those of a file are escaped where they would steer a terminal.
QString listOf(const QStringList& words)
{
    constexpr int Most = 12;
    QStringList shown;
    for (const QString& word : words.mid(0, Most)) {
        const QString quoted = base::quoted(word);
        shown << (quoted.size() == word.size() + 2 ? word : quoted);
    }
    if (words.size() > Most) {
        shown << QStringLiteral("and %1 more").arg(words.size() - Most);
    }
    return shown.isEmpty() ? QStringLiteral("none") : shown.join(QStringLiteral(", "));
}

} // namespace

QString unknownWord(const QString& text, const QString& role, const QStringList& words)
{
    const QString nearest = base::nearestWord(text, words);
    const QString advice = nearest.isEmpty()
        ? QStringLiteral("; there are %1").arg(listOf(words))
        : QStringLiteral("; did you mean %1?").arg(base::quoted(nearest));
    return QStringLiteral("%1 is no %2").arg(base::quoted(text), role) + advice;
}

ObjectReader::ObjectReader(const JsonValue& value, QString what, const QStringList& known,
                           base::Result<>& outcome)
    : m_value(value)
    , m_members(value.as<JsonValue::Members>())
    , m_what(std::move(what))
    , m_outcome(outcome)
{
    if (m_members == nullptr) {
        complain(value.line, QStringLiteral("%1 has to be an object, \"{ … }\"").arg(m_what));
        return;
    }
    const auto unknown = std::find_if(m_members->begin(), m_members->end(),
                                      [&known](const auto& entry) { return !known.contains(entry.first); });
    if (unknown != m_members->end()) {
        complain(unknown->second.line,
                 unknownWord(unknown->first, QStringLiteral("field of %1").arg(m_what), known));
    }
}

void ObjectReader::complain(int line, const QString& text)
{
    if (isGood()) {
        m_outcome = base::error(text, base::Failure::InvalidArgument, line);
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

QString ObjectReader::memberText(const char* name) const
{
    return QStringLiteral("\"%1\" of %2").arg(QLatin1String(name), m_what);
}

template <typename Type>
const Type* ObjectReader::typed(const char* name, const QString& type)
{
    const JsonValue* value = member(name);
    if (value == nullptr) {
        return nullptr;
    }
    const auto* content = value->as<Type>();
    if (content == nullptr) {
        complain(value->line, QStringLiteral("%1 has to be %2").arg(memberText(name), type));
    }
    return content;
}

std::optional<QString> ObjectReader::text(const char* name)
{
    const auto* content = typed<QString>(name, QStringLiteral("a text"));
    if (content != nullptr && content->contains(QChar(0))) { // the end of a text on D-Bus
        complain(
            lineOf(name),
            QStringLiteral("%1 has the character \"\\u0000\", which no text can hold").arg(memberText(name)));
    }
    return content != nullptr ? std::optional<QString>(*content) : std::nullopt;
}

std::optional<bool> ObjectReader::truth(const char* name)
{
    const auto* content = typed<bool>(name, QStringLiteral("true or false"));
    return content != nullptr ? std::optional<bool>(*content) : std::nullopt;
}

std::optional<double> ObjectReader::number(const char* name, double least, double most)
{
    const auto* content = typed<double>(name, QStringLiteral("a number"));
    if (content == nullptr) {
        return {};
    }
    if (*content < least || *content > most) {
        complain(lineOf(name),
                 QStringLiteral("%1 is %2 but has to be from %3 to %4")
                     .arg(memberText(name))
                     .arg(*content)
                     .arg(least)
                     .arg(most));
        return {};
    }
    return *content;
}

std::optional<int> ObjectReader::wholeNumber(const char* name, int least, int most)
{
    const auto content = number(name, least, most);
    if (!content) {
        return {};
    }
    if (std::trunc(*content) != *content) {
        complain(lineOf(name),
                 QStringLiteral("%1 is %2 but has to be a whole number").arg(memberText(name)).arg(*content));
        return {};
    }
    return static_cast<int>(*content);
}

std::optional<QString> ObjectReader::word(const char* name, const QStringList& words)
{
    std::optional<QString> content = text(name);
    if (content && !words.contains(*content)) {
        complain(
            lineOf(name),
            QStringLiteral("%1: ").arg(memberText(name))
                + unknownWord(*content, QStringLiteral("%1 that is known").arg(QLatin1String(name)), words));
        return {};
    }
    return content;
}

const JsonValue::Elements* ObjectReader::list(const char* name)
{
    return typed<JsonValue::Elements>(name, QStringLiteral("a list, \"[ … ]\""));
}

} // namespace bt
