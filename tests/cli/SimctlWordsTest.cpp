#include "DeviceWords.h"
#include "EventWords.h"
#include "FaultWords.h"
#include "WordTable.h"

#include <QFile>
#include <QtTest>

/// The documents know the words of the simulation's tables.
class SimctlWordsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void manualKnowsTheFaults()
    {
        const QString plain = read("/docs/simctl.1").remove("Ar ");
        for (const bt::FaultWord& fault : bt::FaultWords) {
            const QString form = QString::fromLatin1(fault.arguments).replace('|', " | ").replace('[', "Op ");
            const QString line = QString("\n.It Cm %1 %2").arg(fault.word, form.section(']', 0, 0)).trimmed();
            QVERIFY2(plain.contains('\n' + line + '\n'), qPrintable(line));
        }
    }

    void scenariosKnowDevicesAndEvents()
    {
        const QString document = read("/docs/scenarios.md");
        for (const QString& word :
             bt::wordsOf(bt::PairingWords) + bt::wordsOf(bt::RoleWords) + bt::wordsOf(bt::EventWords)) {
            QVERIFY2(document.contains('`' + word + '`'), qPrintable(word));
        }
    }

private:
    static QString read(const char* path)
    {
        QFile file(QStringLiteral(SOURCE_FOLDER) + path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
};

QTEST_GUILESS_MAIN(SimctlWordsTest)
#include "SimctlWordsTest.moc"
