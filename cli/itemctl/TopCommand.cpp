#include "Commands.h"
#include "LiveItems.h"
#include "Notices.h"
#include "TerminalSignals.h"
#include "TopScreen.h"
#include "common/DisplayText.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QHash>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <unistd.h>

namespace itemctl {
namespace {

constexpr std::chrono::milliseconds HighlightTime{ 1'500 };
const QLatin1String Keys("arrows select  Enter triggers  space switches  e enabled  q quits");

/// The live view: everything that it does is the answer to a key, a signal of a server or the end of a
/// highlight.
class Top : public QObject
{
public:
    Top(LiveItems& items, const TerminalSignals& signals);
    /// Shows its lines until the next key or newer text.
    void follow(Notices& notices);

private:
    void followItems();
    void handleSignals(const TerminalSignals& signals);
    void handle(const KeyPress& press);
    void handleInPrompt(const KeyPress& press);
    void move(int rows);
    void trigger();
    void triggerWith(const Item& action, const QString& text);
    void toggle(const Item& item);
    void toggleEnabled();
    void highlight(int position);
    void endHighlights();
    void draw();
    [[nodiscard]] const Item* selectedItem() const;

    LiveItems& m_items;
    TopScreen m_screen;
    QSocketNotifier m_keyboard{ STDIN_FILENO, QSocketNotifier::Read };
    QSocketNotifier m_signals;
    QTimer m_drawing; ///< gathers what one turn of the event loop brings
    QTimer m_fading; ///< until the next highlight ends
    TopFrame m_frame;
    QString m_selected; ///< address of the selected row's first item: rows come and go around it
    QString m_message;
    Notices* m_notices = nullptr;
    std::optional<Item> m_prompted; ///< the action that a text is typed for
    QString m_typed;
    QHash<int, QDeadlineTimer> m_highlights; ///< by position
};

Top::Top(LiveItems& items, const TerminalSignals& signals)
    : m_items(items)
    , m_signals(signals.descriptor(), QSocketNotifier::Read)
{
    m_drawing.setSingleShot(true);
    connect(&m_drawing, &QTimer::timeout, this, [this] { draw(); });
    m_fading.setSingleShot(true);
    connect(&m_fading, &QTimer::timeout, this, [this] { endHighlights(); });
    connect(&m_keyboard, &QSocketNotifier::activated, this, [this] {
        while (const auto press = m_screen.nextKey())
            m_prompted ? handleInPrompt(*press) : handle(*press);
        m_drawing.start(0);
    });
    connect(&m_signals, &QSocketNotifier::activated, this, [this, &signals] { handleSignals(signals); });
    followItems();
    m_drawing.start(0);
}

void Top::followItems()
{
    const auto say = [this](const QString& message) {
        m_message = message;
        m_drawing.start(0);
    };
    connect(&m_items, &LiveItems::itemChanged, this, [this](int position) { highlight(position); });
    connect(&m_items, &LiveItems::serverLeft, this, [say](const QString& server) {
        say(QStringLiteral("server %1 left the bus; waiting for its return").arg(server));
    });
    connect(&m_items, &LiveItems::serverReturned, this,
            [say](const QString& server) { say(QStringLiteral("server %1 is back").arg(server)); });
    connect(&m_items, &LiveItems::failed, this, [say](const Failure& failure) { say(failure.message); });
    connect(&m_items, &LiveItems::busLost, this,
            [] { QCoreApplication::exit(static_cast<int>(ExitStatus::NoServer)); });
}

void Top::follow(Notices& notices)
{
    m_notices = &notices;
    connect(&notices, &Notices::came, this, [this](const QString& line) {
        m_message = line;
        m_drawing.start(0);
    });
}

void Top::handleSignals(const TerminalSignals& signals)
{
    while (const int signal = signals.next()) {
        if (signal != SIGWINCH)
            return QCoreApplication::quit();
        m_screen.resize();
    }
    m_drawing.start(0);
}

void Top::highlight(int position)
{
    m_highlights[position].setRemainingTime(HighlightTime);
    if (!m_fading.isActive())
        m_fading.start(HighlightTime);
    m_drawing.start(0);
}

void Top::endHighlights()
{
    auto next = std::chrono::nanoseconds::max();
    for (auto highlight = m_highlights.begin(); highlight != m_highlights.end();) {
        if (highlight->hasExpired()) {
            highlight = m_highlights.erase(highlight);
        } else {
            next = std::min(next, highlight->remainingTimeAsDuration());
            ++highlight;
        }
    }
    if (!m_highlights.isEmpty())
        m_fading.start(std::chrono::ceil<std::chrono::milliseconds>(next));
    draw();
}

void Top::draw()
{
    m_frame.rows = topRows(m_items.items());
    m_frame.selected = -1;
    int firstItem = -1;
    for (int i = 0; i < m_frame.rows.size(); ++i) {
        if (m_frame.rows[i].isHeading())
            continue;
        firstItem = firstItem < 0 ? i : firstItem;
        if (m_items.items()[m_frame.rows[i].items.first()].address == m_selected)
            m_frame.selected = i;
    }
    if (m_frame.selected < 0)
        m_frame.selected = firstItem;
    if (const Item* item = selectedItem())
        m_selected = item->address;
    m_frame.status = m_prompted ? QStringLiteral("text for %1: %2_").arg(m_prompted->id, m_typed)
        : m_message.isEmpty()   ? Keys + QLatin1String(m_notices != nullptr ? "  n notices" : "")
                                : escaped(m_message);
    m_frame.highlighted = m_highlights.keys();
    m_screen.draw(m_frame);
}

const Item* Top::selectedItem() const
{
    if (m_frame.selected < 0 || m_frame.selected >= m_frame.rows.size())
        return nullptr;
    return &m_items.items()[m_frame.rows[m_frame.selected].items.first()];
}

void Top::move(int rows)
{
    const int step = rows < 0 ? -1 : 1;
    const int last = m_frame.rows.size() - 1;
    int at = std::clamp(m_frame.selected + rows, 0, std::max(0, last));
    while (at > 0 && at <= last && m_frame.rows[at].isHeading())
        at += step;
    if (at > last || at < 0 || m_frame.rows[at].isHeading())
        return;
    m_frame.selected = at;
    m_selected = selectedItem()->address;
}

void Top::handle(const KeyPress& press)
{
    using Key = KeyPress::Key;
    m_message.clear();
    switch (press.key) {
    case Key::Up:
        return move(-1);
    case Key::Down:
        return move(1);
    case Key::PageUp:
        return move(-m_screen.rowsPerPage());
    case Key::PageDown:
        return move(m_screen.rowsPerPage());
    case Key::Home:
        return move(-m_frame.rows.size());
    case Key::End:
        return move(m_frame.rows.size());
    case Key::Enter:
        return trigger();
    case Key::Text:
        break;
    default:
        return;
    }
    if (press.text == QLatin1String("q"))
        QCoreApplication::quit();
    else if (press.text == QLatin1String("n") && m_notices != nullptr)
        m_message = m_notices->earlier();
    else if (press.text == QLatin1String("e"))
        toggleEnabled();
    else if (press.text == QLatin1String(" ") && selectedItem() != nullptr)
        toggle(*selectedItem());
}

void Top::handleInPrompt(const KeyPress& press)
{
    using Key = KeyPress::Key;
    switch (press.key) {
    case Key::Text:
        m_typed += press.text;
        break;
    case Key::Backspace:
        m_typed.chop(m_typed.size() > 1 && m_typed.at(m_typed.size() - 1).isLowSurrogate() ? 2 : 1);
        break;
    case Key::Escape:
        m_prompted.reset();
        break;
    case Key::Enter: {
        const Item action = *m_prompted;
        m_prompted.reset();
        triggerWith(action, m_typed);
        break;
    }
    default:
        break;
    }
}

void Top::trigger()
{
    const Item* item = selectedItem();
    if (item == nullptr || !item->isAction())
        return;
    const auto description = m_items.servers().clientOf(*item).describe(item->address);
    if (!description) {
        m_message = description.error().message;
    } else if (description->value(QStringLiteral("takesText")).toBool()) {
        m_prompted = *item;
        m_typed.clear();
    } else {
        triggerWith(*item, {});
    }
}

void Top::triggerWith(const Item& action, const QString& text)
{
    const auto reply = m_items.servers().clientOf(action).trigger(action.address, text);
    m_message = !reply     ? reply.error().message
        : reply->isEmpty() ? QStringLiteral("%1: done").arg(action.id)
                           : QStringLiteral("%1: %2").arg(action.id, *reply);
}

void Top::toggle(const Item& item)
{
    if (item.kind != QLatin1String("config") || item.value.type() != QVariant::Bool)
        return;
    const auto done = m_items.servers().clientOf(item).set(item.address, !item.value.toBool());
    if (!done)
        m_message = done.error().message;
}

void Top::toggleEnabled()
{
    for (const Item& item : m_items.items()) {
        if (item.id == QLatin1String("enabled"))
            return toggle(item);
    }
}

} // namespace

ExitStatus runTop(const Request& request, Output& output)
{
    if (!output.isTerminal() || ::isatty(STDIN_FILENO) != 1)
        return output.fail(
            { ExitStatus::Failed,
              QStringLiteral("top needs a terminal; \"itemctl watch\" follows changes elsewhere") });
    const TerminalSignals signals; // before any thread is there that would take them
    auto servers = serversFor(request, {});
    if (!servers)
        return output.fail(servers.failure());
    LiveItems items(std::move(*servers));
    if (const auto started = items.start(); !started)
        return output.fail(started.failure());
    Top top(items, signals);
    std::optional<Notices> notices;
    if (request.notices)
        top.follow(notices.emplace(*request.notices));
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

} // namespace itemctl
