#include "ValueReader.h"

#include "Container.h"
#include "Signature.h"

#include <nlohmann/json.hpp>

#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QStringList>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace recording {

namespace {

using Json = nlohmann::json;

/// What a message holds is 64 deep at most; the rest is for what the value stands in.
constexpr int DeepestValue = 60;

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

/// The key of a dictionary that is an object, whose names are texts: a number is in one.
Json keyOf(const QByteArray& signature, const std::string& name)
{
    const Json key = Json::parse(name, nullptr, false);
    return key.is_discarded() || QByteArrayLiteral("sog").contains(signature.at(0)) ? Json(name) : key;
}

class Reader
{
public:
    /// Invalid after a problem.
    QVariant read(const QByteArray& signature, const Json& json);
    QVariant readTyped(const Json& json);
    /// The value that was read, or what was wrong with it, for one that \a name tells.
    [[nodiscard]] base::Result<QVariant> finish(const QVariant& value, const QString& name) const;

private:
    template <typename Number>
    QVariant whole(const QByteArray& signature, const Json& json);
    QVariant floating(const Json& json);
    QVariant text(const QByteArray& signature, const Json& json);
    QVariant container(const QByteArray& signature, const Json& json);
    bool readPair(const QString& place, const QList<QByteArray>& types, const Json& pair,
                  QVariantList& parts);
    /// Each step of \a place, within the present one, is a level.
    bool readPart(const QStringList& place, const QByteArray& signature, const Json& json,
                  QVariantList& parts);
    QVariant refuse(const Json& json, const QString& right);

    QStringList m_place;
    QString m_problem;
};

QVariant Reader::refuse(const Json& json, const QString& right)
{
    m_problem = QStringLiteral("is %1 but has to be %2").arg(shown(json), right);
    return {};
}

template <typename Number>
QVariant Reader::whole(const QByteArray& signature, const Json& json)
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

QVariant Reader::floating(const Json& json)
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

QVariant Reader::text(const QByteArray& signature, const Json& json)
{
    if (!json.is_string()) {
        return refuse(json, QStringLiteral("a text in quotation marks"));
    }
    const QString content = QString::fromStdString(json.get_ref<const std::string&>());
    switch (signature.at(0)) {
    case 'o':
        return isObjectPath(content)
            ? QVariant::fromValue(QDBusObjectPath(content))
            : refuse(json, QStringLiteral("an object path, like \"/org/example/1\""));
    case 'g':
        // The empty one is valid, but QtDBus sends none.
        return !content.isEmpty() && isSignatureList(content.toUtf8())
            ? QVariant::fromValue(QDBusSignature(content))
            : refuse(json, QStringLiteral("a D-Bus signature, like \"a{sv}\""));
    default:
        return content.contains(QChar(0)) ? refuse(json, QStringLiteral("a text without the character 0"))
                                          : QVariant(content);
    }
}

QVariant Reader::read(const QByteArray& signature, const Json& json)
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
        return json.is_boolean() ? QVariant(json.get<bool>()) : refuse(json, QStringLiteral("true or false"));
    case 'd':
        return floating(json);
    case 'v': {
        const QVariant content = readTyped(json);
        return content.isValid() ? QVariant::fromValue(QDBusVariant(content)) : QVariant();
    }
    case 'a':
    case '(':
        return container(signature, json);
    default:
        return text(signature, json);
    }
}

QVariant Reader::readTyped(const Json& json)
{
    if (!json.is_object() || json.size() != 2 || !json.contains("type") || !json.contains("value")
        || !json.at("type").is_string()) {
        return refuse(json, QStringLiteral(R"("type" and "value" alone, like {"type":"i","value":7})"));
    }
    const auto signature = QByteArray::fromStdString(json.at("type").get_ref<const std::string&>());
    if (const auto valid = checkSignature(signature); !valid) {
        m_problem = QStringLiteral(R"(has the "type" %1 but needs one D-Bus type, like i, as or a(tis): %2)")
                        .arg(shown(json.at("type")), valid.error().text);
        return {};
    }
    QVariantList value;
    return readPart({ QString() }, signature, json.at("value"), value) ? value.first() : QVariant();
}

QVariant Reader::container(const QByteArray& signature, const Json& json)
{
    const QList<QByteArray> types = partTypes(signature);
    const bool isStructure = signature.startsWith('(');
    const bool isMap = isDictionary(signature);
    if (!(json.is_array() || (isMap && json.is_object()))
        || (isStructure && json.size() != static_cast<std::size_t>(types.size()))) {
        return refuse(json,
                      isMap             ? QStringLiteral("an object, or a list of [key, value]")
                          : isStructure ? QStringLiteral("a list of %1, the fields of %2")
                                              .arg(types.size())
                                              .arg(QString::fromLatin1(signature))
                                        : QStringLiteral("a list"));
    }
    QVariantList parts;
    int index = 0;
    for (const auto& [name, part] : json.items()) { // those of a list have their index as name
        const QString place =
            QStringLiteral("[%1]").arg(json.is_object() ? shown(name) : QString::fromStdString(name));
        const QByteArray& type = types.at(std::min(index++, types.size() - 1)); // an array has one for all
        const bool isRead = !isMap ? readPart({ place }, type, part, parts)
            : json.is_object()
            ? readPart({ place, QString() }, types.first(), keyOf(types.first(), name), parts)
                && readPart({ place, QString() }, types.last(), part, parts)
            : readPair(place, types, part, parts);
        if (!isRead) {
            return {};
        }
    }
    return containerValue(signature, parts);
}

bool Reader::readPair(const QString& place, const QList<QByteArray>& types, const Json& pair,
                      QVariantList& parts)
{
    if (!pair.is_array() || pair.size() != 2) {
        m_place.append(place);
        refuse(pair, QStringLiteral("a list of key and value"));
        return false;
    }
    return readPart({ place, QStringLiteral("[0]") }, types.first(), pair.at(0), parts)
        && readPart({ place, QStringLiteral("[1]") }, types.last(), pair.at(1), parts);
}

bool Reader::readPart(const QStringList& place, const QByteArray& signature, const Json& json,
                      QVariantList& parts)
{
    m_place.append(place);
    if (m_place.size() > DeepestValue) {
        m_problem = QStringLiteral("is nested deeper than %1, which no message holds").arg(DeepestValue);
        return false;
    }
    parts.append(read(signature, json));
    if (!parts.last().isValid()) {
        return false; // with the place where that was
    }
    m_place.erase(m_place.end() - place.size(), m_place.end());
    return true;
}

base::Result<QVariant> Reader::finish(const QVariant& value, const QString& name) const
{
    if (value.isValid()) {
        return value;
    }
    const QString place = m_place.join(QString());
    return base::error(name + (place.isEmpty() ? QString() : QStringLiteral(" at ") + place)
                       + QLatin1Char(' ') + m_problem);
}

} // namespace

base::Result<QVariant> readValue(const QByteArray& signature, const Json& json, const QString& name)
{
    Reader reader;
    const QVariant value = reader.read(signature, json);
    return reader.finish(value, name);
}

base::Result<QVariant> readTypedValue(const Json& json, const QString& name)
{
    Reader reader;
    const QVariant value = reader.readTyped(json);
    return reader.finish(value, name);
}

} // namespace recording
