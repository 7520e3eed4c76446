#include "ConfigFile.h"

#include "AtomicFile.h"
#include "StoredDocument.h"
#include "items/ModuleItems.h"

#include <QDebug>
#include <QFileInfo>

#include <algorithm>

namespace ipc {
namespace {

constexpr const char* Modules = "modules";
constexpr const char* Values = "values";
constexpr const char* BeyondLimits = "beyondLimits";

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

QString place(const QString& path, const QString& key)
{
    return QStringLiteral("%1: \"%2\"").arg(path, key);
}

/// The object under a key, an empty one when it is missing. Something else in its place is told.
Json objectOf(const Json& parent, const char* key, const QString& where)
{
    const auto found = parent.find(key);
    if (found == parent.end() || found->is_object()) {
        return found == parent.end() ? Json::object() : *found;
    }
    qWarning().noquote() << where << "has no object as" << QStringLiteral("\"%1\",").arg(QLatin1String(key))
                         << "which it has to be - it is not used";
    return Json::object();
}

/// A key that nobody knows may be one of those that are missing, misspelt. Where all are there it is one of a
/// newer release.
void tellUnknown(const Json& object, const QStringList& known, const QString& where)
{
    QStringList missing = known;
    QStringList unknown;
    for (const auto& [key, value] : object.items()) {
        const QString name = QString::fromStdString(key);
        if (missing.removeAll(name) == 0) {
            unknown << name;
        }
    }
    if (!missing.isEmpty() && !unknown.isEmpty()) {
        const QString between = QStringLiteral("\", \"");
        qWarning().noquote() << where << "has"
                             << QStringLiteral("\"%1\", which nobody reads; \"%2\" is expected")
                                    .arg(unknown.join(between), missing.join(between));
    }
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

ConfigFile::ConfigFile(QString path, QStringList modules)
    : m_path(std::move(path))
    , m_modules(std::move(modules))
{
}

bool ConfigFile::load(ModuleItems& items) const
{
    const QString consequence = QStringLiteral("its configs take their defaults");
    const auto stored = readDocument(m_path, consequence);
    if (!stored) {
        qWarning().noquote() << m_path << "is not used and" << consequence + QLatin1Char(':')
                             << stored.error().message;
    }
    if (!stored || !*stored) {
        return false;
    }
    const QString& module = items.moduleName();
    if (m_modules.value(0, module) == module) { // once for all of them
        tellUnknown(**stored, { Modules }, m_path);
        tellUnknown(objectOf(**stored, Modules, m_path),
                    m_modules.isEmpty() ? QStringList(module) : m_modules, place(m_path, Modules));
    }
    const Json section =
        objectOf(objectOf(**stored, Modules, m_path), module.toUtf8(), place(m_path, Modules));
    const QString where = place(m_path, module);
    tellUnknown(section, { Values, BeyondLimits }, where);
    const Json values = objectOf(section, Values, where);
    const Json beyondLimits = objectOf(section, BeyondLimits, where);
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
    const auto stored = readDocument(m_path, QStringLiteral("the configs keep the values that they have"));
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
    const auto text = documentText(document);
    if (!text) {
        return text.error();
    }
    const auto folder = makePrivateFolder(QFileInfo(m_path).absolutePath()); // it may have been removed
    return folder ? replaceFile(m_path, *text) : folder;
}

bool ConfigFile::load(ModuleItems& items, const QString& path)
{
    return path == m_path ? load(items) : ConfigFile(path).load(items);
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
