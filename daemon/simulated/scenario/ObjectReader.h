#pragma once

#include "JsonTree.h"

#include <QStringList>

#include <optional>

namespace bt {

/// Reads the members of one JSON object. The first error stays in \a outcome, so that a reader asks once, at
/// its end.
class ObjectReader
{
public:
    /// \a what the object is, for messages: "a scenario". \a known: the members that it may have.
    ObjectReader(const JsonValue& value, QString what, const QStringList& known, base::Result<>& outcome);

    [[nodiscard]] const QString& what() const { return m_what; }

    [[nodiscard]] const JsonValue* member(const char* name) const;
    [[nodiscard]] int lineOf(const char* name) const;

    std::optional<QString> text(const char* name);
    std::optional<bool> truth(const char* name);
    /// A number from \a least to \a most.
    std::optional<double> number(const char* name, double least, double most);
    /// A number without a fraction.
    std::optional<int> wholeNumber(const char* name, int least, int most);
    /// One of the words.
    std::optional<QString> word(const char* name, const QStringList& words);
    /// What the elements of a list are; none when the member is missing.
    [[nodiscard]] const JsonValue::Elements* list(const char* name);

    void require(const char* name);
    void complain(int line, const QString& text);
    [[nodiscard]] bool isGood() const { return m_outcome.has_value(); }

private:
    template <typename Type>
    const Type* typed(const char* name, const QString& type);
    /// "rssi" of what the object is.
    [[nodiscard]] QString memberText(const char* name) const;

    const JsonValue& m_value;
    const JsonValue::Members* m_members;
    QString m_what;
    base::Result<>& m_outcome;
};

/// That \a text is none of the words, and which of them it was probably meant to be.
[[nodiscard]] QString unknownWord(const QString& text, const QString& role, const QStringList& words);

} // namespace bt
