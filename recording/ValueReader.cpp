#include "ValueReader.h"

#include "Container.h"
#include "Signature.h"

#include <nlohmann/json.hpp>

#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace recording {

namespace {

using Json = nlohmann::json;
using Value = base::Result<QVariant>;

/// What a message holds is 64 deep at most; the rest is for what the value stands in.
constexpr int DeepestValue = 60;

Value readAt(int depth, const QByteArray& signature, const Json& json);

/// For a message: containers are not shown, they may be of any size.
QString shown(const Json& json)
{
    constexpr int Longest = 60;
    if (json.is_array()) {
        return QStringLiteral("a list of %1").arg(json.size());
    }
    if (json.is_object()) {
        return QStringLiteral("an object");
    }
    const QString text = QString::fromStdString(json.dump(-1, ' ', false, Json::error_handler_t::replace));
    return text.size() <= Longest ? text : text.left(Longest) + QStringLiteral("…");
}

/// What is wrong with a value, to stand behind the place where it is.
tl::unexpected<base::Error> wrong(const QString& what)
{
    return base::error(QLatin1Char(' ') + what);
}

tl::unexpected<base::Error> refuse(const Json& json, const QString& right)
{
    return wrong(QStringLiteral("is %1 but has to be %2").arg(shown(json), right));
}

tl::unexpected<base::Error> at(const QString& place, const base::Error& error)
{
    return base::error(QStringLiteral("[%1]").arg(place) + error.text);
}

template <typename Number>
Value whole(const QByteArray& signature, const Json& json)
{
    using Limits = std::numeric_limits<Number>;
    const bool fits = json.is_number_unsigned()
        ? json.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())
        : json.is_number_integer() && json.get<std::int64_t>() >= static_cast<std::int64_t>(Limits::min());
    if (fits) {
        return QVariant::fromValue(json.get<Number>());
    }
    return refuse(json,
                  QStringLiteral("a whole number from %1 to %2, as the D-Bus type %3")
                      .arg(Limits::min())
                      .arg(Limits::max())
                      .arg(QString::fromLatin1(signature)));
}

Value floating(const Json& json)
{
    using Limits = std::numeric_limits<double>;
    if (json.is_number()) {
        return json.get<double>();
    }
    if (json == "NaN") {
        return Limits::quiet_NaN();
    }
    if (json == "Infinity") {
        return Limits::infinity();
    }
    if (json == "-Infinity") {
        return -Limits::infinity();
    }
    return refuse(json, QStringLiteral(R"(a number, "NaN", "Infinity" or "-Infinity")"));
}

Value text(const QByteArray& signature, const Json& json)
{
    if (!json.is_string()) {
        return refuse(json, QStringLiteral("a text in quotation marks"));
    }
    const QString content = QString::fromStdString(json.get_ref<const std::string&>());
    switch (signature.at(0)) {
    case 'o':
        if (isObjectPath(content)) {
            return QVariant::fromValue(QDBusObjectPath(content));
        }
        return refuse(json, QStringLiteral("an object path, like \"/org/example/1\""));
    case 'g':
        // The empty one is valid, but QtDBus sends none.
        if (!content.isEmpty() && isSignatureList(content.toUtf8())) {
            return QVariant::fromValue(QDBusSignature(content));
        }
        return refuse(json, QStringLiteral("a D-Bus signature, like \"a{sv}\""));
    default:
        if (!content.contains(QChar(0))) {
            return content;
        }
        return refuse(json, QStringLiteral("a text without the character 0"));
    }
}

/// \a depth levels below the whole.
base::Result<> readPart(const QByteArray& signature, const Json& json, int depth, QVariantList& parts)
{
    if (depth > DeepestValue) {
        return wrong(QStringLiteral("is nested deeper than %1, which no message holds").arg(DeepestValue));
    }
    return readAt(depth, signature, json).map([&parts](const QVariant& value) { parts.append(value); });
}

// Of an array all have the one type that there is.
base::Result<> readFields(const QList<QByteArray>& types, const Json& json, int depth, QVariantList& parts)
{
    int index = 0;
    for (const Json& part : json) {
        const QByteArray& type = types.at(std::min(index, types.size() - 1));
        if (const auto read = readPart(type, part, depth + 1, parts); !read) {
            return at(QString::number(index), read.error());
        }
        ++index;
    }
    return {};
}

base::Result<> readEntries(const QList<QByteArray>& types, const Json& json, int depth, QVariantList& parts)
{
    int index = 0;
    for (const Json& entry : json) {
        const auto read = entry.is_array() && entry.size() == 2
            ? readFields(types, entry, depth + 1, parts)
            : refuse(entry, QStringLiteral("a list of key and value"));
        if (!read) {
            return at(QString::number(index), read.error());
        }
        ++index;
    }
    return {};
}

base::Result<> readNamedEntries(const QList<QByteArray>& types, const Json& json, int depth,
                                QVariantList& parts)
{
    const bool hasTextKey = QByteArrayLiteral("sog").contains(types.first().at(0));
    for (const auto& [name, value] : json.items()) {
        const Json key = hasTextKey ? Json(name) : Json::parse(name, nullptr, false);
        auto read = readPart(types.first(), key.is_discarded() ? Json(name) : key, depth + 2, parts);
        if (read) {
            read = readPart(types.last(), value, depth + 2, parts);
        }
        if (!read) {
            return at(shown(name), read.error());
        }
    }
    return {};
}

Value container(const QByteArray& signature, const Json& json, int depth)
{
    const QList<QByteArray> types = partTypes(signature);
    const bool isStructure = signature.startsWith('(');
    const bool isMap = isDictionary(signature);
    const bool isNamed = isMap && json.is_object();
    if (!(json.is_array() || isNamed)
        || (isStructure && json.size() != static_cast<std::size_t>(types.size()))) {
        return refuse(json,
                      isMap             ? QStringLiteral("an object, or a list of [key, value]")
                          : isStructure ? QStringLiteral("a list of %1, the fields of %2")
                                              .arg(types.size())
                                              .arg(QString::fromLatin1(signature))
                                        : QStringLiteral("a list"));
    }
    QVariantList parts;
    const auto read = isNamed ? readNamedEntries(types, json, depth, parts)
        : isMap               ? readEntries(types, json, depth, parts)
                              : readFields(types, json, depth, parts);
    return read.map([&] { return containerValue(signature, parts); });
}

Value typed(const Json& json, int depth)
{
    if (!json.is_object() || json.size() != 2 || !json.contains("type") || !json.contains("value")
        || !json.at("type").is_string()) {
        return refuse(json, QStringLiteral(R"("type" and "value" alone, like {"type":"i","value":7})"));
    }
    const auto signature = QByteArray::fromStdString(json.at("type").get_ref<const std::string&>());
    if (const auto valid = checkSignature(signature); !valid) {
        return wrong(QStringLiteral(R"(has the "type" %1 but needs one D-Bus type, like i, as or a(tis): %2)")
                         .arg(shown(json.at("type")), valid.error().text));
    }
    QVariantList value;
    return readPart(signature, json.at("value"), depth + 1, value).map([&value] { return value.first(); });
}

Value readAt(int depth, const QByteArray& signature, const Json& json)
{
    switch (signature.at(0)) {
    case 'y':
        return whole<uchar>(signature, json);
    case 'n':
        return whole<short>(signature, json);
    case 'q':
        return whole<ushort>(signature, json);
    case 'i':
        return whole<int>(signature, json);
    case 'u':
        return whole<uint>(signature, json);
    case 'x':
        return whole<qlonglong>(signature, json);
    case 't':
        return whole<qulonglong>(signature, json);
    case 'b':
        return json.is_boolean() ? Value(json.get<bool>()) : refuse(json, QStringLiteral("true or false"));
    case 'd':
        return floating(json);
    case 'v':
        return typed(json, depth).map([](const QVariant& content) {
            return QVariant::fromValue(QDBusVariant(content));
        });
    case 'a':
    case '(':
        return container(signature, json, depth);
    default:
        return text(signature, json);
    }
}

Value named(const QString& name, const Value& value)
{
    return value.map_error([&name](base::Error error) {
        error.text.prepend(name + (error.text.startsWith('[') ? QStringLiteral(" at ") : QString()));
        return error;
    });
}

} // namespace

Value readValue(const QByteArray& signature, const Json& json, const QString& name)
{
    return named(name, readAt(0, signature, json));
}

Value readTypedValue(const Json& json, const QString& name)
{
    return named(name, typed(json, 0));
}

} // namespace recording
