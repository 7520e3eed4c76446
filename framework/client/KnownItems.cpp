#include "KnownItems.h"

#include <array>

namespace ipc {
namespace {

const std::array<QString, 3> ChangingProperties{ QStringLiteral("value"), QStringLiteral("text"),
                                                 QStringLiteral("applicable") };

} // namespace

ItemRecords KnownItems::take(const ItemRecords& present)
{
    ItemRecords differences;
    for (const ItemRecord& record : present) {
        QVariantMap& known = m_told[record.address];
        QVariantMap different;
        for (const QString& key : ChangingProperties) {
            const auto property = record.properties.constFind(key);
            if (property != record.properties.constEnd() && known.value(key) != *property) {
                different.insert(key, *property);
                known.insert(key, *property);
            }
        }
        if (!different.isEmpty()) {
            differences << ItemRecord{ record.address, different };
        }
    }
    return differences;
}

} // namespace ipc
