#include "RecordedValue.h"

#include "common/ValueJson.h"

#include <nlohmann/json.hpp>

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>

#include <cmath>

namespace simctl {
namespace {

using Json = nlohmann::ordered_json;

Json content(const QVariant& value);

Json dictionary(const QDBusArgument& argument)
{
    Json entries = Json::array();
    argument.beginMap();
    while (!argument.atEnd()) {
        argument.beginMapEntry();
        Json entry = Json::array();
        entry.push_back(content(argument.asVariant()));
        entry.push_back(content(argument.asVariant()));
        entries.push_back(std::move(entry));
        argument.endMapEntry();
    }
    argument.endMap();
    return entries;
}

Json parts(const QDBusArgument& argument)
{
    if (argument.currentType() == QDBusArgument::MapType) {
        return dictionary(argument);
    }
    const bool isArray = argument.currentType() == QDBusArgument::ArrayType;
    Json list = Json::array();
    isArray ? argument.beginArray() : argument.beginStructure();
    while (!argument.atEnd()) {
        list.push_back(content(argument.asVariant()));
    }
    isArray ? argument.endArray() : argument.endStructure();
    return list;
}

/// JSON has no number for these.
Json floating(double number)
{
    if (std::isfinite(number)) {
        return number;
    }
    return std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity";
}

Json content(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        return parts(value.value<QDBusArgument>());
    }
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return recordedValue(value.value<QDBusVariant>().variant());
    }
    if (value.userType() == QMetaType::Double) {
        return floating(value.toDouble());
    }
    return cli::toJson(value);
}

} // namespace

Json recordedValue(const QVariant& value)
{
    const QString type = value.userType() == qMetaTypeId<QDBusArgument>()
        ? value.value<QDBusArgument>().currentSignature()
        : QLatin1String(QDBusMetaType::typeToSignature(value.userType()));
    Json recorded;
    recorded["type"] = type.toStdString();
    recorded["value"] = content(value);
    return recorded;
}

} // namespace simctl
