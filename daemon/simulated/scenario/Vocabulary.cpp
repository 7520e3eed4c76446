#include "ScenarioReader.h"

#include <algorithm>
#include <numeric>

namespace bt {

namespace {

/// How many letters have to be added, taken away or replaced.
int distance(const QString& left, const QString& right)
{
    std::vector<int> row(static_cast<std::size_t>(right.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const QChar letter : left) {
        int diagonal = row.front()++;
        for (int j = 0; j < right.size(); ++j) {
            int& here = row[static_cast<std::size_t>(j) + 1];
            const int replaced = diagonal + (letter.toLower() == right[j].toLower() ? 0 : 1);
            diagonal = here;
            here = std::min({ replaced, here + 1, row[static_cast<std::size_t>(j)] + 1 });
        }
    }
    return row.back();
}

} // namespace

QString nearestOf(const QString& word, const QStringList& words)
{
    QString nearest;
    int least = std::max(1, word.size() / 3) + 1;
    for (const QString& candidate : words) {
        const int apart = distance(word, candidate);
        if (apart < least) {
            least = apart;
            nearest = candidate;
        }
    }
    return nearest;
}

const QStringList& ScenarioVocabulary::scenario()
{
    static const QStringList names{ "$schema", "description", "devices", "timeline" };
    return names;
}

const QStringList& ScenarioVocabulary::device()
{
    static const QStringList names{ "address", "name", "class", "rssi",   "moves", "pairing",
                                    "pin",     "code", "is",    "paired", "absent" };
    return names;
}

const QStringList& ScenarioVocabulary::movement()
{
    static const QStringList names{ "to", "in", "returns" };
    return names;
}

const QStringList& ScenarioVocabulary::event()
{
    static const QStringList names{ "after",  "connect", "pair-request", "drop", "disappear",
                                    "appear", "move",    "to",           "in" };
    return names;
}

const QStringList& ScenarioVocabulary::pairing()
{
    static const QStringList names{ "just-works", "code",    "confirmation", "pin",
                                    "wrong-pin",  "refuses", "times-out",    "out-of-reach" };
    return names;
}

const QStringList& ScenarioVocabulary::roles()
{
    static const QStringList names{ "plain", "headset", "app", "ftp", "ios", "wifed" };
    return names;
}

} // namespace bt
