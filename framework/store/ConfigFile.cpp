#include "ConfigFile.h"

#include "AtomicFile.h"
#include "items/ModuleItems.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace ipc {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Modules = "modules";
constexpr const char* Values = "values";
constexpr const char* BeyondLimits = "beyondLimits";

Outcome<Json> parse(const QByteArray& content)
{
    Error error;
    try {
        Json document = Json::parse(content.begin(), content.end());
        if (document.is_object() && document.value(Modules, Json::object()).is_object()) {
            return document;
        }
        error.message = QStringLiteral("an object with an object \"modules\" is expected");
    } catch (const Json::exception& exception) {
        error.message = QString::fromUtf8(exception.what());
    }
    return error;
}

/// What a file holds, an empty object when there is none. Nothing when the file was damaged: it is kept under
/// another name then.
Outcome<std::optional<Json>> read(const QString& path)
{
    QFile file(path);
    if (!file.exists()) {
        return std::optional(Json::object());
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{ Error::Kind::Failed, QStringLiteral("cannot be read: %1").arg(file.errorString()) };
    }
    const Outcome<Json> document = parse(file.readAll());
    if (document) {
        return std::optional(*document);
    }
    const QString kept =
        QStringLiteral("%1.damaged-%2")
            .arg(path, QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")));
    if (!QFile::rename(path, kept)) {
        return document.error();
    }
    qWarning().noquote() << path
                         << "is damaged and its configs take their defaults:" << document.error().message
                         << "; the file is kept as" << kept;
    return std::optional<Json>();
}

QVariant toVariant(const Json& value)
{
    switch (value.type()) {
    case Json::value_t::boolean:
        return value.get<bool>();
    case Json::value_t::string:
        return QString::fromStdString(value.get<std::string>());
    case Json::value_t::number_integer:
        return static_cast<qlonglong>(value.get<std::int64_t>());
    case Json::value_t::number_unsigned:
        return static_cast<qulonglong>(value.get<std::uint64_t>());
    case Json::value_t::number_float:
        return value.get<double>();
    default:
        return {};
    }
}

Json fromVariant(const QVariant& value)
{
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::LongLong:
        return static_cast<std::int64_t>(value.toLongLong());
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return static_cast<std::uint64_t>(value.toULongLong());
    case QMetaType::Double:
        return value.toDouble();
    default:
        return value.toString().toStdString();
    }
}

/// Whether a stored value has the item's type as written, without a conversion: "1" is no bool.
bool fitsType(const Item& item, const QVariant& value)
{
    const bool isNumber = value.userType() != QMetaType::QString && value.userType() != QMetaType::Bool;
    const QString type = item.type().name();
    if (type == QLatin1String("bool")) {
        return value.userType() == QMetaType::Bool;
    }
    if (type == QLatin1String("text")) {
        return value.userType() == QMetaType::QString;
    }
    return value.isValid() && (isNumber || type == QLatin1String("any"));
}

void apply(Item& item, const QVariant& value, bool beyondLimits, const QString& path)
{
    if (!fitsType(item, value)) {
        qWarning().noquote() << path << "gives" << item.addressText() << "a value that is no"
                             << item.type().name() << "- its default applies";
        return;
    }
    const QVariant converted = item.type().fromModule(value);
    const auto checked = item.type().checkLimits(converted, item.isPrivate());
    if (!checked && !beyondLimits) {
        qWarning().noquote() << path << "gives" << item.addressText()
                             << "a value beyond its limits:" << checked.error().message
                             << "- its default applies";
        return;
    }
    item.store(converted, true);
}

/// The object under a key; made when it is missing or something else.
Json& objectIn(Json& parent, const std::string& key)
{
    Json& child = parent[key];
    if (!child.is_object()) {
        child = Json::object();
    }
    return child;
}

/// Whether the module itself stored this value. Another one in its place was put there by hand.
bool isExcused(const Json& beyondLimits, const std::string& id, const Json& value)
{
    const auto stored = beyondLimits.find(id);
    return stored != beyondLimits.end() && *stored == value;
}

/// Puts the values of a module's configs where they stood; ids that the module does not have stay.
/// @param isKept which of the configs with these ids are to be there.
template <typename Predicate>
void storeValues(Json& values, const ModuleItems& items, const QStringList& ids, Predicate isKept)
{
    Json kept = Json::object();
    for (const auto& [id, value] : values.items()) {
        const QString name = QString::fromStdString(id);
        const Item* item = items.find(ItemKind::Config, name);
        if (item == nullptr || (ids.contains(name) && isKept(*item))) {
            kept[id] = value;
        }
    }
    for (const QString& id : ids) {
        const Item* item = items.find(ItemKind::Config, id);
        if (item != nullptr && isKept(*item)) {
            kept[id.toStdString()] = fromVariant(item->value());
        }
    }
    values = std::move(kept);
}

} // namespace

ConfigFile::ConfigFile(QString path)
    : m_path(std::move(path))
{
}

bool ConfigFile::load(ModuleItems& items) const
{
    const auto stored = read(m_path);
    if (!stored) {
        qWarning().noquote() << m_path
                             << "is not used and its configs take their defaults:" << stored.error().message;
    }
    if (!stored || !*stored) {
        return false;
    }
    const Json modules = (*stored)->value(Modules, Json::object());
    const auto found = modules.find(items.moduleName().toStdString());
    if (found == modules.end() || !found->is_object()) {
        return true;
    }
    const Json values = found->value(Values, Json::object());
    const Json beyondLimits = found->value(BeyondLimits, Json::object());
    for (const auto& [id, value] : values.items()) {
        if (Item* item = items.findOrWarn(ItemKind::Config, QString::fromStdString(id))) {
            apply(*item, toVariant(value), isExcused(beyondLimits, id, value), m_path);
        }
    }
    return true;
}

void ConfigFile::gather(const ModuleItems& items, const QStringList& ids)
{
    const auto known = std::find_if(m_gathered.begin(), m_gathered.end(),
                                    [&](const Gathered& gathered) { return gathered.items == &items; });
    if (known == m_gathered.end()) {
        m_gathered.push_back({ &items, ids });
    } else {
        known->ids = ids;
    }
}

bool ConfigFile::save(const ModuleItems& items, const QStringList& ids, const QString& path)
{
    if (path == m_path) {
        gather(items, ids);
        return true;
    }
    ConfigFile other(path);
    other.gather(items, ids);
    return other.write();
}

Outcome<Done> ConfigFile::replace() const
{
    // Read anew each time: a hand may have edited it since, and it is small beside the disk's own time.
    const auto stored = read(m_path);
    if (!stored) {
        return stored.error(); // what cannot be read is not replaced
    }
    const Json before = stored->value_or(Json::object());
    Json document = before;
    for (const Gathered& gathered : m_gathered) {
        Json& section = objectIn(objectIn(document, Modules), gathered.items->moduleName().toStdString());
        storeValues(objectIn(section, Values), *gathered.items, gathered.ids,
                    [](const Item&) { return true; });
        storeValues(objectIn(section, BeyondLimits), *gathered.items, gathered.ids,
                    [](const Item& item) { return !item.type().checkLimits(item.value(), true); });
    }
    if (document == before) {
        return Done();
    }
    return replaceFile(m_path,
                       QByteArray::fromStdString(document.dump(2, ' ', false, Json::error_handler_t::replace))
                           + '\n');
}

bool ConfigFile::write()
{
    if (m_gathered.empty()) {
        return true;
    }
    const Outcome<Done> replaced = replace();
    if (replaced) {
        if (m_isFailing) {
            qInfo().noquote() << m_path << "is written again";
        }
        m_isFailing = false;
        m_gathered.clear();
        return true;
    }
    if (!m_isFailing) {
        qWarning().noquote() << m_path << "cannot be written; the configs are not stored, and the next change"
                             << "tries again:" << replaced.error().message;
    }
    m_isFailing = true;
    return false;
}

} // namespace ipc
