#pragma once

#include <QDeadlineTimer>
#include <QHash>
#include <QTimer>

namespace itemctl {

/// Which items changed a moment ago.
class TopHighlights : public QObject
{
    Q_OBJECT
public:
    TopHighlights();

    void add(int position);
    [[nodiscard]] QList<int> positions() const { return m_ends.keys(); }

Q_SIGNALS:
    /// Some are no longer among them.
    void faded();

private:
    void endSome();

    QTimer m_timer; ///< until the next one ends
    QHash<int, QDeadlineTimer> m_ends; ///< by position
};

} // namespace itemctl
