#include "Commands.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "ListRows.h"
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
        rows += rowOf(item, namesakes[item.shortName()] > 1 ? item.address : shownName(item, output));
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

QString lineOf(const Row& row, const Widths& widths, const Output& output)
{
    const QString gap(Gap, QLatin1Char(' '));
    QString line = fitted(row.name, widths.name) + gap + fitted(row.value, widths.value) + gap + row.label;
    if (const int columns = output.columns(); columns > 0) {
        line = cut(line, columns);
    }
    return row.applicable ? line : output.dim(line);
}

QStringList tableOf(const Items& items, const Output& output)
{
    const QVector<Row> rows = rowsOf(items, output);
    const Widths widths = widthsOf(rows, output.columns());
    QStringList lines;
    for (const Row& row : rows) {
        lines += lineOf(row, widths, output);
    }
    return lines;
}

} // namespace

base::Result<ExitStatus> list(const Request& request, Output& output)
{
    const auto all = serversFor(request, request.arguments).and_then(listed);
    if (!all) {
        return tl::unexpected(all.error());
    }
    noteSilent(all->servers, output);
    const Items items = matching(all->items, request.arguments);
    QStringList lines;
    if (request.rows) {
        lines = request.json ? rowObjects(items) : rowTables(items, output);
    } else if (request.json) {
        std::transform(items.begin(), items.end(), std::back_inserter(lines),
                       [](const Item& item) { return base::jsonText(itemJson(item)); });
    } else {
        lines = tableOf(items, output);
    }
    const ExitStatus status = output.lines(lines);
    return checkAllMatch(all->items, all->servers, request.arguments).map([&] {
        return all->servers.silent().empty() ? status : ExitStatus::NoAnswer;
    });
}

base::Result<ExitStatus> servers(const Request& request, Output& output)
{
    const auto servers = serversFor(request, {});
    if (!servers) {
        if (request.json) {
            output.line(QStringLiteral("[]"));
        }
        return tl::unexpected(servers.error());
    }
    ExitStatus status = ExitStatus::Done;
    auto array = nlohmann::ordered_json::array();
    for (const auto& client : servers->clients()) {
        const auto modules = client->modules();
        if (!modules) {
            status = output.fail(errorFrom(modules.error()));
            continue;
        }
        nlohmann::ordered_json server;
        server["server"] = serverName(client->busName()).toStdString();
        server["busName"] = client->busName().toStdString();
        server["modules"] = base::toJson(*modules);
        array.push_back(server);
        if (!request.json) {
            output.line(output.bold(client->busName()) + QStringLiteral("  ")
                        + modules->join(QLatin1Char(' ')));
        }
    }
    if (request.json) {
        output.line(base::jsonText(array));
    }
    return status;
}

} // namespace itemctl
