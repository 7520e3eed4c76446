#include "ItemJson.h"

#include "Description.h"
#include "ValueText.h"

#include <nlohmann/json.hpp>

namespace itemctl {
namespace {

using Json = nlohmann::ordered_json;

Json identityJson(const Item& item)
{
    Json object;
    object["address"] = item.address.toStdString();
    object["server"] = item.server.toStdString();
    object["module"] = item.module.toStdString();
    object["id"] = item.id.toStdString();
    if (item.index) {
        object["index"] = *item.index;
    }
    object["kind"] = item.kind.toStdString();
    object["label"] = item.label.toStdString();
    return object;
}

void addValue(Json& object, const Item& item)
{
    object["value"] = base::toJson(item.value);
    if (item.isEnumeration) {
        object["symbol"] = item.symbol.toStdString();
        object["text"] = item.text.toStdString();
    }
}

} // namespace

Json valueJson(const Item& item)
{
    if (!item.isEnumeration) {
        return base::toJson(item.value);
    }
    Json object;
    addValue(object, item);
    return object;
}

Json itemJson(const Item& item)
{
    Json object = identityJson(item);
    addValue(object, item);
    object["applicable"] = item.applicable;
    return object;
}

Json changeJson(const Item& item, Change change)
{
    Json object = identityJson(item);
    if (change.value) {
        addValue(object, item);
    }
    if (change.applicability) {
        object["applicable"] = item.applicable;
    }
    return object;
}

Json descriptionJson(const Item& item, const QVariantMap& description)
{
    Json object = itemJson(item);
    for (auto entry = description.begin(); entry != description.end(); ++entry) {
        const std::string key = entry.key().toStdString();
        if (entry.key() == QLatin1String("enumeration")) {
            Json values = Json::array();
            for (const EnumValue& value : enumerationOf(description)) {
                values.push_back({ { "value", value.value },
                                   { "symbol", value.symbol.toStdString() },
                                   { "label", value.label.toStdString() } });
            }
            object[key] = values;
        } else if (!object.contains(key)) {
            object[key] = base::toJson(entry.value());
        }
    }
    return object;
}

} // namespace itemctl
