#pragma once

#include "DaemonTypes.h"

#include <QString>

#include <optional>

namespace bt {

/// The file that keeps the paired devices while the program does not run: addresses and names, in the order
/// of their pairing. Connections do not outlive it.
class PairingStore
{
public:
    /// An empty path keeps nothing.
    explicit PairingStore(QString path)
        : m_path(std::move(path))
    {
    }

    /// What was kept; nothing when there is no file yet. A file that cannot be understood is set aside as
    /// PATH.damaged, and a message says why.
    [[nodiscard]] std::optional<PairList> load();
    /// Writes what differs from the file, all or nothing. A message says what went wrong.
    void save(const PairList& list);

private:
    void setAside(const QString& reason) const;

    QString m_path;
    QByteArray m_written;
};

} // namespace bt
