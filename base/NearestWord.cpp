#include "NearestWord.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace base {

namespace {

/// Insertions, deletions, replacements and swaps of neighbours that turn one text into the other.
int editDistance(const QString& from, const QString& to)
{
    const auto columns = static_cast<std::size_t>(to.size()) + 1;
    std::vector<int> beforeLast(columns);
    std::vector<int> last(columns);
    std::vector<int> row(columns);
    std::iota(last.begin(), last.end(), 0);
    for (int i = 1; i <= from.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j < columns; ++j) {
            const auto at = static_cast<int>(j);
            const int replaced = last[j - 1] + (from[i - 1] == to[at - 1] ? 0 : 1);
            row[j] = std::min({ replaced, last[j] + 1, row[j - 1] + 1 });
            if (i > 1 && at > 1 && from[i - 1] == to[at - 2] && from[i - 2] == to[at - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last.back();
}

} // namespace

QString nearestWord(const QString& typed, const QStringList& words)
{
    const QString wanted = typed.toLower();
    const int tolerated = std::max(1, typed.size() / 3);
    QString nearest;
    int least = tolerated + 1;
    for (const QString& word : words) {
        if (std::abs(word.size() - typed.size()) > tolerated) {
            continue;
        }
        const int distance = editDistance(wanted, word.toLower());
        if (distance < least) {
            least = distance;
            nearest = word;
        }
    }
    return nearest;
}

} // namespace base
