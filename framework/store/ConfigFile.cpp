#include "ConfigFile.h"

#include "items/ModuleItems.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QSaveFile>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace ipc {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Modules = "modules";
constexpr const char* Values = "values";
constexpr const char* BeyondLimits = "beyondLimits";

void setAside(const QString& path, const QString& reason)
{
    const QString kept =
        QStringLiteral("%1.damaged-%2")
            .arg(path, QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")));
    const bool renamed = QFile::rename(path, kept);
    qWarning().noquote() << path << "is damaged and its configs take their defaults:" << reason
                         << (renamed ? QStringLiteral("; the file is kept as ") + kept
                                     : QStringLiteral("; it could not be renamed"));
}

/// The file's content; an empty object when there is none, nothing when it cannot be understood.
std::optional<Json> read(const QString& path)
{
    QFile file(path);
    if (!file.exists())
        return Json::object();
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning().noquote() << path
                             << "cannot be read and its configs take their defaults:" << file.errorString();
        return {};
    }
    const QByteArray content = file.readAll();
    try {
        Json document = Json::parse(content.begin(), content.end());
        if (document.is_object() && document.value(Modules, Json::object()).is_object())
            return document;
        setAside(path, QStringLiteral("an object with an object \"modules\" is expected"));
    } catch (const Json::exception& error) {
        setAside(path, QString::fromUtf8(error.what()));
    }
    return {};
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
    const QString type = item.type.name();
    if (type == QLatin1String("bool"))
        return value.userType() == QMetaType::Bool;
    if (type == QLatin1String("text"))
        return value.userType() == QMetaType::QString;
    return value.isValid() && (isNumber || type == QLatin1String("any"));
}

void apply(Item& item, const QVariant& value, bool beyondLimits, const QString& path)
{
    if (!fitsType(item, value)) {
        qWarning().noquote() << path << "gives" << item.address.toString() << "a value that is no"
                             << item.type.name() << "- its default applies";
        return;
    }
    const QVariant converted = item.type.fromModule(value);
    const auto refusal = beyondLimits ? std::nullopt : item.type.checkLimits(converted, item.isPrivate);
    if (refusal) {
        qWarning().noquote() << path << "gives" << item.address.toString()
                             << "a value beyond its limits:" << refusal->reason << "- its default applies";
        return;
    }
    item.store(converted, true);
}

} // namespace

bool loadConfigs(const QString& path, ModuleItems& items)
{
    const std::optional<Json> document = read(path);
    if (!document)
        return false;
    const Json modules = document->value(Modules, Json::object());
    const auto found = modules.find(items.moduleName().toStdString());
    if (found == modules.end() || !found->is_object())
        return true;
    const Json values = found->value(Values, Json::object());
    const Json beyondLimits = found->value(BeyondLimits, Json::array());
    for (const auto& [id, value] : values.items()) {
        Item* item = items.findOrWarn(ItemKind::Config, QString::fromStdString(id));
        const bool excused =
            std::find(beyondLimits.begin(), beyondLimits.end(), Json(id)) != beyondLimits.end();
        if (item)
            apply(*item, toVariant(value), excused, path);
    }
    return true;
}

bool saveConfigs(const QString& path, const ModuleItems& items, const QStringList& ids)
{
    Json values = Json::object();
    Json beyondLimits = Json::array();
    for (const QString& id : ids) {
        const Item* item = items.find(ItemKind::Config, id);
        if (!item)
            continue;
        values[id.toStdString()] = fromVariant(item->value());
        if (item->type.checkLimits(item->value(), true))
            beyondLimits.push_back(id.toStdString());
    }
    std::optional<Json> stored = read(path);
    // A damaged file was set aside by now; one that cannot be read is not replaced.
    if (!stored && QFile::exists(path))
        return false;
    Json document = stored.value_or(Json::object());
    document[Modules][items.moduleName().toStdString()] =
        Json{ { Values, std::move(values) }, { BeyondLimits, std::move(beyondLimits) } };

    QSaveFile file(path);
    const std::string text = document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
    const bool written = file.open(QIODevice::WriteOnly)
        && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size())
        && file.commit();
    if (!written)
        qWarning().noquote() << path
                             << "cannot be written; the configs are not stored:" << file.errorString();
    return written;
}

} // namespace ipc
