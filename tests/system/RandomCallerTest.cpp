// Calls everything that host and radio offer on their buses, with everything.
#include "RandomValues.h"
#include "SystemTest.h"
#include "client/KELClientInterface.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QXmlStreamReader>

#include <vector>

namespace {

struct Method
{
    QDBusConnection bus;
    QString service, path, interface, name;
    QStringList signatures; ///< of its arguments
};

int fromEnvironment(const char* name, int otherwise)
{
    bool isSet = false;
    const int number = qEnvironmentVariableIntValue(name, &isSet);
    return isSet ? number : otherwise;
}

QDBusMessage callTo(const Method& method)
{
    return QDBusMessage::createMethodCall(method.service, method.path, method.interface, method.name);
}

/// What an object and those below it offer. @param names takes the names that stand there
void addMethods(Method at, std::vector<Method>& methods, QStringList& names)
{
    at.interface = "org.freedesktop.DBus.Introspectable";
    at.name = "Introspect";
    const QDBusReply<QString> description = at.bus.call(callTo(at));
    QXmlStreamReader xml(description.value());
    const QString folder = at.path;
    bool isMethod = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QString name = xml.attributes().value("name").toString();
        names << name;
        if (xml.name() == "interface") {
            at.interface = name;
        } else if (xml.name() == "node" && !name.isEmpty()) {
            Method below = at;
            below.path = (folder == "/" ? QString() : folder) + '/' + name;
            addMethods(below, methods, names);
        } else if (xml.name() == "arg" && isMethod && xml.attributes().value("direction") != "out") {
            methods.back().signatures << xml.attributes().value("type").toString();
        } else if (xml.name() != "arg" && xml.name() != "annotation") {
            isMethod = xml.name() == "method" && name != "SetFault"; // which is there to do harm
            if (isMethod) {
                at.name = name;
                methods.push_back(at);
            }
        }
    }
}

} // namespace

class RandomCallerTest : public SystemTest
{
    Q_OBJECT

public:
    using SystemTest::SystemTest;

private Q_SLOTS:
    void hostAndRadioStay()
    {
        m_world.setPatience(std::chrono::minutes(1)); // for valgrind as well
        QVERIFY2(m_world.start() && m_world.startOwnDaemon() && m_world.step(1)
                     && m_world.waitFor("status", "3"),
                 why());
        const pid_t host = m_world.hostPid();
        std::vector<Method> methods;
        QStringList names;
        for (const QDBusConnection& bus : { QDBusConnection::sessionBus(), QDBusConnection::systemBus() }) {
            for (const QString& service : bus.interface()->registeredServiceNames().value()) {
                if (!service.startsWith(':') && service != "org.freedesktop.DBus") {
                    addMethods({ bus, service, "/", {}, {}, {} }, methods, names);
                }
            }
        }
        const auto list = m_world.client().list();
        QVERIFY2(list, why());
        for (const ipc::ItemRecord& item : list->items) {
            names << item.address << item.properties.value("id").toString();
        }
        QVERIFY2(methods.size() > 40, qPrintable(QString::number(methods.size())));

        const int count = fromEnvironment("RANDOM_CALLS", 1500);
        const int seed = fromEnvironment("RANDOM_SEED", 1);
        RandomValues random(static_cast<unsigned>(seed), names);
        constexpr std::size_t AtOnce = 50;
        int done = 0; // the others are refused
        std::vector<std::pair<QString, QDBusPendingCall>> open;
        for (int i = 1; i <= count; ++i) {
            const Method& method = methods.at(random.below(methods.size()));
            QDBusMessage call = callTo(method);
            call.setArguments(random.values(method.signatures));
            const QString what =
                QString("seed %1, call %2: %3.%4")
                    .arg(QString::number(seed), QString::number(i), method.interface, method.name);
            open.emplace_back(what, method.bus.asyncCall(call, 60'000));
            if (open.size() < AtOnce && i != count) {
                continue;
            }
            for (auto& [sent, answer] : open) {
                answer.waitForFinished();
                QVERIFY2(answer.error().type() != QDBusError::NoReply, qPrintable(sent));
                done += answer.isError() ? 0 : 1;
            }
            open.clear();
            QCOMPARE(m_world.hostPid(), host);
            QVERIFY2(m_world.ask("Calls").type() == QDBusMessage::ReplyMessage, qPrintable(what));
        }
        QVERIFY(m_world.client().list());
        QVERIFY2(done > count / 4, qPrintable(QString::number(done)));
    }
};

BLUETOOTH_TESTKIT_MAIN(RandomCallerTest)
#include "RandomCallerTest.moc"
