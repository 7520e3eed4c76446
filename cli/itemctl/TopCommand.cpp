#include "Commands.h"
#include "Description.h"
#include "LiveItems.h"
#include "Notices.h"
#include "TerminalSignals.h"
#include "TopHighlights.h"
#include "TopPrompt.h"
#include "TopScreen.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <unistd.h>

namespace itemctl {
namespace {

constexpr int LatestChanges = 8;
const QLatin1String Keys("arrows move  Enter acts or edits  space switches  e enabled  q quits");

QStringList labelsOf(const ipc::EnumValues& values)
{
    QStringList labels;
    for (const EnumValue& value : values) {
        labels += value.label;
    }
    return labels;
}

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
    void handleText(const QString& text);
    void handleInPrompt(const KeyPress& press);
    void move(int rows);
    void enter();
    void trigger(const Item& action, const QString& text);
    void write(const Item& item, const QVariant& value);
    void toggle(const Item& item);
    void toggleEnabled();
    void noteChange(int position, Change change);
    void draw();
    /// Shows a text in the last line, until the next key.
    void say(const QString& text);
    [[nodiscard]] const Item* selectedItem() const;

    LiveItems& m_items;
    TopScreen m_screen;
    QSocketNotifier m_keyboard{ STDIN_FILENO, QSocketNotifier::Read };
    QSocketNotifier m_signals;
    QTimer m_drawing; ///< gathers what one turn of the event loop brings
    TopFrame m_frame;
    TopHighlights m_highlights;
    QString m_selected; ///< address of the selected row's first item: rows come and go around it
    QString m_message;
    Notices* m_notices = nullptr;
    std::optional<TopPrompt> m_prompt;
    QVector<int> m_latest; ///< single items that changed, the latest first: whatever is scrolled away
};

Top::Top(LiveItems& items, const TerminalSignals& signals)
    : m_items(items)
    , m_signals(signals.descriptor(), QSocketNotifier::Read)
{
    m_drawing.setSingleShot(true);
    connect(&m_drawing, &QTimer::timeout, this, [this] { draw(); });
    connect(&m_highlights, &TopHighlights::faded, this, [this] { draw(); });
    connect(&m_keyboard, &QSocketNotifier::activated, this, [this] {
        while (const auto press = m_screen.nextKey()) {
            m_prompt ? handleInPrompt(*press) : handle(*press);
        }
        m_drawing.start(0);
    });
    connect(&m_signals, &QSocketNotifier::activated, this, [this, &signals] { handleSignals(signals); });
    followItems();
    m_drawing.start(0);
}

void Top::followItems()
{
    connect(&m_items, &LiveItems::itemChanged, this, &Top::noteChange);
    connect(&m_items, &LiveItems::serverLeft, this, [this](const QString& server) {
        say(QStringLiteral("server %1 left the bus; waiting for its return").arg(server));
    });
    connect(&m_items, &LiveItems::serverReturned, this,
            [this](const QString& server) { say(QStringLiteral("server %1 is back").arg(server)); });
    connect(&m_items, &LiveItems::failed, this, [this](const base::Error& error) { say(error.text); });
    connect(&m_items, &LiveItems::busLost, this,
            [] { QCoreApplication::exit(static_cast<int>(ExitStatus::NoServer)); });
}

void Top::follow(Notices& notices)
{
    m_notices = &notices;
    connect(&notices, &Notices::came, this, &Top::say);
}

void Top::handleSignals(const TerminalSignals& signals)
{
    while (const int signal = signals.next()) {
        if (signal != SIGWINCH) {
            return QCoreApplication::quit();
        }
        m_screen.resize();
    }
    m_drawing.start(0);
}

void Top::say(const QString& text)
{
    m_message = text;
    m_drawing.start(0);
}

void Top::noteChange(int position, Change change)
{
    m_highlights.add(position);
    const Item& item = m_items.items()[position];
    if (change.value && !item.index && !item.isAction()) {
        m_latest.removeOne(position);
        m_latest.prepend(position);
        m_latest.resize(std::min(m_latest.size(), LatestChanges));
    }
    m_drawing.start(0);
}

void Top::draw()
{
    m_frame.rows = topRows(m_items.items());
    m_frame.selected = -1;
    int firstItem = -1;
    for (int i = 0; i < m_frame.rows.size(); ++i) {
        if (m_frame.rows[i].isHeading()) {
            continue;
        }
        firstItem = firstItem < 0 ? i : firstItem;
        if (m_items.items()[m_frame.rows[i].items.first()].address == m_selected) {
            m_frame.selected = i;
        }
    }
    if (m_frame.selected < 0) {
        m_frame.selected = firstItem;
    }
    if (const Item* item = selectedItem()) {
        m_selected = item->address;
    }
    m_frame.changes = valuesLine(m_items.items(), m_latest);
    m_frame.isTyped = m_prompt.has_value();
    m_frame.status = m_prompt ? m_prompt->line()
        : m_message.isEmpty() ? Keys + QLatin1String(m_notices != nullptr ? "  n notices" : "")
                              : escaped(m_message);
    m_frame.highlighted = m_highlights.positions();
    m_screen.draw(m_frame);
}

const Item* Top::selectedItem() const
{
    if (m_frame.selected < 0 || m_frame.selected >= m_frame.rows.size()) {
        return nullptr;
    }
    return &m_items.items()[m_frame.rows[m_frame.selected].items.first()];
}

void Top::move(int rows)
{
    const int at = rowAt(m_frame.rows, m_frame.selected, rows);
    if (at < 0 || at == m_frame.selected) {
        return say(rows < 0 ? QStringLiteral("this is the first row")
                            : QStringLiteral("this is the last row"));
    }
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
        return enter();
    case Key::Text:
        return handleText(press.text);
    default:
        return say(QStringLiteral("this key does nothing; %1").arg(Keys));
    }
}

void Top::handleText(const QString& text)
{
    if (text == QLatin1String("q")) {
        QCoreApplication::quit();
    } else if (text == QLatin1String("n") && m_notices != nullptr) {
        say(m_notices->earlier());
    } else if (text == QLatin1String("e")) {
        toggleEnabled();
    } else if (text != QLatin1String(" ")) {
        say(QStringLiteral("\"%1\" does nothing; %2").arg(text, Keys));
    } else if (selectedItem() != nullptr) {
        toggle(*selectedItem());
    }
}

void Top::handleInPrompt(const KeyPress& press)
{
    const TopPrompt::State state = m_prompt->handle(press);
    if (state == TopPrompt::State::Open) {
        return;
    }
    const TopPrompt prompt = *m_prompt;
    const Item& item = prompt.item();
    m_prompt.reset();
    if (state == TopPrompt::State::Left) {
        say(QStringLiteral("%1 is left as it was").arg(item.idWithIndex()));
    } else if (item.isAction()) {
        trigger(item, prompt.text());
    } else {
        write(item, prompt.text());
    }
}

void Top::enter()
{
    const Item* item = selectedItem();
    if (item == nullptr) {
        return say(QStringLiteral("there are no items"));
    }
    const auto description = m_items.servers().clientOf(*item).describe(item->address);
    if (!description) {
        return say(description.error().message);
    }
    if (item->isAction()) {
        if (!description->value(QStringLiteral("takesText")).toBool()) {
            return trigger(*item, {});
        }
        m_prompt.emplace(*item);
    } else if (!description->value(QStringLiteral("writable")).toBool()) {
        say(QStringLiteral("%1 is a %2, which its server alone writes").arg(item->idWithIndex(), item->kind));
    } else if (item->value.type() == QVariant::Bool) {
        toggle(*item);
    } else {
        m_prompt.emplace(*item, item->isEnumeration ? item->text : base::rawText(item->value),
                         labelsOf(enumerationOf(*description)));
    }
}

void Top::trigger(const Item& action, const QString& text)
{
    const auto reply = m_items.servers().clientOf(action).trigger(action.address, text);
    say(!reply                 ? reply.error().message
            : reply->isEmpty() ? QStringLiteral("%1: done").arg(action.id)
                               : QStringLiteral("%1: %2").arg(action.id, *reply));
}

void Top::write(const Item& item, const QVariant& value)
{
    const auto done = m_items.servers().clientOf(item).set(item.address, value);
    say(done ? QStringLiteral("%1: done").arg(item.idWithIndex()) : done.error().message);
}

void Top::toggle(const Item& item)
{
    if (item.kind == QLatin1String("config") && item.value.type() == QVariant::Bool) {
        write(item, !item.value.toBool());
    } else {
        say(QStringLiteral("%1 is not true or false; space switches such settings").arg(item.idWithIndex()));
    }
}

void Top::toggleEnabled()
{
    for (const Item& item : m_items.items()) {
        if (item.id == QLatin1String("enabled")) {
            return toggle(item);
        }
    }
    say(QStringLiteral("there is no item \"enabled\""));
}

} // namespace

base::Result<ExitStatus> top(const Request& request, Output& output)
{
    if (!output.isTerminal() || ::isatty(STDIN_FILENO) != 1) {
        return base::error(
            QStringLiteral("top needs a terminal; \"itemctl watch\" follows changes elsewhere"));
    }
    const TerminalSignals signals; // before any thread is there that would take them
    auto servers = serversFor(request, {});
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    LiveItems items(std::move(*servers));
    if (const auto started = items.start(); !started) {
        return tl::unexpected(started.error());
    }
    Top top(items, signals);
    std::optional<Notices> notices;
    if (request.notices) {
        top.follow(notices.emplace(*request.notices));
    }
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

} // namespace itemctl
