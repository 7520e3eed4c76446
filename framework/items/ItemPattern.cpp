#include "ItemPattern.h"

#include <algorithm>
#include <fnmatch.h>

namespace ipc {

bool matchesPattern(const ItemAddress& address, const QString& pattern)
{
    const QByteArray wanted = pattern.toUtf8();
    const auto fits = [&](const QString& name) {
        return fnmatch(wanted.constData(), name.toUtf8().constData(), 0) == 0;
    };
    const QString inModule = address.module + QLatin1Char(':');
    if (fits(address.id) || fits(inModule + address.id) || fits(address.toString())) {
        return true;
    }
    return address.index != ItemAddress::NoIndex
        && (fits(address.shortName()) || fits(inModule + address.shortName()));
}

bool isName(const QString& pattern)
{
    return std::none_of(pattern.begin(), pattern.end(),
                        [](QChar character) { return QLatin1String("*?[\\").contains(character); });
}

bool matchesAnyPattern(const ItemAddress& address, const QStringList& patterns)
{
    return patterns.isEmpty() || std::any_of(patterns.begin(), patterns.end(), [&](const QString& pattern) {
               return matchesPattern(address, pattern);
           });
}

} // namespace ipc
