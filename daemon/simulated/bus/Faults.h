#pragma once

#include "FaultWords.h"
#include "Result.h"

#include <QStringList>
#include <QVariantMap>

#include <chrono>
#include <map>
#include <optional>
#include <utility>

namespace bt {

/// Something that somebody wants to go wrong.
struct Fault
{
    const FaultWord* word = nullptr;
    /// As the control interface tells them: name, signature, value, seconds, count.
    QVariantMap arguments;
    QVariant payload; ///< what is sent in the place of a value

    /// @param words the word, and what belongs to it.
    [[nodiscard]] static base::Result<Fault> parse(const QStringList& words);

    [[nodiscard]] int count() const { return arguments.value(QStringLiteral("count")).toInt(); }
    /// Real time; none when none was told.
    [[nodiscard]] std::optional<std::chrono::milliseconds> duration() const;
};

/// What goes wrong until it is told otherwise.
class Faults
{
public:
    /// In the place of an earlier one of the same kind and name.
    void add(const Fault& fault);
    /// @return whether there was one, of a kind without names.
    bool remove(FaultKind kind) { return m_faults.erase({ kind, {} }) > 0; }
    void keepOnly(FaultKind kind);

    /// \a name of a signal or property, when the kind has one; null when nothing of that kind goes wrong.
    [[nodiscard]] const Fault* find(FaultKind kind, const QString& name = {}) const;
    [[nodiscard]] std::chrono::milliseconds durationOf(FaultKind kind) const;
    /// Whether it befalls a signal, which is one time less.
    bool take(FaultKind kind, const QString& signal);
    [[nodiscard]] bool isSilent(const QString& signal) const;
    /// Each with its kind and a text for a person, as the control interface tells it.
    [[nodiscard]] QList<QVariantMap> records() const;

private:
    std::map<std::pair<FaultKind, QString>, Fault> m_faults;
};

} // namespace bt
