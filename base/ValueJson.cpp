#include "ValueJson.h"

#include "JsonLine.h"

#include <nlohmann/json.hpp>

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QLocale>
#include <QStringList>

#include <cmath>
#include <utility>

namespace base {
namespace {

using Json = nlohmann::ordered_json;

/// JSON has no number for these.
Json floating(double number)
{
    if (std::isfinite(number)) {
        return number;
    }
    return std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity";
}

/// What the two forms make of the parts of a value.
class Walk
{
public:
    explicit Walk(bool isTyped)
        : m_isTyped(isTyped)
    {
    }

    [[nodiscard]] Json part(const QVariant& value) const
    {
        if (value.userType() == qMetaTypeId<QDBusArgument>()) {
            return parts(value.value<QDBusArgument>());
        }
        if (m_isTyped && value.userType() == qMetaTypeId<QDBusVariant>()) {
            return typedJson(value.value<QDBusVariant>().variant());
        }
        if (m_isTyped && value.userType() == QMetaType::Double) {
            return floating(value.toDouble());
        }
        return toJson(value);
    }

    /// A value that QtDBus has no type for: structures and lists are arrays; maps are objects, typed ones
    /// lists of [key, value].
    [[nodiscard]] Json parts(const QDBusArgument& argument) const
    {
        const auto type = argument.currentType();
        if (type == QDBusArgument::MapType) {
            return map(argument);
        }
        if (type != QDBusArgument::ArrayType && type != QDBusArgument::StructureType) {
            return part(argument.asVariant());
        }
        Json list = Json::array();
        type == QDBusArgument::ArrayType ? argument.beginArray() : argument.beginStructure();
        while (!argument.atEnd()) {
            list.push_back(part(argument.asVariant()));
        }
        type == QDBusArgument::ArrayType ? argument.endArray() : argument.endStructure();
        return list;
    }

private:
    [[nodiscard]] Json map(const QDBusArgument& argument) const
    {
        Json entries = m_isTyped ? Json::array() : Json::object();
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QVariant key = argument.asVariant();
            Json value = part(argument.asVariant());
            if (m_isTyped) {
                entries.push_back(Json::array({ part(key), std::move(value) }));
            } else {
                entries[rawText(key).toStdString()] = std::move(value);
            }
            argument.endMapEntry();
        }
        argument.endMap();
        return entries;
    }

    bool m_isTyped;
};

Json listToJson(const QVariantList& list)
{
    Json array = Json::array();
    for (const QVariant& element : list) {
        array.push_back(toJson(element));
    }
    return array;
}

Json bytesToJson(const QByteArray& bytes)
{
    Json array = Json::array();
    for (const char byte : bytes) {
        array.push_back(static_cast<unsigned char>(byte));
    }
    return array;
}

Json mapToJson(const QVariantMap& map)
{
    Json object = Json::object();
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        object[entry.key().toStdString()] = toJson(entry.value());
    }
    return object;
}

/// What QtDBus wraps; an invalid variant when it is none of these.
QVariant unwrapped(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return value.value<QDBusVariant>().variant();
    }
    if (value.userType() == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (value.userType() == qMetaTypeId<QDBusSignature>()) {
        return value.value<QDBusSignature>().signature();
    }
    return {};
}

bool hasParts(const QVariant& value)
{
    return value.userType() == qMetaTypeId<QDBusArgument>() || value.type() == QVariant::List
        || value.type() == QVariant::Map || value.type() == QVariant::ByteArray
        || value.type() == QVariant::StringList;
}

} // namespace

Json toJson(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return nullptr;
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toULongLong();
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return value.toLongLong();
    case QMetaType::Float:
    case QMetaType::Double:
        return value.toDouble();
    case QMetaType::QByteArray:
        return bytesToJson(value.toByteArray());
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return listToJson(value.toList());
    case QMetaType::QVariantMap:
        return mapToJson(value.toMap());
    default:
        break;
    }
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        return Walk(false).parts(value.value<QDBusArgument>());
    }
    if (const QVariant inner = unwrapped(value); inner.isValid()) {
        return toJson(inner);
    }
    return value.toString().toStdString();
}

Json typedJson(const QVariant& value)
{
    const QString type = value.userType() == qMetaTypeId<QDBusArgument>()
        ? value.value<QDBusArgument>().currentSignature()
        : QLatin1String(QDBusMetaType::typeToSignature(value.userType()));
    Json typed;
    typed["type"] = type.toStdString();
    typed["value"] = Walk(true).part(value);
    return typed;
}

QString rawText(const QVariant& value)
{
    if (hasParts(value)) {
        return jsonText(toJson(value));
    }
    if (const QVariant inner = unwrapped(value); inner.isValid()) {
        return rawText(inner);
    }
    if (value.userType() == QMetaType::Double || value.userType() == QMetaType::Float) {
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    }
    if (value.userType() == QMetaType::UChar) {
        return QString::number(value.toUInt());
    }
    return value.toString();
}

} // namespace base
