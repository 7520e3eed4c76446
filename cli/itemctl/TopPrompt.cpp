#include "TopPrompt.h"

#include "common/DisplayText.h"

namespace itemctl {
namespace {

const QLatin1String Keys("Enter sends, Esc cancels");

} // namespace

TopPrompt::TopPrompt(Item item, QString text, const QStringList& choices)
    : m_item(std::move(item))
    , m_text(std::move(text))
    , m_hint(choices.isEmpty()
                 ? QString(Keys)
                 : QStringLiteral("%1; %2").arg(Keys, escaped(choices.join(QStringLiteral(", ")))))
{
}

TopPrompt::State TopPrompt::handle(const KeyPress& press)
{
    using Key = KeyPress::Key;
    switch (press.key) {
    case Key::Text:
        m_text += press.text;
        break;
    case Key::Backspace:
        m_text.chop(m_text.size() > 1 && m_text.at(m_text.size() - 1).isLowSurrogate() ? 2 : 1);
        break;
    case Key::Escape:
        return State::Left;
    case Key::Enter:
        return State::Sent;
    default:
        m_hint = QStringLiteral("only text, Backspace, Enter and Esc work here");
        break;
    }
    return State::Open;
}

QString TopPrompt::line() const
{
    return QStringLiteral("%1 | text for %2: %3_")
        .arg(m_hint, escaped(m_item.idWithIndex()), escaped(m_text));
}

} // namespace itemctl
