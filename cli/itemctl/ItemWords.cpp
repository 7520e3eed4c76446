#include "ItemWords.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>

namespace itemctl {
namespace {

using Json = nlohmann::ordered_json;

/// Empty when there is none.
QString wordsFile(const QString& module)
{
    if (module.contains(QLatin1Char('/'))) { // a server may call itself anything
        return {};
    }
    const QString name = QStringLiteral("/ipc/%1.items.json").arg(module);
    const QStringList folders =
        QStringList(QCoreApplication::applicationDirPath() + QStringLiteral("/../share"))
        + QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (const QString& folder : folders) {
        if (QFile::exists(folder + name)) {
            return folder + name;
        }
    }
    return {};
}

Json member(const Json& object, const std::string& key)
{
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found != object.end() && found->is_object() ? *found : Json::object();
}

} // namespace

base::Result<Json> wordsOf(const Item& item)
{
    const QString path = wordsFile(item.module);
    if (path.isEmpty()) {
        return Json::object();
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return base::error(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    }
    const Json words = Json::parse(file.readAll().toStdString(), nullptr, false);
    if (!words.is_object()) {
        return base::error(
            QStringLiteral("%1 is no JSON object, which the words of a module's items have to be").arg(path));
    }
    return member(member(words, "items"), item.id.toStdString());
}

} // namespace itemctl
