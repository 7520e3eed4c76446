#include "PairingCause.h"

#include <QFile>
#include <QtTest>

/// People look in the document for what they were told.
class PairingCauseTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void standsInTheDocument()
    {
        QFile file(TROUBLESHOOTING);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString document = QString::fromUtf8(file.readAll());
        for (const bt::CauseWords& words : bt::Causes) {
            const QString line = QStringLiteral("| %1 | %2 | %3 |")
                                     .arg(static_cast<int>(words.end))
                                     .arg(words.happened, words.remedy);
            QVERIFY2(document.contains(line), qPrintable(line));
        }
    }
};

QTEST_GUILESS_MAIN(PairingCauseTest)
#include "PairingCauseTest.moc"
