#include "TopScreen.h"

#include "common/DisplayText.h"

#define NCURSES_NOMACROS // its macros have the names of Qt's members
#include <curses.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace itemctl {
namespace {

constexpr int EscapeDelayMilliseconds = 50;

KeyPress functionKey(wint_t code)
{
    using Key = KeyPress::Key;
    switch (code) {
    case KEY_UP:
        return { Key::Up, {} };
    case KEY_DOWN:
        return { Key::Down, {} };
    case KEY_PPAGE:
        return { Key::PageUp, {} };
    case KEY_NPAGE:
        return { Key::PageDown, {} };
    case KEY_HOME:
        return { Key::Home, {} };
    case KEY_END:
        return { Key::End, {} };
    case KEY_ENTER:
        return { Key::Enter, {} };
    case KEY_BACKSPACE:
        return { Key::Backspace, {} };
    default:
        return {};
    }
}

KeyPress character(wint_t code)
{
    using Key = KeyPress::Key;
    switch (code) {
    case '\n':
    case '\r':
        return { Key::Enter, {} };
    case 27:
        return { Key::Escape, {} };
    case 8:
    case 127:
        return { Key::Backspace, {} };
    default:
        break;
    }
    const uint unicode = code;
    return code < ' ' ? KeyPress() : KeyPress{ Key::Text, QString::fromUcs4(&unicode, 1) };
}

void drawLine(int y, const QString& text, attr_t attributes)
{
    ::attrset(static_cast<int>(attributes));
    ::mvaddstr(y, 0, cut(text, COLS).toUtf8().constData());
    ::clrtoeol();
    ::attrset(A_NORMAL);
}

QString endOf(const QString& text, int columns)
{
    QString end = text;
    while (displayWidth(end) > columns) {
        end.remove(0, 1);
    }
    return end;
}

attr_t attributesOf(const TopRow& row, bool isSelected, const QList<int>& highlighted)
{
    attr_t attributes = A_NORMAL;
    if (row.isHeading()) {
        attributes |= A_BOLD;
    }
    if (!row.applicable) {
        attributes |= A_DIM;
    }
    if (std::any_of(row.items.begin(), row.items.end(),
                    [&](int position) { return highlighted.contains(position); })) {
        attributes |= A_BOLD | A_UNDERLINE;
    }
    if (isSelected) {
        attributes |= A_REVERSE;
    }
    return attributes;
}

/// The last lines of the screen, as many as the text needs and the screen can spare.
QStringList statusLines(const QString& text)
{
    constexpr int Most = 4;
    QStringList lines{ QString() };
    for (const QString& word : text.split(QLatin1Char(' '))) {
        const bool fits = lines.last().isEmpty() || displayWidth(lines.last() + word) < COLS;
        if (!fits && lines.size() < std::min(Most, LINES - 1)) {
            lines << word;
        } else {
            lines.last() += lines.last().isEmpty() ? word : QLatin1Char(' ') + word;
        }
    }
    return lines;
}

} // namespace

TopScreen::TopScreen()
{
    ::initscr();
    ::cbreak();
    ::noecho();
    ::keypad(stdscr, true);
    ::nodelay(stdscr, true);
    ::set_escdelay(EscapeDelayMilliseconds);
    ::curs_set(0);
}

TopScreen::~TopScreen()
{
    ::endwin();
}

int TopScreen::rowsPerPage() const
{
    return std::max(1, LINES - 2);
}

void TopScreen::draw(const TopFrame& frame)
{
    const QStringList status =
        frame.isTyped ? QStringList{ endOf(frame.status, COLS) } : statusLines(frame.status);
    const bool hasChanges = LINES > status.size() + 1;
    const int page = std::max(1, LINES - status.size() - (hasChanges ? 1 : 0));
    if (frame.selected >= 0) {
        m_first = std::clamp(m_first, frame.selected - page + 1, frame.selected);
    }
    // The heading above the selected row is seen as well.
    if (frame.selected > 0 && frame.selected == m_first && frame.rows[m_first - 1].isHeading()) {
        --m_first;
    }
    m_first = std::clamp(m_first, 0, std::max(0, frame.rows.size() - page));
    ::erase();
    for (int y = 0; y < page && m_first + y < frame.rows.size(); ++y) {
        const TopRow& row = frame.rows[m_first + y];
        drawLine(y, row.text, attributesOf(row, m_first + y == frame.selected, frame.highlighted));
    }
    if (hasChanges) {
        drawLine(LINES - status.size() - 1, frame.changes, A_BOLD);
    }
    for (int i = 0; i < status.size(); ++i) {
        drawLine(LINES - status.size() + i, status[i], A_REVERSE);
    }
    ::refresh();
}

std::optional<KeyPress> TopScreen::nextKey()
{
    wint_t code = 0;
    const int result = ::get_wch(&code);
    if (result == ERR) {
        return {};
    }
    return result == KEY_CODE_YES ? functionKey(code) : character(code);
}

void TopScreen::resize()
{
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        ::resize_term(size.ws_row, size.ws_col); // resizeterm() would have us read KEY_RESIZE as well
        ::clearok(curscr, true); // what stands there now is unknown
    }
}

} // namespace itemctl
