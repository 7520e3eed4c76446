#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QStringList>

namespace itemctl {

/// Lines that somebody else has for whoever looks at the live view. The last few can be seen again.
class Notices : public QObject
{
    Q_OBJECT

public:
    /// \a descriptor is the reading end of a pipe.
    explicit Notices(int descriptor);

    /// The one before that which was told last, round and round; empty when there was none.
    [[nodiscard]] QString earlier();

Q_SIGNALS:
    void came(const QString& line);

private:
    void read();

    QSocketNotifier m_readable;
    QByteArray m_text; ///< the beginning of a line
    QStringList m_last; ///< the newest first
    int m_told = -1; ///< position of the one that was told last
};

} // namespace itemctl
