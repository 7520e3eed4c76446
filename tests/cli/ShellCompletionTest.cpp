#include "ItemctlFixture.h"

#include "support/PseudoTerminal.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

/// The shells as a person has them, at a terminal: what a word becomes by the Tab key.
class ShellCompletionTest : public ItemctlFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ItemctlFixture::initTestCase();
        const QString programs = QFileInfo(ITEMCTL).path();
        qputenv("PATH", programs.toLocal8Bit() + ':' + qgetenv("PATH"));
        qputenv("XDG_DATA_DIRS", COMPLETION_SHARE ":/usr/share");
        QDir::setCurrent(m_folder.path());
        for (const char* name : { "walk one.rec", "walk.txt" }) {
            QFile file(name);
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QVERIFY(m_bash.start({ "bash", "--norc", "--noprofile", "-i" },
                             { { "HISTFILE", "" }, { "PS1", "ready>" } }));
        m_bash.type(
            "PS1='ready>'; bind 'set bell-style none'; . /usr/share/bash-completion/bash_completion\r");
        QVERIFY(m_zsh.start({ "zsh", "-f", "-i" }, { { "PS1", "ready>" } }));
        m_zsh.type("PS1='ready>'; bindkey -e; unsetopt beep; fpath=(" COMPLETION_SHARE
                   "/zsh/site-functions $fpath); "
                   "autoload -U compinit; compinit -D -u\r");
    }

    void completes_data();

    void completes()
    {
        QFETCH(QByteArray, typed);
        QFETCH(QStringList, words);
        completesIn(m_bash, typed, words);
        completesIn(m_zsh, typed, words);
    }

private:
    /// A dot is typed behind the word. Then the line is made the arguments of one that prints them.
    static void completesIn(PseudoTerminal& shell, const QByteArray& typed, const QStringList& words)
    {
        shell.type("clear\r");
        QVERIFY2(shell.waitUntil([](const QStringList& lines) { return lines.first() == "ready>"; }),
                 shell.screen());
        shell.type(typed + "\t.\x01printf '<%s>' \r");
        const QString expected = '<' + words.join("><") + '>';
        QVERIFY2(shell.shows(expected), '\n' + expected.toUtf8() + shell.screen());
    }

    QTemporaryDir m_folder;
    PseudoTerminal m_bash;
    PseudoTerminal m_zsh;
};

void ShellCompletionTest::completes_data()
{
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<QStringList>("words");
    const auto row = [](const QByteArray& typed, const QStringList& words) {
        QTest::newRow(typed) << typed << words;
    };
    row("itemctl desc", { "itemctl", "describe", "." });
    row("itemctl --json desc", { "itemctl", "--json", "describe", "." });
    row("itemctl help desc", { "itemctl", "help", "describe", "." });
    row("simctl pair", { "simctl", "pair-request", "." });
    row("itemctl watch --cou", { "itemctl", "watch", "--count", "." });
    row("simctl add --wrong", { "simctl", "add", "--wrong-pin", "." });
    row("itemctl get -- --cou", { "itemctl", "get", "--", "--cou." });
    row("itemctl get enab", { "itemctl", "get", "enabled", "." });
    row("itemctl get enabled mod:vol", { "itemctl", "get", "enabled", "mod:volume", "." });
    row("itemctl get writem", { "itemctl", "get", "writem." }); // an action
    row("itemctl call writem", { "itemctl", "call", "writemany", "." });
    row("itemctl describe writem", { "itemctl", "describe", "writemany", "." });
    row("itemctl set enabled tr", { "itemctl", "set", "enabled", "true", "." });
    row("itemctl --server demo set --timeout 3 state DEMO_STATE_F",
        { "itemctl", "--server", "demo", "set", "--timeout", "3", "state", "DEMO_STATE_FAILED", "." });
    row("itemctl list --server de", { "itemctl", "list", "--server", "demo", "." });
    row("itemctl watch --count e", { "itemctl", "watch", "--count", "e." });
    row("itemctl wait mod:enab", { "itemctl", "wait", "mod:enabled=." }); // goes on, without a blank
    row("itemctl wait mod:state=DEMO_STATE_F", { "itemctl", "wait", "mod:state=DEMO_STATE_FAILED", "." });
    row("itemctl wait mod:state!=DEMO_STATE_F", { "itemctl", "wait", "mod:state!=DEMO_STATE_FAILED", "." });
    row("itemctl call fork --until state=DEMO_STATE_F",
        { "itemctl", "call", "fork", "--until", "state=DEMO_STATE_FAILED", "." });
    row("simctl fault silent", { "simctl", "fault", "silent-property", "." });
    row("simctl answer x acc", { "simctl", "answer", "x", "accept", "." });
    row("hostctl fr", { "hostctl", "freeze", "." });
    row("simctl time pau", { "simctl", "time", "pause", "." });
    row("simctl record wal", { "simctl", "record", "walk one.rec", "." });
    // No simulation is there: nothing is offered, and nothing is said.
    row("simctl drop Car", { "simctl", "drop", "Car." });
}

QTEST_GUILESS_MAIN(ShellCompletionTest)

#include "ShellCompletionTest.moc"
