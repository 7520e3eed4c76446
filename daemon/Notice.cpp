#include "Notice.h"

#include "Escaped.h"

#include <cstdio>

namespace bt {

// In one piece, so that it stays a line of its own among those of other programs.
void notice(const QString& text)
{
    const QByteArray line = "notice: " + base::escaped(text).toUtf8() + '\n';
    std::fputs(line.constData(), stderr);
}

} // namespace bt
