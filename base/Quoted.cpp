#include "Quoted.h"

#include <QDebug>

namespace base {

QString quoted(const QString& text)
{
    constexpr int Longest = 60;
    QString result;
    QDebug(&result).nospace() << (text.size() > Longest ? text.left(Longest) + QChar(0x2026) : text);
    return result;
}

} // namespace base
