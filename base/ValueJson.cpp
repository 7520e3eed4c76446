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
#include <vector>

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

/// The one walk over a value, for both forms of it.
class Walk
{
public:
    explicit Walk(bool isTyped)
        : m_isTyped(isTyped)
    {
    }

    [[nodiscard]] Json of(const QVariant& value) const
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
            return m_isTyped ? floating(value.toDouble()) : Json(value.toDouble());
        case QMetaType::QByteArray: {
            const QByteArray bytes = value.toByteArray();
            return std::vector<unsigned char>(bytes.begin(), bytes.end());
        }
        case QMetaType::QVariantList:
        case QMetaType::QStringList:
            return ofList(value.toList());
        case QMetaType::QVariantMap:
            return ofMap(value.toMap());
        default:
            return ofDBus(value);
        }
    }

private:
    [[nodiscard]] Json ofList(const QVariantList& list) const
    {
        Json array = Json::array();
        for (const QVariant& element : list) {
            array.push_back(of(element));
        }
        return array;
    }

    [[nodiscard]] Json ofMap(const QVariantMap& map) const
    {
        Json object = Json::object();
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            object[entry.key().toStdString()] = of(entry.value());
        }
        return object;
    }

    [[nodiscard]] Json ofDBus(const QVariant& value) const
    {
        if (value.userType() == qMetaTypeId<QDBusArgument>()) {
            return ofParts(value.value<QDBusArgument>());
        }
        const QVariant inner = unwrapped(value);
        if (!inner.isValid()) {
            return value.toString().toStdString();
        }
        return m_isTyped && value.userType() == qMetaTypeId<QDBusVariant>() ? typedJson(inner) : of(inner);
    }

    /// A value that QtDBus has no type for: structures and lists are arrays; maps are objects, typed ones
    /// lists of [key, value].
    [[nodiscard]] Json ofParts(const QDBusArgument& argument) const
    {
        const auto type = argument.currentType();
        if (type == QDBusArgument::MapType) {
            return ofEntries(argument);
        }
        if (type != QDBusArgument::ArrayType && type != QDBusArgument::StructureType) {
            return of(argument.asVariant());
        }
        Json list = Json::array();
        type == QDBusArgument::ArrayType ? argument.beginArray() : argument.beginStructure();
        while (!argument.atEnd()) {
            list.push_back(of(argument.asVariant()));
        }
        type == QDBusArgument::ArrayType ? argument.endArray() : argument.endStructure();
        return list;
    }

    [[nodiscard]] Json ofEntries(const QDBusArgument& argument) const
    {
        Json entries = m_isTyped ? Json::array() : Json::object();
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QVariant key = argument.asVariant();
            Json value = of(argument.asVariant());
            if (m_isTyped) {
                entries.push_back(Json::array({ of(key), std::move(value) }));
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

bool hasParts(const QVariant& value)
{
    return value.userType() == qMetaTypeId<QDBusArgument>() || value.type() == QVariant::List
        || value.type() == QVariant::Map || value.type() == QVariant::ByteArray
        || value.type() == QVariant::StringList;
}

} // namespace

Json toJson(const QVariant& value)
{
    return Walk(false).of(value);
}

Json typedJson(const QVariant& value)
{
    const QString type = value.userType() == qMetaTypeId<QDBusArgument>()
        ? value.value<QDBusArgument>().currentSignature()
        : QLatin1String(QDBusMetaType::typeToSignature(value.userType()));
    return { { "type", type.toStdString() }, { "value", Walk(true).of(value) } };
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
