#pragma once

#include "IpcExport.h"
#include "ItemRecord.h"

#include <QAbstractTableModel>
#include <QDBusConnection>
#include <QStringList>

#include <memory>

namespace ipc {

struct Snapshot;

/// Lists of a server that belong together, as a table which follows them: a column for each list, a row for
/// each entry. Rows whose first column has an empty text are free ones and left out. It never waits for the
/// server. Before the server is there the table is empty; one that leaves keeps its rows, which are disabled
/// until it is back.
class IPC_EXPORT RowsModel : public QAbstractTableModel
{
    Q_OBJECT
    Q_PROPERTY(bool live READ isLive NOTIFY liveChanged)
public:
    enum Role {
        ListIndexRole = Qt::UserRole, ///< "listIndex": the entry's index in the lists, as in "pairlistAddr:3"
        ApplicableRole, ///< "applicable": whether the cell's item makes sense at the moment
        /// And those behind it: for each column what it displays in the row, whichever cell is asked. Named
        /// by the list's id ("pairlistAddr"), so that a QML delegate has the whole row.
        FirstColumnRole = Qt::UserRole + 16
    };

    /// @param patterns of one set of lists, like "pairlist*"; other items that they match are no columns
    RowsModel(const QString& busName, const QDBusConnection& connection, const QStringList& patterns,
              QObject* parent = nullptr);
    ~RowsModel() override;

    /// Whether the rows are what the server has.
    [[nodiscard]] bool isLive() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    /// Qt::DisplayRole is the label of an enumeration's value, and any other value itself; Qt::EditRole is
    /// the value.
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Above: the lists' labels; beside: the indices.
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Those of columns are there when the columns are, which modelReset() tells.
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

public Q_SLOTS:
    /// Asks the server for everything; by itself the model does so at first and whenever the server returned.
    void reload();

Q_SIGNALS:
    void liveChanged(bool isLive);
    /// The server is not there or did not answer. @param problem made for a person to read
    void failed(const QString& problem);

private:
    void adopt(const Snapshot& snapshot);
    void take(const ItemRecords& records);
    void showOrHide(int listIndex);
    void setLive(bool isLive);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace ipc
