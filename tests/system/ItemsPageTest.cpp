// docs/items.md against the module that runs: the page is what docs/make-items writes of it, and each
// sequence on it is played, step by step and in its times.
#include "SystemTest.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

const QString Words = QStringLiteral(SOURCE_FOLDER "/module/bluetooth.items.json");

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList textsOf(const QJsonValue& list)
{
    return list.toVariant().toStringList();
}

QList<QJsonObject> objectsOf(const QJsonValue& list)
{
    QList<QJsonObject> objects;
    for (const auto& entry : list.toArray()) {
        objects << entry.toObject();
    }
    return objects;
}

/// All groups of sequences that begin alike.
QList<QJsonObject> groups()
{
    QList<QJsonObject> groups;
    for (const QJsonObject& section : objectsOf(QJsonDocument::fromJson(contentOf(Words))["page"])) {
        groups += objectsOf(section["plays"]);
    }
    return groups;
}

} // namespace

class ItemsPageTest : public SystemTest
{
    Q_OBJECT

public:
    using SystemTest::SystemTest;

private Q_SLOTS:
    void pageIsThatOfTheModule()
    {
        QVERIFY2(m_world.start(), why());
        const Finished made = ::run(SOURCE_FOLDER "/docs/make-items", { Words });
        QVERIFY2(made.status == 0, qPrintable(made.err));
        const QStringList expected = made.out.split('\n');
        const QStringList page = QString::fromUtf8(contentOf(SOURCE_FOLDER "/docs/items.md")).split('\n');
        for (int line = 0; line < std::max(expected.size(), page.size()); ++line) {
            QCOMPARE(page.value(line), expected.value(line));
        }
        QCOMPARE(page.size(), expected.size());
    }

    // What nobody may leave out: each way in which each of them can go on.
    void everyEndIsTold_data()
    {
        const Rows<QStringList> row("ends");
        const QStringList asked{ "yes", "no", "no answer", "switched off" };
        row("The radio is on", { "switched off", "switched off and on again", "cycled", "the daemon ends" });
        row("A scan runs", { "left alone", "cancelled", "a pairing begins", "switched off" });
        row("A scan is over", { "a used row", "an empty row" });
        row("The device shows a code", asked + QStringList{ "the device refuses" });
        row("The device wants a PIN",
            asked.mid(1)
                + QStringList{ "the PIN is typed", "the stored PIN is sent", "a wrong PIN is typed",
                               "the device refuses" });
        row("The device has no code to show", asked + QStringList{ "the device refuses" });
        row("The device begins", asked + QStringList{ "the device takes it back" });
        row("No question is asked",
            { "the device just works", "it is paired already", "the device refuses",
              "the device falls silent", "the device is out of reach", "the device walks away",
              "the text is no address", "the daemon ends", "a second pairing is refused",
              "a scan is refused" });
        row("A device that is a headset and an iOS accessory is connected",
            { "disconnected", "the link is lost", "iOS links are ended", "unpaired" });
        row("The radio is lent", { "given back", "somebody else asks", "switched off meanwhile" });
        row("The radio is not lent", { "the borrower has ended", "the text is not understood" });
    }

    void everyEndIsTold()
    {
        QFETCH(QStringList, ends);
        QStringList told;
        for (const QJsonObject& group : groups()) {
            if (group["title"].toString() == QTest::currentDataTag()) {
                for (const QJsonObject& end : objectsOf(group["ends"])) {
                    told << end["when"].toString();
                }
            }
        }
        told.sort();
        ends.sort();
        QCOMPARE(told, ends);
    }

    // What a client would guess wrong is among the steps, and so is played.
    void everyOddityIsTold()
    {
        QStringList steps;
        for (const QJsonObject& group : groups()) {
            steps += textsOf(group["begin"]);
            for (const QJsonObject& end : objectsOf(group["ends"])) {
                steps += textsOf(end["play"]);
            }
        }
        for (const char* oddity :
             { "pendingpair=Phone", "pendingpair=Unknown Name - 00:11:22:33:44:01",
               "confirmationcode~[0-9]{6}", "scanresultsSignalStrength:0~-[0-9]+",
               "scanresultsSignalStrength:31=0", "scanresultsAddr:0~([0-9A-F]{2}:){5}[0-9A-F]{2}",
               "itemctl call connectAddr 0a:0:0:0:0:1", "pairlistConnectionState:0~6", "pinreplycfg=" }) {
            QVERIFY2(steps.contains(oddity), oddity);
        }
    }

    void goesAsThePageSays_data()
    {
        const Rows<QString, QStringList> row("about", "steps");
        for (const QJsonObject& group : groups()) {
            for (const QJsonObject& end : objectsOf(group["ends"])) {
                row(qPrintable(group["title"].toString() + ": " + end["when"].toString()),
                    group["item"].toString(), textsOf(group["begin"]) + textsOf(end["play"]));
            }
        }
    }

    void goesAsThePageSays()
    {
        QFETCH(QString, about);
        QFETCH(QStringList, steps);
        QVERIFY2(m_world.start() && m_world.switchOn(), why());
        QString lasting; // what the table's item shows until the time has passed
        for (int i = 0; i < steps.size(); ++i) {
            const QString& step = steps[i];
            if (isTime(step)) {
                QVERIFY2(lasts(lasting, step.chopped(2).toDouble()), why());
            } else if (isCommand(step)) {
                const int calls = m_world.calls().size();
                QCOMPARE(typed(step), step.section(" -> ", 1));
                // Nothing shows that the request has reached the radio.
                QTRY_VERIFY(!isTime(steps.value(i + 1)) || !step.startsWith("itemctl")
                            || m_world.calls().size() > calls);
            } else {
                QVERIFY2(shows(step, true), why());
                lasting = step.startsWith(about) ? step : lasting;
            }
        }
    }

private:
    static bool isTime(const QString& step) { return step.endsWith(" s"); }
    static bool isCommand(const QString& step)
    {
        return step.startsWith("itemctl ") || step.startsWith("simctl ");
    }
    /// What the command prints; why it failed, if it did.
    static QString typed(const QString& step)
    {
        const Finished finished = ::run("sh", { "-c", step.section(" -> ", 0, 0) });
        return (finished.status == 0 ? finished.out : finished.err).trimmed();
    }
    /// Not for less than that time, nor for more.
    bool lasts(const QString& condition, double seconds)
    {
        constexpr double Moment = 0.02;
        return m_world.step(seconds - Moment) && shows(condition, false) && m_world.step(Moment);
    }
    /// "ITEM=VALUE", "ITEM~REGEX", "ITEM:applicable" or "ITEM:inapplicable", now or soon.
    bool shows(const QString& condition, bool soon)
    {
        static const QRegularExpression form(R"(\A([\w:]+?)(=|~|:(?=\D))(.*)\z)");
        const auto parts = form.match(condition);
        const QString item = parts.captured(1);
        const QString value = parts.captured(3);
        if (parts.captured(2) == "=") {
            return soon ? m_world.waitFor(item, value) : m_world.has(item, value);
        }
        if (parts.captured(2) == ":") {
            return m_world.waitForApplicable(item, value == "applicable");
        }
        const QString text = m_world.text(item);
        const bool matches = QRegularExpression("\\A" + value + "\\z").match(text).hasMatch();
        return matches || (qWarning().noquote() << condition << "but it is" << text, false);
    }
};

BLUETOOTH_TESTKIT_MAIN(ItemsPageTest)
#include "ItemsPageTest.moc"
