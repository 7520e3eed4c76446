#include "ItemctlFixture.h"

#include "support/PseudoTerminal.h"
#include "support/Rows.h"

#include <QTest>

#include <csignal>

namespace {

const QByteArray Up = "\x1bOA";
const QByteArray Down = "\x1bOB";
const QByteArray Right = "\x1bOC";
const QByteArray Home = "\x1bOH";
const QByteArray End = "\x1bOF";
const QByteArray PageUp = "\x1b[5~";
const QByteArray PageDown = "\x1b[6~";
const QByteArray Backspace = "\x7f";
const QByteArray Escape = "\x1b";

/// Less than the demonstration items take.
constexpr int Height = 12;

} // namespace

/// The live view on a terminal: what its screen shows.
class ItemctlTopTest : public ItemctlFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ItemctlFixture::initTestCase();
        succeed({ "call", "write", "rowName:1=Headset" });
    }

    void init()
    {
        succeed({ "set", "enabled", "false" });
        succeed({ "set", "pin", "5190" });
        m_terminal = std::make_unique<PseudoTerminal>(Height);
        QVERIFY(m_terminal->start({ ITEMCTL, "top" }));
        QVERIFY2(m_terminal->shows("Configs"), m_terminal->screen());
    }

    void cleanup() { m_terminal.reset(); }

    void showsAndActs()
    {
        QVERIFY2(m_terminal->shows("18446744073709551615"), m_terminal->screen());
        QVERIFY(m_terminal->shows("q quits"));
        m_terminal->type(End + Up + Up + Up
                         + "\r"); // from the last action up to "echo", which asks for a text
        QVERIFY2(m_terminal->shows("text for echo"), m_terminal->screen());
        QVERIFY2(m_terminal->shows("Esc"), m_terminal->screen());
        m_terminal->type("loud\r");
        QVERIFY2(m_terminal->shows("echo: loud"), m_terminal->screen());
        m_terminal->type("e");
        QVERIFY2(m_terminal->shows("Headset"), m_terminal->screen()); // it applies now
        QCOMPARE(itemctl({ "get", "enabled" }).out, "true\n");
        m_terminal->type(Home + Down.repeated(7) + '\r');
        QVERIFY2(m_terminal->shows("rowName:1 is a result, which its server alone writes"),
                 m_terminal->screen());
        m_terminal->type("q");
        QCOMPARE(m_terminal->finish(), 0);
    }

    void selects_data()
    {
        const Rows<bool, QByteArray, QString, QString> row("atEnd", "keys", "selected", "seen");
        row("the last", false, End, "stall", "stall");
        row("the first, with its heading", true, Home, "enabled", "Configs");
        row("pages down to the last", false, PageDown + PageDown + PageDown, "stall", "stall");
        row("pages up to the first", true, PageUp + PageUp + PageUp, "enabled", "Configs");
        row("over a heading", false, Down + Down + Down, "state", "Results");
        row("and back", true, Home + Down + Down + Down + Up, "volume", "Results");
        row("no further up", false, Up, "enabled", "first");
        row("no further down", true, Down, "stall", "last");
    }

    void selects()
    {
        QFETCH(bool, atEnd);
        QFETCH(QByteArray, keys);
        QFETCH(QString, selected);
        QFETCH(QString, seen);
        const auto isSelected = [this](const QString& id) {
            return m_terminal->waitUntil(
                [&](const QStringList&) { return m_terminal->reversedLine().startsWith("  " + id + ' '); });
        };
        if (atEnd) {
            m_terminal->type(End);
            QVERIFY2(isSelected("stall"), m_terminal->screen());
        }
        m_terminal->type(keys);
        QVERIFY2(isSelected(selected), m_terminal->screen());
        QVERIFY2(m_terminal->shows(seen), m_terminal->screen());
    }

    void showsTheLatestChanges()
    {
        m_terminal->type(End);
        QVERIFY2(m_terminal->hides("state  "), m_terminal->screen());
        succeed({ "call", "write", "state=200" });
        QVERIFY2(m_terminal->shows("state 200 (Gone Wrong)"), m_terminal->screen());
        // What goes on in a list does not push it away, and another item stands beside it.
        for (const char* name : { "rowName:1=One", "rowName:1=Two", "rowName:1=Headset", "record=seen" }) {
            succeed({ "call", "write", name });
        }
        QVERIFY2(m_terminal->shows("record seen, state 200 (Gone Wrong)"), m_terminal->screen());
        succeed({ "call", "write", "state=0" });
        QVERIFY2(m_terminal->shows("state 0 (Off), record seen"), m_terminal->screen());
    }

    void answersEveryKey_data()
    {
        const Rows<QByteArray, QString> row("keys", "answer");
        row("a text", Down + '\r', "text for pin: 5190_");
        row("a text is edited", Down + '\r' + Backspace + Backspace + "77\r", "pin 5177");
        row("a text is refused", Down + '\r' + "x\r", "keeps its value: the value does not match");
        row("a text is left", Down + '\r' + Escape, "pin is left as it was");
        row("no text for a prompt", Down + '\r' + Right, "only text");
        row("a number",
            Down + Down
                + "\r\x7f"
                  "7\r",
            "volume 7");
        row("true or false", "\r", "enabled true");
        row("a result", Down + Down + Down + '\r', "state is a result, which its server alone writes");
        row("a result that is open", Down + Down + Down + Down + Down + '\r', "text for record");
        row("space on a text", Down + ' ', "pin is not true or false");
        row("another letter", "x", "\"x\" does nothing");
        row("another key", Right, "this key does nothing");
        row("nothing to leave", Escape, "this key does nothing");
    }

    void answersEveryKey()
    {
        QFETCH(QByteArray, keys);
        QFETCH(QString, answer);
        m_terminal->type(keys);
        QVERIFY2(m_terminal->shows(answer), m_terminal->screen());
    }

    // A new size is no key: what is typed goes on, in the last line of the new screen.
    void followsTheTerminalsSize()
    {
        const auto ends = [this](const char* line) {
            return m_terminal->waitUntil([line](const QStringList& lines) { return lines.last() == line; });
        };
        m_terminal->type(Down + '\r');
        QVERIFY2(ends("Enter sends, Esc cancels | text for pin: 5190_"), m_terminal->screen());
        m_terminal->resize(Height + 5);
        QVERIFY2(ends("Enter sends, Esc cancels | text for pin: 5190_"), m_terminal->screen());
        m_terminal->type("7");
        QVERIFY2(ends("Enter sends, Esc cancels | text for pin: 51907_"), m_terminal->screen());
    }

    void givesTheTerminalBack_data()
    {
        const Rows<QByteArray, int> row("keys", "signal");
        row("Ctrl-C", "\x03", 0);
        row("Ctrl-backslash", "\x1c", 0);
        row("SIGTERM", {}, SIGTERM);
        row("SIGHUP", {}, SIGHUP);
    }

    void givesTheTerminalBack()
    {
        QFETCH(QByteArray, keys);
        QFETCH(int, signal);
        const QByteArray before = PseudoTerminal().settings();
        QVERIFY(m_terminal->settings() != before);
        m_terminal->type(keys);
        if (signal != 0) {
            kill(m_terminal->program(), signal);
        }
        QCOMPARE(m_terminal->finish(), 0);
        QCOMPARE(m_terminal->settings(), before);
        QVERIFY2(m_terminal->hides("Configs"), m_terminal->screen());
    }

private:
    std::unique_ptr<PseudoTerminal> m_terminal;
};

QTEST_GUILESS_MAIN(ItemctlTopTest)
#include "ItemctlTopTest.moc"
