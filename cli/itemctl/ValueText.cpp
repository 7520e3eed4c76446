#include "ValueText.h"

#include "common/DisplayText.h"

namespace itemctl {

QString shownValue(const Item& item)
{
    if (!item.value.isValid()) {
        return QStringLiteral("-");
    }
    const QString raw = base::rawText(item.value);
    if (raw.isEmpty()) {
        return QStringLiteral("\"\"");
    }
    return item.text.isEmpty() ? escaped(raw)
                               : QStringLiteral("%1 (%2)").arg(escaped(raw), escaped(item.text));
}

} // namespace itemctl
