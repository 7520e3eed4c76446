#include "ValueJson.h"

#include "JsonLine.h"

#include <nlohmann/json.hpp>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QLocale>
#include <QStringList>

namespace cli {
namespace {

using Json = nlohmann::ordered_json;

/// A value with parts that QtDBus has no type for: structures and lists become arrays, maps become objects.
Json argumentToJson(const QDBusArgument& argument);

Json mapToJson(const QDBusArgument& argument)
{
    Json object = Json::object();
    argument.beginMap();
    while (!argument.atEnd()) {
        argument.beginMapEntry();
        const QString key = rawText(argument.asVariant());
        object[key.toStdString()] = toJson(argument.asVariant());
        argument.endMapEntry();
    }
    argument.endMap();
    return object;
}

Json argumentToJson(const QDBusArgument& argument)
{
    Json array = Json::array();
    switch (argument.currentType()) {
    case QDBusArgument::MapType:
        return mapToJson(argument);
    case QDBusArgument::ArrayType:
        argument.beginArray();
        while (!argument.atEnd()) {
            array.push_back(toJson(argument.asVariant()));
        }
        argument.endArray();
        return array;
    case QDBusArgument::StructureType:
        argument.beginStructure();
        while (!argument.atEnd()) {
            array.push_back(toJson(argument.asVariant()));
        }
        argument.endStructure();
        return array;
    default:
        return toJson(argument.asVariant());
    }
}

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
        return argumentToJson(value.value<QDBusArgument>());
    }
    if (const QVariant inner = unwrapped(value); inner.isValid()) {
        return toJson(inner);
    }
    return value.toString().toStdString();
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

} // namespace cli
