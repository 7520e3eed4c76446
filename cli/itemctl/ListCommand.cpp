#include "Commands.h"
#include "ItemNames.h"
#include "JsonText.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QHash>

#include <algorithm>

namespace itemctl {
namespace {

constexpr int NarrowestValue = 8;
constexpr int Gap = 2;
const QLatin1String InapplicableMark(" [does not apply]");

struct Row
{
    QString name;
    QString value;
    QString label;
    bool applicable = true;
};

struct Widths
{
    int name = 0;
    int value = 0;
    int label = 0;
};

Row rowOf(const Item& item, const QString& name)
{
    const QString label = escaped(item.label);
    return { escaped(name), shownValue(item), item.applicable ? label : label + InapplicableMark,
             item.applicable };
}

QVector<Row> rowsOf(const Items& items, const Output& output)
{
    QHash<QString, int> namesakes;
    for (const Item& item : items) {
        ++namesakes[item.shortName()];
    }
    QVector<Row> rows;
    rows.reserve(items.size());
    for (const Item& item : items) {
        rows += rowOf(item, namesakes[item.shortName()] > 1 ? item.address : output.nameOf(item));
    }
    return rows;
}

Widths widthsOf(const QVector<Row>& rows, int columns)
{
    Widths widths;
    for (const Row& row : rows) {
        widths.name = std::max(widths.name, displayWidth(row.name));
        widths.value = std::max(widths.value, displayWidth(row.value));
        widths.label = std::max(widths.label, displayWidth(row.label));
    }
    // Long values give way first: the label says what a line is about.
    if (columns > 0) {
        widths.value = std::clamp(columns - widths.name - widths.label - 2 * Gap, NarrowestValue,
                                  std::max(NarrowestValue, widths.value));
    }
    return widths;
}

bool printRow(const Row& row, const Widths& widths, Output& output)
{
    const QString gap(Gap, QLatin1Char(' '));
    QString line = fitted(row.name, widths.name) + gap + fitted(row.value, widths.value) + gap + row.label;
    if (const int columns = output.columns(); columns > 0) {
        line = cut(line, columns);
    }
    return output.line(row.applicable ? line : output.dim(line));
}

ExitStatus print(const Items& items, const Request& request, Output& output)
{
    if (request.json) {
        const bool written = std::all_of(items.begin(), items.end(), [&](const Item& item) {
            return output.line(jsonText(itemJson(item)));
        });
        return written ? ExitStatus::Done : ExitStatus::Failed;
    }
    const QVector<Row> rows = rowsOf(items, output);
    const Widths widths = widthsOf(rows, output.columns());
    const bool written =
        std::all_of(rows.begin(), rows.end(), [&](const Row& row) { return printRow(row, widths, output); });
    return written ? ExitStatus::Done : ExitStatus::Failed;
}

} // namespace

ExitStatus runList(const Request& request, Output& output)
{
    auto servers = serversFor(request, request.arguments);
    if (!servers) {
        return output.fail(servers.failure());
    }
    const auto all = listAll(*servers, output);
    if (!all) {
        return output.fail(all.failure());
    }
    const ExitStatus status = print(matching(*all, request.arguments), request, output);
    if (const QStringList left = unmatched(*all, request.arguments); !left.isEmpty()) {
        return output.fail(notFound(*all, *servers, left.first(), nothingMatches(*all, left)));
    }
    return servers->silent().empty() ? status : ExitStatus::NoAnswer;
}

ExitStatus runServers(const Request& request, Output& output)
{
    const auto servers = serversFor(request, {});
    if (!servers) {
        if (request.json) {
            output.line(QStringLiteral("[]"));
        }
        return output.fail(servers.failure());
    }
    ExitStatus status = ExitStatus::Done;
    auto array = nlohmann::ordered_json::array();
    for (const auto& client : servers->clients()) {
        const auto modules = client->modules();
        if (!modules) {
            status = output.fail(failureFrom(modules.error()));
            continue;
        }
        nlohmann::ordered_json server;
        server["server"] = serverName(client->busName()).toStdString();
        server["busName"] = client->busName().toStdString();
        server["modules"] = toJson(*modules);
        array.push_back(server);
        if (!request.json) {
            output.line(output.bold(client->busName()) + QStringLiteral("  ")
                        + modules->join(QLatin1Char(' ')));
        }
    }
    if (request.json) {
        output.line(jsonText(array));
    }
    return status;
}

} // namespace itemctl
