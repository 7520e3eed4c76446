#include "ItemNames.h"
#include "support/ProblemOf.h"
#include "support/Rows.h"

#include <QTest>

using itemctl::Item;
using itemctl::Items;
using itemctl::Wanted;

Q_DECLARE_METATYPE(Wanted)

namespace {

Item item(const char* kind, const char* server, const char* module, const char* id)
{
    Item made;
    made.kind = kind;
    made.server = server;
    made.module = module;
    made.id = id;
    made.address = QString(":%1:%2:%3:%4:").arg(kind, server, module, id);
    return made;
}

/// Configs, a list of three, actions; "enabled" is on both servers, "scan" a result and an action.
Items items()
{
    Items all{ item("config", "host", "bluetooth", "enabled"), item("result", "host", "bluetooth", "scan"),
               item("action", "host", "bluetooth", "scan") };
    for (int index = 0; index < 3; ++index) {
        Item instance = item("result", "host", "bluetooth", "pairlistAddr");
        instance.index = index;
        instance.address += QString::number(index) + ':';
        all += instance;
    }
    all += item("action", "host", "bluetooth", "connectAddr");
    all += item("config", "other", "sync", "enabled");
    all += item("result", "other", "sync", "deviceConnStatus");
    all += item("result", "other", "sync", ".internal");
    return all;
}

} // namespace

/// Which items a name or a pattern means, among those of two servers.
class ItemctlNamesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void names_data()
    {
        const Rows<QString, Wanted, QString> row("name", "wanted", "address");
        row("id on one server", "deviceConnStatus", Wanted::Any, ":result:other:sync:deviceConnStatus:");
        row("module tells servers apart", "sync:enabled", Wanted::Valued, ":config:other:sync:enabled:");
        row("address", ":config:host:bluetooth:enabled:", Wanted::Any, ":config:host:bluetooth:enabled:");
        row("instance", "pairlistAddr:2", Wanted::Any, ":result:host:bluetooth:pairlistAddr:2:");
        row("instance with module", "bluetooth:pairlistAddr:0", Wanted::Valued,
            ":result:host:bluetooth:pairlistAddr:0:");
        row("a value is wanted", "scan", Wanted::Valued, ":result:host:bluetooth:scan:");
        row("an action is wanted", "scan", Wanted::Action, ":action:host:bluetooth:scan:");
        row("only an action is there", "connectAddr", Wanted::Valued, ":action:host:bluetooth:connectAddr:");
    }

    void names()
    {
        QFETCH(QString, name);
        QFETCH(Wanted, wanted);
        const auto found = itemctl::findItem(items(), name, wanted);
        QVERIFY2(found, qPrintable(problemOf(found)));
        QTEST(items()[*found].address, "address");
    }

    void misses_data()
    {
        const Rows<QString, Wanted, QString> row("name", "wanted", "message");
        row("several servers", "enabled", Wanted::Valued,
            ":config:host:bluetooth:enabled:, :config:other:sync:enabled:");
        row("several kinds", "scan", Wanted::Any, ":action:host:bluetooth:scan:");
        row("swapped letters", "enalbed", Wanted::Any, "did you mean \"enabled\"?");
        row("other case", "CONNECTADDR", Wanted::Action, "did you mean \"connectAddr\"?");
        row("with its module", "bluetoth:scan", Wanted::Any, "did you mean \"bluetooth:scan\"?");
        row("nothing near", "volume", Wanted::Any, "\"itemctl list\" shows");
        row("list without index", "pairlistAddr", Wanted::Any, "pairlistAddr:0 to pairlistAddr:2");
        row("index out of range", "pairlistAddr:3", Wanted::Any, "no item \"pairlistAddr:3\"");
        row("no action", "deviceConnStatus", Wanted::Action, "is a result, not an action");
        row("control characters", "\x1b[2J", Wanted::Any, "\\x1b[2J");
    }

    void misses()
    {
        QFETCH(QString, name);
        QFETCH(Wanted, wanted);
        QFETCH(QString, message);
        const auto found = itemctl::findItem(items(), name, wanted);
        QVERIFY(!found);
        QCOMPARE(found.error().kind, base::Failure::NoSuchItem);
        QVERIFY2(found.error().text.contains(message), qPrintable(found.error().text));
    }

    void tellsSixAtMost()
    {
        Items all;
        for (const char* server : { "a", "b", "c", "d", "e", "f", "g" }) {
            all += item("config", server, "bluetooth", "enabled");
            const auto found = itemctl::findItem(all, "enabled", Wanted::Any);
            if (all.size() < 2) {
                continue;
            }
            const QString addresses = found.error().text.section(": ", 1);
            QCOMPARE(addresses.count(":config:"), std::min(all.size(), 6));
            QCOMPARE(addresses.section(", ", 6), all.size() > 6 ? "1 more" : "");
        }
    }

    void patterns_data()
    {
        const Rows<QStringList, QString, QStringList> row("patterns", "positions", "left");
        const QStringList none;
        row("none: all", none, "0 1 2 3 4 5 6 7 8 9", none);
        row("id", { "pairlist*" }, "3 4 5", none);
        row("module", { "sync:*" }, "7 8 9", none);
        row("period in front", { "?internal" }, "9", none);
        row("module and id", { "blue*:*Addr" }, "3 4 5 6", none);
        row("instance", { "pairlistAddr:[12]" }, "4 5", none);
        row("all instances", { "bluetooth:pairlistAddr:*" }, "3 4 5", none);
        row("address", { ":action:*:bluetooth:*" }, "2 6", none);
        row("order and no doubles", { "scan", "enabled", "s?an" }, "0 1 2 7", none);
        row("case counts", { "Scan", "scan" }, "1 2", { "Scan" });
        row("not a part of an id", { "pairlist" }, "", { "pairlist" });
    }

    void patterns()
    {
        QFETCH(QStringList, patterns);
        const Items all = items();
        QStringList positions;
        for (const Item& found : itemctl::matching(all, patterns)) {
            for (int i = 0; i < all.size(); ++i) {
                if (all[i].address == found.address) {
                    positions += QString::number(i);
                }
            }
        }
        QTEST(positions.join(' '), "positions");
        QTEST(itemctl::unmatched(all, patterns), "left");
    }
};

QTEST_GUILESS_MAIN(ItemctlNamesTest)
#include "ItemctlNamesTest.moc"
