#include "PairingCause.h"

#include <algorithm>

namespace bt {

const CauseWords& wordsOf(Cause cause)
{
    return *std::find_if(Causes.begin(), Causes.end(),
                         [cause](const CauseWords& words) { return words.cause == cause; });
}

QString causeText(Cause cause, const QString& detail)
{
    const CauseWords& words = wordsOf(cause);
    const QString text =
        QStringLiteral("%1; %2").arg(QLatin1String(words.happened), QLatin1String(words.remedy));
    return detail.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, detail);
}

} // namespace bt
