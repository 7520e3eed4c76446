#include "store/ConfigFile.h"
#include "items/ModuleItems.h"
#include "support/Rows.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using ipc::ConfigFile;
using ipc::ItemKind;
using ipc::ModuleItems;
using ipc::ValueType;

/// What is stored comes back, and what cannot be used is told and kept.
class ConfigFileTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath("server.json");
        m_announced.clear();
    }

    void whatWasStoredComesBack()
    {
        const QVariantMap values{
            { "enabled", true },
            { "pin", QString() }, // only the module itself may empty it; that has to survive a restart
            { "serial", 18446744073709551615ULL },
            { "offset", -5000000000LL },
            { "scale", 1.25 },
            { "note", "a text" },
        };
        const auto before = makeModule("radio");
        for (const QString& id : values.keys()) {
            before->find(ItemKind::Config, id)->store(values[id], true);
        }
        ConfigFile stored(m_path);
        stored.gather(*before, values.keys());
        QVERIFY(stored.write());

        m_announced.clear();
        const auto after = makeModule("radio");
        QVERIFY(ConfigFile(m_path).load(*after));
        for (const QString& id : values.keys()) {
            QCOMPARE(after->find(ItemKind::Config, id)->value(), values[id]);
        }
        QCOMPARE(m_announced, QStringList(":config:server:radio:enabled:"));
    }

    void whatNoModuleKnowsStays();

    void wrongValuesTakeTheirDefault_data();

    void wrongValuesTakeTheirDefault()
    {
        QFETCH(QByteArray, values);
        QFETCH(QString, message);
        writeFile(R"({"modules": {"radio": {"values": {)" + values + "}}}}");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(message));
        const auto items = makeModule("radio");
        QVERIFY(ConfigFile(m_path).load(*items));
        // The value that was wrong stays at its default, its neighbour is loaded.
        QCOMPARE(value(*items, "enabled"), QVariant(values.contains("\"enabled\": true")));
        QCOMPARE(value(*items, "pin"), QVariant(values.contains("7777") ? "7777" : "5190"));
    }

    void damagedFilesAreSetAside_data();

    void damagedFilesAreSetAside()
    {
        QFETCH(QByteArray, content);
        writeFile(content);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("server.json is damaged .*is kept as"));
        const auto items = makeModule("radio");
        QVERIFY(!ConfigFile(m_path).load(*items));
        QVERIFY(!QFile::exists(m_path));
        const QStringList kept = QDir(m_folder->path()).entryList({ "server.json.damaged-*" });
        QCOMPARE(kept.size(), 1);
        QFile file(m_folder->filePath(kept.first()));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), content);
        QVERIFY(save(*items)); // and the next change is stored again
    }

    void onlyARegularFileOfSomeSizeIsRead_data();

    void onlyARegularFileOfSomeSizeIsRead()
    {
        QFETCH(QString, command);
        QFETCH(QString, reason);
        const auto items = makeModule("radio");
        const QString damaged =
            "server.json is damaged and %1: " + reason + ".*kept as .*server.json.damaged";
        runInFolder(command);
        expectWarning(damaged.arg("its configs take their defaults"));
        QVERIFY(!ConfigFile(m_path).load(*items));
        // Put there while it runs, it is in nobody's way either.
        runInFolder(command);
        expectWarning(damaged.arg("the configs keep the values that they have"));
        QVERIFY(save(*items));
        QVERIFY(ConfigFile(m_path).load(*items));
    }

    void misspeltKeysAreTold_data();

    void misspeltKeysAreTold()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, message);
        writeFile(content);
        expectWarning(QRegularExpression::escape(m_path + message));
        const auto items = makeModule("radio");
        QVERIFY(ConfigFile(m_path, { "radio" }).load(*items));
        QCOMPARE(value(*items, "enabled"), QVariant(false));
    }

    void whatCouldNotBeReadAgainIsNotWritten()
    {
        const auto items = makeModule("radio");
        items->find(ItemKind::Config, "note")->store(QString(5'000'000, 'x'), true);
        expectWarning("server.json cannot be written.*it is too large; 4 MiB are the most");
        ConfigFile file(m_path);
        file.gather(*items, { "note" });
        QVERIFY(!file.write());
        QVERIFY(!QFile::exists(m_path));
    }

    void whatCannotBeReadStays()
    {
        QVERIFY(QFile::link("/proc/self/mem", m_path)); // a regular file; nothing is at its address 0
        const auto items = makeModule("radio");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("is not used .*cannot be read"));
        QVERIFY(!ConfigFile(m_path).load(*items));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("cannot be written"));
        QVERIFY(!save(*items));
        QCOMPARE(QFile::symLinkTarget(m_path), QString("/proc/self/mem"));
    }

private:
    std::unique_ptr<ModuleItems> makeModule(const QString& name)
    {
        auto items =
            std::make_unique<ModuleItems>("server", name, [this](const QString& id) { m_announced << id; });
        items->add({ ItemKind::Config, "enabled", QString(), ValueType::of(false), false })
            .front()
            ->observe();
        ValueType pin = ValueType::of(QString());
        pin.setRange(4, 8);
        items->add({ ItemKind::Config, "pin", QString(), pin, "5190" }).front()->makePrivate();
        items->add({ ItemKind::Config, "serial", QString(), ValueType::of(0ULL), 0ULL });
        items->add({ ItemKind::Config, "offset", QString(), ValueType::of(0LL), 0LL });
        items->add({ ItemKind::Config, "scale", QString(), ValueType::of(0.5), 0.5 });
        items->add({ ItemKind::Config, "note", QString(), ValueType::of({}), {} });
        return items;
    }

    static QVariant value(const ModuleItems& items, const char* id)
    {
        return items.find(ItemKind::Config, QLatin1String(id))->value();
    }

    [[nodiscard]] bool save(const ModuleItems& items) const
    {
        ConfigFile file(m_path);
        file.gather(items, { "enabled", "pin", "serial" });
        return file.write();
    }

    void writeFile(const QByteArray& content) const
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }

    void runInFolder(const QString& command) const
    {
        QProcess shell;
        shell.setWorkingDirectory(m_folder->path());
        shell.start("sh", { "-c", command });
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitCode(), 0);
    }

    static void expectWarning(const QString& pattern)
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    QStringList m_announced;
};

void ConfigFileTest::wrongValuesTakeTheirDefault_data()
{
    const Rows<QByteArray, QString> row("values", "message");
    row("type of a bool", R"("enabled": 1, "pin": "7777")", "enabled: .*a value that is no bool");
    row("text for a bool", R"("enabled": "true", "pin": "7777")", "enabled: .*a value that is no bool");
    row("too short, in the place of a value that the module stored",
        R"("pin": "1"}, "beyondLimits": {"pin": "")", "pin: .*a value beyond its limits");
    row("too short", R"("serial": 1, "pin": "1")", "pin: .*a value beyond its limits: the value has");
    row("nested", R"("serial": {"a": 1}, "enabled": true)", "serial: .*a value that is no int");
    row("unknown id", R"("nix": true)", "radio has no config \"nix\"");
}

void ConfigFileTest::whatNoModuleKnowsStays()
{
    // After a step back to an older release: ids, a module and keys of the newer one.
    writeFile(R"({"format": 2, "modules": {
        "other": {"values": {"a": 1}},
        "radio": {"values": {"enabled": false, "new": "x"}, "beyondLimits": {"new": "", "pin": ""}, "since": 3}}})");
    const auto items = makeModule("radio");
    items->find(ItemKind::Config, "enabled")->store(true, true);
    QVERIFY(save(*items));
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    QVERIFY(content.indexOf("enabled") < content.indexOf("new")); // all stays in its place
    // "pin" keeps within its limits now.
    QCOMPARE(QJsonDocument::fromJson(content), QJsonDocument::fromJson(R"({"format": 2, "modules": {
        "other": {"values": {"a": 1}},
        "radio": {"values": {"new": "x", "enabled": true, "pin": "5190", "serial": 0},
                  "beyondLimits": {"new": ""}, "since": 3}}})"));
}

void ConfigFileTest::damagedFilesAreSetAside_data()
{
    const Rows<QByteArray> row("content");
    row("empty", "");
    row("cut off", QByteArray(R"({"modules": {"radio": {"values": {"ena)"));
    row("no object", "[1, 2]");
    row("modules of another shape", R"({"modules": 3})");
    row("bytes", QByteArray("\xff\xfe\x00\x01", 4));
    row("nested far too deep", QByteArray(40'000, '['));
    row("nested as deep, and whole",
        R"({"modules": {}, "a": )" + QByteArray(40'000, '[') + QByteArray(40'000, ']') + '}');
}

void ConfigFileTest::onlyARegularFileOfSomeSizeIsRead_data()
{
    const Rows<QString, QString> row("command", "reason");
    const QString irregular = "it is no regular file";
    row("pipe", "mkfifo server.json", irregular);
    row("what has no end", "ln -s /dev/zero server.json", irregular);
    row("folder", "mkdir server.json", irregular);
    row("huge", "truncate -s 1G server.json", "it is too large; 4 MiB are the most");
}

void ConfigFileTest::misspeltKeysAreTold_data()
{
    const Rows<QByteArray, QString> row("content", "message");
    row("modules", R"({"modlues": {"radio": {"values": {"enabled": true}}}})",
        R"( has "modlues", which nobody reads; "modules" is expected)");
    row("a module", R"({"modules": {"Radio": {"values": {"enabled": true}}}})",
        R"(: "modules" has "Radio", which nobody reads; "radio" is expected)");
    row("values", R"({"modules": {"radio": {"vlaues": {"enabled": true}, "beyondLimits": {}}}})",
        R"(: "radio" has "vlaues", which nobody reads; "values" is expected)");
    row("no section", R"({"modules": {"radio": true}})",
        R"(: "modules" has no object as "radio", which it has to be - it is not used)");
    row("no values", R"({"modules": {"radio": {"values": [true]}}})",
        R"(: "radio" has no object as "values", which it has to be - it is not used)");
}

QTEST_GUILESS_MAIN(ConfigFileTest)
#include "ConfigFileTest.moc"
