#include "ItemctlFixture.h"

#include <QTest>

namespace {

const QByteArray LeaveFullScreen = "\x1b[?1049l";

} // namespace

/// The live view on a terminal, as script(1) makes one.
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
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TERM", "xterm");
        environment.insert("LINES", "24");
        environment.insert("COLUMNS", "80");
        m_terminal.setProcessEnvironment(environment);
        m_terminal.setProcessChannelMode(QProcess::MergedChannels);
        m_drawn.clear();
        m_terminal.start("script", { "-qec", "exec '" ITEMCTL "' top", "/dev/null" });
        QVERIFY(shows("Actions"));
    }

    void cleanup()
    {
        m_terminal.kill();
        m_terminal.waitForFinished();
    }

    void showsAndActs()
    {
        QVERIFY(shows("18446744073709551615"));
        QVERIFY(shows("quits"));
        QVERIFY2(!m_drawn.contains("Headset"), "the row does not apply yet");
        m_terminal.write("e");
        QVERIFY(shows("Headset"));
        QCOMPARE(itemctl({ "get", "enabled" }).out, "true\n");
        // From the last action up to "echo", which asks for a text.
        m_terminal.write("\x1bOF\x1bOA\x1bOA\x1bOA\r");
        QVERIFY(shows("text for echo"));
        m_terminal.write("loud\r");
        QVERIFY(shows("echo: loud"));
        m_terminal.write("q");
        QVERIFY(m_terminal.waitForFinished());
        QCOMPARE(m_terminal.exitCode(), 0);
        QVERIFY((m_drawn + m_terminal.readAll()).contains(LeaveFullScreen));
    }

    void givesTheTerminalBackOnASignal()
    {
        m_terminal.write("\x03"); // Ctrl-C, which the terminal makes SIGINT of
        QVERIFY(m_terminal.waitForFinished());
        QVERIFY((m_drawn + m_terminal.readAll()).contains(LeaveFullScreen));
    }

    void needsATerminal()
    {
        const Finished finished = itemctl({ "top" });
        QCOMPARE(finished.status, 1);
        QVERIFY(finished.err.contains("needs a terminal"));
    }

private:
    bool shows(const QByteArray& text)
    {
        return QTest::qWaitFor(
            [&] {
                m_terminal.waitForReadyRead(0);
                m_drawn += m_terminal.readAll();
                return m_drawn.contains(text);
            },
            30'000);
    }

    QProcess m_terminal;
    QByteArray m_drawn;
};

QTEST_GUILESS_MAIN(ItemctlTopTest)
#include "ItemctlTopTest.moc"
