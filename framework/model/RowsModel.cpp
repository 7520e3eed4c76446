#include "RowsModel.h"

#include "client/KELClientInterface.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace ipc {
namespace {

struct Column
{
    QString id;
    QString label;
};

bool operator==(const Column& one, const Column& other)
{
    return one.id == other.id && one.label == other.label;
}

/// Where an item stands.
struct Place
{
    int listIndex;
    int column;
};

bool operator==(const Place& one, const Place& other)
{
    return one.listIndex == other.listIndex && one.column == other.column;
}

using Cells = std::vector<QVariantMap>; ///< the properties of a row's items, by column

/// What the items of a snapshot make up.
struct Table
{
    std::vector<Column> columns;
    std::map<int, Cells> rows; ///< by index, free ones as well
    QHash<QString, Place> places; ///< by address

    [[nodiscard]] bool isShown(int listIndex) const
    {
        const QVariant first = rows.at(listIndex).front().value(QStringLiteral("value"));
        return first.userType() != QMetaType::QString || !first.toString().isEmpty();
    }
};

Table tableOf(const ItemRecords& items)
{
    Table table;
    QHash<QString, int> columns;
    for (const ItemRecord& item : items) {
        const auto index = item.properties.constFind(QStringLiteral("index"));
        if (index == item.properties.constEnd()) {
            continue;
        }
        const QString id = item.properties.value(QStringLiteral("id")).toString();
        if (!columns.contains(id)) {
            columns.insert(id, columns.size());
            table.columns.push_back({ id, item.properties.value(QStringLiteral("label")).toString() });
        }
        table.places.insert(item.address, { index->toInt(), columns.value(id) });
    }
    for (const ItemRecord& item : items) {
        if (const auto place = table.places.constFind(item.address); place != table.places.constEnd()) {
            Cells& cells = table.rows[place->listIndex];
            cells.resize(table.columns.size());
            cells[static_cast<std::size_t>(place->column)] = item.properties;
        }
    }
    return table;
}

QVariant displayed(const QVariantMap& cell)
{
    const QString text = cell.value(QStringLiteral("text")).toString();
    return text.isEmpty() ? cell.value(QStringLiteral("value")) : text;
}

} // namespace

struct RowsModel::Private
{
    KELClientInterface client;
    QStringList patterns;
    Table table;
    std::vector<int> shown; ///< the indices of the rows, ascending
    bool isLive = false;
};

RowsModel::RowsModel(const QString& busName, const QDBusConnection& connection, const QStringList& patterns,
                     QObject* parent)
    : QAbstractTableModel(parent)
    , d(new Private{ { busName, connection }, patterns, {}, {} })
{
    connect(&d->client, &KELClientInterface::changed, this, &RowsModel::take);
    connect(&d->client, &KELClientInterface::serverLeft, this, [this] { setLive(false); });
    connect(&d->client, &KELClientInterface::serverReturned, this, &RowsModel::reload);
    reload();
}

RowsModel::~RowsModel() = default;

bool RowsModel::isLive() const
{
    return d->isLive;
}

void RowsModel::reload()
{
    d->client.watch(d->patterns, this, [this](const Outcome<Snapshot>& snapshot) {
        if (snapshot) {
            adopt(*snapshot);
        } else {
            setLive(false);
            Q_EMIT failed(snapshot.error().message);
        }
    });
}

void RowsModel::adopt(const Snapshot& snapshot)
{
    Table table = tableOf(snapshot.items);
    if (table.columns == d->table.columns && table.places == d->table.places) {
        take(snapshot.items); // views keep what is selected
    } else {
        beginResetModel();
        d->table = std::move(table);
        d->shown.clear();
        for (const auto& row : d->table.rows) {
            if (d->table.isShown(row.first)) {
                d->shown.push_back(row.first);
            }
        }
        endResetModel();
    }
    setLive(true);
}

void RowsModel::take(const ItemRecords& records)
{
    std::set<int> touched;
    for (const ItemRecord& record : records) {
        const auto place = d->table.places.constFind(record.address);
        if (place == d->table.places.constEnd()) {
            continue; // another item of the server
        }
        QVariantMap& cell = d->table.rows[place->listIndex][static_cast<std::size_t>(place->column)];
        for (auto property = record.properties.begin(); property != record.properties.end(); ++property) {
            if (std::exchange(cell[property.key()], property.value()) != property.value()) {
                touched.insert(place->listIndex);
            }
        }
    }
    std::for_each(touched.begin(), touched.end(), [this](int listIndex) { showOrHide(listIndex); });
}

void RowsModel::showOrHide(int listIndex)
{
    const auto at = std::lower_bound(d->shown.begin(), d->shown.end(), listIndex);
    const int row = static_cast<int>(at - d->shown.begin());
    const bool wasShown = at != d->shown.end() && *at == listIndex;
    const bool isShown = d->table.isShown(listIndex);
    if (isShown && wasShown) {
        Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
    } else if (isShown) {
        beginInsertRows({}, row, row);
        d->shown.insert(at, listIndex);
        endInsertRows();
    } else if (wasShown) {
        beginRemoveRows({}, row, row);
        d->shown.erase(at);
        endRemoveRows();
    }
}

void RowsModel::setLive(bool isLive)
{
    if (std::exchange(d->isLive, isLive) == isLive) {
        return;
    }
    if (!d->shown.empty()) {
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1)); // it has other flags
    }
    Q_EMIT liveChanged(isLive);
}

int RowsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(d->shown.size());
}

int RowsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(d->table.columns.size());
}

QVariant RowsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const int listIndex = d->shown[static_cast<std::size_t>(index.row())];
    const Cells& cells = d->table.rows.at(listIndex);
    const QVariantMap& cell = cells[static_cast<std::size_t>(index.column())];
    switch (role) {
    case Qt::DisplayRole:
        return displayed(cell);
    case Qt::EditRole:
        return cell.value(QStringLiteral("value"));
    case ListIndexRole:
        return listIndex;
    case ApplicableRole:
        return cell.value(QStringLiteral("applicable"));
    default:
        const int column = role - FirstColumnRole;
        return column >= 0 && column < columnCount() ? displayed(cells[static_cast<std::size_t>(column)])
                                                     : QVariant();
    }
}

QVariant RowsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const int sections = orientation == Qt::Horizontal ? columnCount() : rowCount();
    if (role != Qt::DisplayRole || section < 0 || section >= sections) {
        return {};
    }
    const auto at = static_cast<std::size_t>(section);
    return orientation == Qt::Horizontal ? QVariant(d->table.columns[at].label) : QVariant(d->shown[at]);
}

Qt::ItemFlags RowsModel::flags(const QModelIndex& index) const
{
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return d->isLive ? flags : flags & ~Qt::ItemIsEnabled;
}

QHash<int, QByteArray> RowsModel::roleNames() const
{
    QHash<int, QByteArray> names{ { Qt::DisplayRole, "display" },
                                  { Qt::EditRole, "edit" },
                                  { ListIndexRole, "listIndex" },
                                  { ApplicableRole, "applicable" } };
    for (int column = 0; column < columnCount(); ++column) {
        names.insert(FirstColumnRole + column,
                     d->table.columns[static_cast<std::size_t>(column)].id.toUtf8());
    }
    return names;
}

} // namespace ipc
