#pragma once

#include "TopRows.h"

#include <QList>
#include <QString>

#include <optional>

namespace itemctl {

struct KeyPress
{
    enum class Key { Up, Down, PageUp, PageDown, Home, End, Enter, Escape, Backspace, Text, Other };
    Key key = Key::Other;
    QString text; ///< what was typed; Key::Text only
};

/// What the live view shows at a moment.
struct TopFrame
{
    QVector<TopRow> rows;
    int selected = -1;
    QList<int> highlighted; ///< positions of items that changed a moment ago
    QString changes; ///< the line above the status
    QString status; ///< the last lines
    bool isTyped = false; ///< the status ends with what is typed, and is cut at its beginning
};

/// The terminal while the live view has it; given back as it was at the end.
class TopScreen
{
public:
    TopScreen();
    ~TopScreen();
    TopScreen(const TopScreen&) = delete;
    TopScreen& operator=(const TopScreen&) = delete;

    void draw(const TopFrame& frame);
    /// The next key that was pressed already; nothing when there is none.
    std::optional<KeyPress> nextKey();
    /// Takes over the terminal's new size.
    void resize();
    /// Lines for rows, without those of changes and status.
    [[nodiscard]] int rowsPerPage() const;

private:
    int m_first = 0; ///< the first row that is shown
};

} // namespace itemctl
