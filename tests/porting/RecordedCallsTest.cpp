// Between its framework and the daemon the module is to make certain calls, no others, and in a certain
// order: doubled writes, flags and null texts as well that no client of the items can see. Each table in
// "recorded" holds steps, "# ", with the reason for some of them, "## ", and what the module did in each.
// RECORDED_CALLS_TO names a folder that takes what is found.
#include "RecordedModule.h"
#include "framework/Record.h"
#include "support/PrivateBus.h"
#include "support/PrivateView.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTest>
#include <QTranslator>

namespace {

void recordMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    // Quoted anew, so that a blank at an end is seen.
    recording::record(type == QtDebugMsg ? "debug:" : "warning:", '[' + text + ']');
}

/// Shows which texts are translated.
class Marking : public QTranslator
{
public:
    QString translate(const char* context, const char* text, const char* /*remark*/,
                      int /*count*/) const override
    {
        return QLatin1String(context) == QLatin1String("BluetoothModule") ? "tr:" + QString(text) : QString();
    }
    [[nodiscard]] bool isEmpty() const override { return false; }
};

/// Three lines for each row of a list; rows that go on as the ones before are told by the last of them.
QStringList folded(const QStringList& lines)
{
    static const QRegularExpression row(":(\\d+)\"");
    const auto block = [&](int at) {
        const QString number = row.match(lines.value(at)).captured(1);
        QStringList three = lines.mid(at, 3);
        return number.isEmpty() ? QString() : three.replaceInStrings(':' + number + '"', ":N\"").join('\n');
    };
    QStringList result;
    for (int at = 0; at < lines.size();) {
        const QString first = block(at);
        int next = at + 3;
        int number = row.match(lines[at]).captured(1).toInt();
        while (!first.isEmpty() && block(next) == first
               && row.match(lines[next]).captured(1).toInt() == number + 1) {
            next += 3;
            ++number;
        }
        if (next == at + 3) {
            result << lines[at++];
            continue;
        }
        result << lines.mid(at, 3) << QString("  and so on to :%1").arg(number);
        at = next;
    }
    return result;
}

} // namespace

class RecordedCallsTest : public QObject
{
    Q_OBJECT

public:
    explicit RecordedCallsTest(const QString& busAddress)
        : m_module(busAddress)
    {
    }

private Q_SLOTS:
    void init()
    {
        m_module.begin();
        qInstallMessageHandler(recordMessage);
    }

    void cleanup()
    {
        m_module.end();
        qInstallMessageHandler(nullptr);
    }

    void calls_data()
    {
        QTest::addColumn<QString>("table");
        const QFileInfoList tables = QDir(RECORDED).entryInfoList({ "*.txt" });
        for (const QFileInfo& table : tables) {
            QTest::newRow(qPrintable(table.baseName())) << table.filePath();
        }
    }

    void calls()
    {
        QFETCH(QString, table);
        QFile expected(table);
        QVERIFY(expected.open(QIODevice::ReadOnly));
        for (const QString& line : QString::fromUtf8(expected.readAll()).split('\n')) {
            if (line.startsWith("## ")) {
                recording::lines() << line;
            } else if (line.startsWith("# ")) {
                QVERIFY2(m_module.perform(line.mid(2)), qPrintable("no such step: " + line));
            }
        }
        compare(table);
        QVERIFY2(!m_module.hasWaited(), "a request waited for the daemon's answer");
    }

private:
    static void compare(const QString& table)
    {
        const QString name = QFileInfo(table).fileName();
        const QByteArray calls = folded(recording::lines()).join('\n').toUtf8() + '\n';
        QTemporaryFile found;
        QVERIFY(found.open());
        found.write(calls);
        found.flush();
        if (const QString folder = qEnvironmentVariable("RECORDED_CALLS_TO"); !folder.isEmpty()) {
            QFile kept(folder + '/' + name);
            QVERIFY(kept.open(QIODevice::WriteOnly));
            kept.write(calls);
        }
        QProcess diff;
        diff.start("diff",
                   { "-u", "--label", "expected " + name, "--label", "found", table, found.fileName() });
        QVERIFY(diff.waitForFinished());
        QVERIFY2(diff.exitCode() == 0, diff.readAll() + diff.readAllStandardError());
    }

    RecordedModule m_module;
};

// A module leaves its bus watcher behind, by intent. The name is the sanitizer's.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:BluetoothModule::BluetoothModule";
}

int main(int argc, char** argv)
{
    // The module looks for its files in /tmp.
    return runInPrivateView("/bin/true", argc, argv, [&](const world::PrivateFilesystem& /*view*/) {
        PrivateSystemBus bus;
        const QString problem = bus.start();
        if (!problem.isEmpty()) {
            qFatal("%s", qPrintable(problem));
        }
        Marking marking;
        QCoreApplication::installTranslator(&marking);
        RecordedCallsTest test(bus.address());
        return QTest::qExec(&test, argc, argv);
    });
}

#include "RecordedCallsTest.moc"
