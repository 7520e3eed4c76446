#include "Weight.h"

#include "RequestLimits.h"

#include <QDBusVariant>

#include <numeric>

namespace ipc {
namespace {

constexpr qint64 Plain = 16; ///< a number, or what stands around a text: signature, length, padding
constexpr int Short = 256; ///< characters; not worth a conversion

qint64 weightOf(const QString& text)
{
    return Plain + (text.size() <= Short ? text.size() : text.toUtf8().size());
}

qint64 weightOf(const QVariantMap& map)
{
    qint64 sum = Plain;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        sum += weightOf(entry.key()) + weight(entry.value());
    }
    return sum;
}

} // namespace

qint64 weight(const ItemRecord& record)
{
    return weightOf(record.address) + weightOf(record.properties);
}

qint64 weight(const QVariant& value)
{
    const int type = value.userType();
    if (type == QMetaType::QString) {
        return weightOf(value.toString());
    }
    if (type == QMetaType::QVariantMap) {
        return weightOf(value.toMap());
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return Plain + weight(value.value<QDBusVariant>().variant());
    }
    if (type == qMetaTypeId<ItemRecords>()) {
        const auto records = value.value<ItemRecords>();
        return std::accumulate(records.begin(), records.end(), Plain,
                               [](qint64 sum, const ItemRecord& record) { return sum + weight(record); });
    }
    return Plain + limits::characters(value); // what clients wrote, within the limits, or a number
}

} // namespace ipc
