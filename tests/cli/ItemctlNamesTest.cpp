#include "ItemNames.h"

#include <QTest>

using itemctl::Item;
using itemctl::Items;
using itemctl::Wanted;

/// Which items a name or a pattern means, among those of two servers.
class ItemctlNamesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void names_data();
    void names();
    void misses_data();
    void misses();
    void patterns_data();
    void patterns();
};

Q_DECLARE_METATYPE(Wanted)

namespace {

Item item(const char* kind, const char* server, const char* module, const char* id)
{
    Item made;
    made.kind = kind;
    made.server = server;
    made.module = module;
    made.id = id;
    made.address = QStringLiteral(":%1:%2:%3:%4:").arg(kind, server, module, id);
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
        instance.address += QString::number(index) + QLatin1Char(':');
        all += instance;
    }
    all += item("action", "host", "bluetooth", "connectAddr");
    all += item("config", "other", "sync", "enabled");
    all += item("result", "other", "sync", "deviceConnStatus");
    return all;
}

} // namespace

void ItemctlNamesTest::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Wanted>("wanted");
    QTest::addColumn<QString>("address");
    QTest::newRow("id on one server")
        << "deviceConnStatus" << Wanted::Any << ":result:other:sync:deviceConnStatus:";
    QTest::newRow("module tells servers apart")
        << "sync:enabled" << Wanted::Valued << ":config:other:sync:enabled:";
    QTest::newRow("address") << ":config:host:bluetooth:enabled:" << Wanted::Any
                             << ":config:host:bluetooth:enabled:";
    QTest::newRow("instance") << "pairlistAddr:2" << Wanted::Any << ":result:host:bluetooth:pairlistAddr:2:";
    QTest::newRow("instance with module")
        << "bluetooth:pairlistAddr:0" << Wanted::Valued << ":result:host:bluetooth:pairlistAddr:0:";
    QTest::newRow("a value is wanted") << "scan" << Wanted::Valued << ":result:host:bluetooth:scan:";
    QTest::newRow("an action is wanted") << "scan" << Wanted::Action << ":action:host:bluetooth:scan:";
    QTest::newRow("only an action is there")
        << "connectAddr" << Wanted::Valued << ":action:host:bluetooth:connectAddr:";
}

void ItemctlNamesTest::names()
{
    QFETCH(QString, name);
    QFETCH(Wanted, wanted);
    const auto found = itemctl::findItem(items(), name, wanted);
    QVERIFY2(found, qPrintable(found.failure().message));
    QTEST(items()[*found].address, "address");
}

void ItemctlNamesTest::misses_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Wanted>("wanted");
    QTest::addColumn<QString>("message");
    QTest::newRow("several servers") << "enabled" << Wanted::Valued
                                     << ":config:host:bluetooth:enabled:, :config:other:sync:enabled:";
    QTest::newRow("several kinds") << "scan" << Wanted::Any << ":action:host:bluetooth:scan:";
    QTest::newRow("swapped letters") << "enalbed" << Wanted::Any << "did you mean \"enabled\"?";
    QTest::newRow("other case") << "CONNECTADDR" << Wanted::Action << "did you mean \"connectAddr\"?";
    QTest::newRow("with its module") << "bluetoth:scan" << Wanted::Any << "did you mean \"bluetooth:scan\"?";
    QTest::newRow("nothing near") << "volume" << Wanted::Any << "\"itemctl list\" shows";
    QTest::newRow("list without index")
        << "pairlistAddr" << Wanted::Any << "pairlistAddr:0 to pairlistAddr:2";
    QTest::newRow("index out of range") << "pairlistAddr:3" << Wanted::Any << "no item \"pairlistAddr:3\"";
    QTest::newRow("no action") << "deviceConnStatus" << Wanted::Action << "is a result, not an action";
    QTest::newRow("control characters") << "\x1b[2J" << Wanted::Any << R"("\x1b[2J")";
}

void ItemctlNamesTest::misses()
{
    QFETCH(QString, name);
    QFETCH(Wanted, wanted);
    QFETCH(QString, message);
    const auto found = itemctl::findItem(items(), name, wanted);
    QVERIFY(!found);
    QCOMPARE(found.failure().status, itemctl::ExitStatus::NoSuchItem);
    QVERIFY2(found.failure().message.contains(message), qPrintable(found.failure().message));
}

void ItemctlNamesTest::patterns_data()
{
    QTest::addColumn<QStringList>("patterns");
    QTest::addColumn<QString>("positions");
    QTest::addColumn<QStringList>("left");
    const QStringList none;
    QTest::newRow("none: all") << none << "0 1 2 3 4 5 6 7 8" << none;
    QTest::newRow("id") << QStringList{ "pairlist*" } << "3 4 5" << none;
    QTest::newRow("module") << QStringList{ "sync:*" } << "7 8" << none;
    QTest::newRow("module and id") << QStringList{ "blue*:*Addr" } << "3 4 5 6" << none;
    QTest::newRow("instance") << QStringList{ "pairlistAddr:[12]" } << "4 5" << none;
    QTest::newRow("all instances") << QStringList{ "bluetooth:pairlistAddr:*" } << "3 4 5" << none;
    QTest::newRow("address") << QStringList{ ":action:*:bluetooth:*" } << "2 6" << none;
    QTest::newRow("order and no doubles") << QStringList{ "scan", "enabled", "s?an" } << "0 1 2 7" << none;
    QTest::newRow("case counts") << QStringList{ "Scan", "scan" } << "1 2" << QStringList{ "Scan" };
    QTest::newRow("not a part of an id") << QStringList{ "pairlist" } << "" << QStringList{ "pairlist" };
}

void ItemctlNamesTest::patterns()
{
    QFETCH(QStringList, patterns);
    const Items all = items();
    QStringList positions;
    for (const Item& found : itemctl::matching(all, patterns)) {
        for (int i = 0; i < all.size(); ++i) {
            if (all[i].address == found.address)
                positions += QString::number(i);
        }
    }
    QTEST(positions.join(' '), "positions");
    QTEST(itemctl::unmatched(all, patterns), "left");
}

QTEST_GUILESS_MAIN(ItemctlNamesTest)
#include "ItemctlNamesTest.moc"
