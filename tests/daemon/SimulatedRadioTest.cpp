// The simulated radio with its clock driven by hand: what the daemon tells, and when, to the millisecond.
#include "SimulatedRadio.h"
#include "DaemonService.h"
#include "ScenarioReader.h"
#include "SimulationClock.h"
#include "Timeline.h"
#include "support/Rows.h"

#include <QMetaEnum>
#include <QtTest>

class SimulatedRadioTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tells_data();
    void tells();
};

namespace {

using namespace std::chrono_literals;

QByteArray scenarioOf(const QByteArray& lamp, const QByteArray& events)
{
    return QByteArray(R"({ "devices": [ { "address": "0A:00:00:00:00:01", "name": "Lamp" )") + lamp
        + R"( }, { "address": "0A:00:00:00:00:02", "name": "Eye", "paired": true, "is": ["wifed"] } ],
           "timeline": [ )"
        + events + " ] }";
}

/// A radio that is on and has its pairings. Time counts from then on.
class Stage
{
public:
    explicit Stage(const bt::Scenario& scenario);
    /// Words: what happens to the lamp, or with a "2" behind it to the other device; "+5" lets 5 s pass.
    void play(const QString& script);
    QStringList told;

private:
    base::Result<> act(QString word);
    void note(const QString& what)
    {
        told << QString::number(static_cast<double>((m_clock.now() - m_begin).count()) / 1000) + ' ' + what;
    }
    template <typename Signal>
    void note(Signal signal, const char* what)
    {
        QObject::connect(&m_service, signal, &m_service, [this, what] { note(QString::fromLatin1(what)); });
    }

    bt::SimulationClock m_clock{ 1, true };
    bt::SimulatedRadio m_radio;
    bt::DaemonService m_service;
    bt::Timeline m_timeline;
    std::chrono::milliseconds m_begin{ 0 };
    QString m_device; ///< that is being paired
};

Stage::Stage(const bt::Scenario& scenario)
    : m_radio({}, bt::Room(scenario.devices), m_clock, 1)
    , m_service(m_radio)
    , m_timeline(scenario.timeline, m_radio, m_clock)
{
    using bt::DaemonService;
    m_radio.pairAsInRoom();
    m_radio.start();
    m_clock.advance(500ms);
    m_begin = m_clock.now();
    QObject::connect(&m_service, &DaemonService::pendingPairChanged, &m_service,
                     [this](const QDBusVariant& device) { m_device = device.variant().toString(); });
    QObject::connect(&m_service, &DaemonService::pairStateChanged, &m_service, [this] {
        // Whoever waits for the state finds device and code in place.
        note(QStringLiteral("pairing %1 %2 %3")
                 .arg(QString::number(m_service.pairState()), m_device, m_service.confirmationCode())
                 .trimmed());
    });
    QObject::connect(&m_service, &DaemonService::pairListChanged, &m_service, [this] {
        QStringList list;
        for (const PairEntry& entry : m_service.pairList().entries) {
            list << entry.name + '=' + QString::number(entry.connectionState);
        }
        note(list.join('&'));
    });
    QObject::connect(&m_service, &DaemonService::scanStateChanged, &m_service,
                     [this] { note(QStringLiteral("scan %1").arg(m_service.scanState())); });
    QObject::connect(&m_service, &DaemonService::statusChanged, &m_service,
                     [this] { note(QStringLiteral("status %1").arg(m_service.status())); });
    note(&DaemonService::connectionEstablished, "up");
    note(&DaemonService::deviceDisconnected, "down");
    note(&DaemonService::headsetConnected, "headset");
    note(&DaemonService::mtConnectionEstablished, "app");
    for (const auto signal :
         { &DaemonService::wifedCmdCtlSockAvailable, &DaemonService::wifedCmdCtlSockClosed }) {
        QObject::connect(&m_service, signal, &m_service,
                         [this] { note("sockets " + m_service.wifedsConnected()); });
    }
}

base::Result<> Stage::act(QString word)
{
    using Radio = bt::SimulatedRadio;
    using OfDevice = base::Result<> (Radio::*)(qulonglong);
    static const QHash<QString, OfDevice> OfDevices{
        { "pair", &Radio::pair },
        { "unpair", &Radio::unpair },
        { "connect", &Radio::connectDevice },
        { "disconnect", &Radio::disconnectDevice },
        // What the device does by itself.
        { "joins", &Radio::deviceConnects },
        { "drops", &Radio::deviceDrops },
        { "asks", &Radio::deviceAsksToPair },
        { "leaves", &Radio::removeDevice },
    };
    using Alone = base::Result<> (Radio::*)();
    static const QHash<QString, Alone> Others{
        { "scan", &Radio::scan },           { "cancel", &Radio::cancelScan },
        { "killiap", &Radio::killIap },     { "decline", &Radio::pinDecline },
        { "confirm", &Radio::confirmCode }, { "reject", &Radio::rejectCode },
    };
    using WithText = base::Result<> (Radio::*)(const QString&);
    static const QHash<QString, WithText> Texts{
        { "pin", &Radio::pinReply },
        { "register", &Radio::registerRfcommUuid },
        { "unregister", &Radio::unregisterRfcommUuid },
    };
    const QString argument = word.section(':', 1);
    word = word.section(':', 0, 0);
    const qulonglong device = word.endsWith('2') ? 0x0A0000000002 : 0x0A0000000001;
    if (word.endsWith('2')) {
        word.chop(1);
    }
    if (const OfDevice method = OfDevices.value(word)) {
        return (m_radio.*method)(device);
    }
    if (const Alone method = Others.value(word)) {
        return (m_radio.*method)();
    }
    if (const WithText method = Texts.value(word)) {
        return (m_radio.*method)(argument);
    }
    if (word == "moves") {
        return m_radio.moveDevice(device, argument.toInt(), 10s);
    }
    if (word == "refuses") {
        return m_radio.deviceAnswers(device, false);
    }
    if (word == "strength") {
        note(QString::number(m_radio.room().find(device)->signalStrengthAt(m_clock.now())));
    }
    return word == "on" || word == "off" ? m_radio.setPowered(word == "on") : base::Result<>();
}

void Stage::play(const QString& script)
{
    for (const QString& word : script.split(' ')) {
        if (word.startsWith('+')) {
            m_clock.advance(std::chrono::milliseconds(qRound(word.toDouble() * 1000)));
        } else if (const base::Result<> done = act(word); !done) {
            note(QMetaEnum::fromType<base::Failure>().valueToKey(static_cast<int>(done.error().kind)));
        }
    }
}

} // namespace

void SimulatedRadioTest::tells_data()
{
    const Rows<QByteArray, QString, QString> row("scenario", "script", "told");
    const auto lamp = [&row](const char* name, const QByteArray& members, const char* script,
                             const QByteArray& told, const char* events = "") {
        row(name, scenarioOf(members, events), script, told);
    };
    const QByteArray code = R"(, "pairing": "code", "code": "271828")";
    const QByteArray unknown = "0 pairing 1 `,.\";00! - 0A:00:00:00:00:01, ";
    lamp("nobody confirms", code, "pair +60.7 +0.1", unknown + "0.8 pairing 4 Lamp 271828, 60.8 pairing 201");
    lamp("nobody confirms without a code", R"(, "pairing": "confirmation")", "pair +61",
         unknown + "0.8 pairing 5 Lamp, 60.8 pairing 201");
    lamp("nobody types the PIN", R"(, "pairing": "pin", "pin": "1")", "pair +61",
         unknown + "0.8 pairing 3 Lamp, 60.8 pairing 201");
    lamp("answered in time", R"(, "pairing": "pin", "pin": "1")", "pair +60 pin:1 +61",
         unknown + "0.8 pairing 3 Lamp, 60 pairing 6 Lamp, 60.6 Eye=0&Lamp=0, 60.6 pairing 100");
    lamp("a refusal, then a page timeout", R"(, "pairing": "out-of-reach")", "pair +1 refuses +10",
         unknown + "1 pairing 201");
    lamp("page timeout", R"(, "pairing": "out-of-reach")", "pair +10", unknown + "5.12 pairing 202");
    lamp("it asks, with its name, and ends a scan", code, "scan asks +1",
         "0 scan 1, 0 scan 2, 0 pairing 2 Lamp, 0.8 pairing 4 Lamp 271828");
    lamp("confirmed", code, "pair +1 confirm +1",
         unknown + "0.8 pairing 4 Lamp 271828, 1 pairing 6 Lamp, 1.6 Eye=0&Lamp=0, 1.6 pairing 100");
    lamp("rejected, and no more to say", R"(, "pairing": "confirmation")", "pair +1 reject confirm reject +1",
         unknown + "0.8 pairing 5 Lamp, 1 pairing 200, 1 NothingPending, 1 NothingPending");
    lamp("declined", R"(, "pairing": "pin", "pin": "1")", "pair +1 decline pin:1 decline +1",
         unknown + "0.8 pairing 3 Lamp, 1 pairing 200, 1 NothingPending, 1 NothingPending");
    lamp("wrong PIN", R"(, "pairing": "pin", "pin": "1")", "pair +1 pin:2 +1",
         unknown + "0.8 pairing 3 Lamp, 1 pairing 6 Lamp, 1.6 pairing 201");
    lamp("just works", "", "pair +2", unknown + "0.8 pairing 6 Lamp, 1.4 Eye=0&Lamp=0, 1.4 pairing 100");
    lamp("refused over there", R"(, "pairing": "refuses")", "pair +2", unknown + "1.7 pairing 201");
    lamp("called while it is away", "", "leaves pair +6", unknown + "5.12 pairing 202");
    lamp("one thing at a time", code, "scan scan pair scan pair2 +0.1 asks",
         "0 scan 1, 0 InProgress, 0 scan 2, " + unknown + "0 InProgress, 0 InProgress, 0.1 InProgress");
    lamp("switched off meanwhile", code, "pair +1 off confirm +1 pair scan connect joins2 asks on +1",
         unknown
             + "0.8 pairing 4 Lamp 271828, 1 pairing 0, 1 status 4, 1 NothingPending, 1.2 status 1, "
               "2 NotReady, 2 NotReady, 2 NotReady, 2 NotReady, 2 NotReady, 2 status 2, 2.5 status 3");
    lamp("paired already", "", "pair2", "0 pairing 100");
    lamp("unasked", "", "pin:1 decline confirm reject cancel",
         "0 NothingPending, 0 NothingPending, 0 NothingPending, 0 NothingPending, 0 NothingPending");
    lamp("it asks though it is paired", "", "asks2", "0 Failed");

    const QByteArray paired = R"(, "paired": true)";
    lamp("a connection takes its time", paired, "connect +0.5 connect +1",
         "0.5 InProgress, 0.7 Lamp=1&Eye=0, 0.7 up");
    lamp("a connection is called off", paired, "connect +0.5 disconnect +10 disconnect", "10.5 NotConnected");
    lamp("a connection when switched off", paired, "connect off +10", "0 status 4, 0.2 status 1");
    lamp("out of reach", R"(, "paired": true, "pairing": "out-of-reach")", "connect +5.1 connect +1 connect",
         "5.1 InProgress");
    lamp("gone meanwhile", paired, "connect +0.5 leaves +1", "");
    lamp("connected already", paired, "joins joins connect +1", "0 Lamp=1&Eye=0, 0 up");
    lamp("it goes away", paired, "joins +1 leaves", "0 Lamp=1&Eye=0, 0 up, 1 Lamp=0&Eye=0, 1 down");
    lamp("its own end, a headset", R"(, "paired": true, "is": ["headset", "app"])", "joins drops drops",
         "0 Lamp=4&Eye=0, 0 up, 0 headset, 0 app, 0 Lamp=0&Eye=0, 0 down, 0 NotConnected");
    lamp("two with a socket", R"(, "paired": true, "is": ["wifed"])", "joins joins2 drops drops2",
         "0 Lamp=1&Eye=0, 0 up, 0 sockets 0A:00:00:00:00:01, "
         "0 Lamp=1&Eye=1, 0 up, 0 sockets 0A:00:00:00:00:01,0A:00:00:00:00:02, "
         "0 Lamp=0&Eye=1, 0 sockets 0A:00:00:00:00:02, 0 down, 0 Lamp=0&Eye=0, 0 sockets , 0 down");
    lamp("iOS accessories alone", R"(, "paired": true, "is": ["ios"])", "joins joins2 killiap",
         "0 Lamp=2&Eye=0, 0 up, 0 Lamp=2&Eye=1, 0 up, 0 sockets 0A:00:00:00:00:02, 0 Lamp=0&Eye=1, 0 down");
    lamp("the end of all", R"(, "paired": true, "is": ["ftp"])", "joins joins2 scan off +0.2",
         "0 Lamp=8&Eye=0, 0 up, 0 Lamp=8&Eye=1, 0 up, 0 sockets 0A:00:00:00:00:02, 0 scan 1, 0 scan 2, "
         "0 Lamp=0&Eye=1, 0 down, 0 Lamp=0&Eye=0, 0 sockets , 0 down, 0 status 4, 0.2 status 1");
    lamp("unpaired while connected", paired, "joins unpair unpair",
         "0 Lamp=1&Eye=0, 0 up, 0 Lamp=0&Eye=0, 0 down, 0 Eye=0, 0 NotPaired");
    lamp("moves from where it is", "", "moves:-90 +5 strength moves:-60 strength +10 strength",
         "5 -75, 5 -75, 15 -60");
    lamp("one UUID twice", "", "register:a register:a unregister:a unregister:a",
         "0 AlreadyRegistered, 0 NotRegistered");
    lamp("events happen once", paired, "+2 drops off +1 on +5",
         "1 Lamp=1&Eye=0, 1 up, 2 Lamp=0&Eye=0, 2 down, 2 status 4, 2.2 status 1, 3 status 2, 3.5 status 3",
         R"({ "after": 1, "connect": "Lamp" })");
}

void SimulatedRadioTest::tells()
{
    QFETCH(QByteArray, scenario);
    QFETCH(QString, script);
    QFETCH(QString, told);
    const auto read = bt::readScenario(scenario);
    QVERIFY(std::holds_alternative<bt::Scenario>(read));
    Stage stage(std::get<bt::Scenario>(read));
    stage.play(script);
    QCOMPARE(stage.told.join(", "), told);
}

QTEST_GUILESS_MAIN(SimulatedRadioTest)
#include "SimulatedRadioTest.moc"
