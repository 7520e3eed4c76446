// The commands in docs/bus-interface.md do what it says, against the host that they name.
#include "ModuleWorld.h"
#include "support/Rows.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <cstdio>

namespace {

const QString Call = "busctl --user call tov.base.bluetoothlauncher /tov/base/Items tov.base.Items ";

QString methodOf(const QString& example)
{
    return example.mid(Call.size()).section(' ', 0, 0);
}

} // namespace

class BusInterfaceDocumentTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase()
    {
        QFile file(DOCUMENT);
        QVERIFY2(file.open(QIODevice::ReadOnly), DOCUMENT);
        m_document = QString::fromUtf8(file.readAll());
        for (const QString& line : m_document.split('\n')) {
            if (line.startsWith("    busctl ")) {
                m_examples << line.trimmed();
            }
        }
    }

    void everyMethodHasAnExample()
    {
        const QRegularExpression heading(R"(^### (\w+)\((?!.*serial, a\(sa\{sv\}\) items\)$))",
                                         QRegularExpression::MultilineOption);
        auto headings = heading.globalMatch(m_document);
        int methods = 0;
        for (; headings.hasNext(); ++methods) {
            const QString method = headings.next().captured(1);
            const QString call = Call + method + ' ';
            const bool hasExample =
                std::any_of(m_examples.begin(), m_examples.end(),
                            [&](const QString& example) { return example.startsWith(call); });
            QVERIFY2(hasExample, qPrintable(method));
        }
        QVERIFY(methods >= 4);
    }

    void callsAnswerAsDocumented_data()
    {
        const Rows<QString> row("example");
        for (const QString& example : m_examples) {
            if (!example.contains(" monitor ")) {
                row(qPrintable(methodOf(example)), example);
            }
        }
    }

    void callsAnswerAsDocumented()
    {
        QFETCH(QString, example);
        QVERIFY2(example.startsWith(Call), qPrintable(example));
        QProcess shell;
        shell.start("/bin/sh", { "-c", example });
        QVERIFY(shell.waitForFinished());
        const QByteArray errors = shell.readAllStandardError();
        QVERIFY2(shell.exitCode() == 0, errors.constData());
        const QString answer = QString::fromUtf8(shell.readAllStandardOutput()).section(' ', 0, 0).trimmed();
        QCOMPARE(answer, documentedAnswer(methodOf(example)));
        if (methodOf(example) == "Set") {
            QCOMPARE(m_world.value("enabled"), QVariant(true));
        }
    }

    void monitorShowsChanges()
    {
        const QStringList monitors = m_examples.filter(" monitor ");
        QCOMPARE(monitors.size(), 1);
        QProcess shell;
        shell.setProcessChannelMode(QProcess::MergedChannels);
        shell.start("/bin/sh", { "-c", "exec " + monitors.first() });
        QString shown;
        const auto shows = [&](const char* text) {
            shell.waitForReadyRead(0);
            shown += QString::fromUtf8(shell.readAll());
            return shown.contains(QLatin1String(text));
        };
        QTRY_VERIFY2(shows("Monitoring bus message stream"), qPrintable(shown));
        const bool before = m_world.value("enabled").toBool();
        QVERIFY(m_world.set("enabled", !before));
        QTRY_VERIFY2(shows("Member=Changed"), qPrintable(shown));
        QTRY_VERIFY2(shows(":config:bluetoothlauncher:bluetooth:enabled:"), qPrintable(shown));
        shell.kill();
        shell.waitForFinished();
    }

private:
    /// What a method answers, as a D-Bus signature; from the heading that describes it.
    [[nodiscard]] QString documentedAnswer(const QString& method) const
    {
        const QRegularExpression heading(QString("^### %1\\(.*?\\)(?: → \\((.*)\\))?$").arg(method),
                                         QRegularExpression::MultilineOption);
        QString signature;
        for (const QString& argument : heading.match(m_document).captured(1).split(", ")) {
            signature += argument.section(' ', 0, 0);
        }
        return signature;
    }

    QString m_document;
    QStringList m_examples; ///< command lines
};

int main(int argc, char** argv)
{
    if (QStandardPaths::findExecutable("busctl").isEmpty()) {
        std::fputs("there is no busctl here; it is in the package \"systemd\"\n", stderr);
        return 77; // skipped
    }
    return runInModuleWorld<BusInterfaceDocumentTest>(argc, argv);
}
#include "BusInterfaceDocumentTest.moc"
