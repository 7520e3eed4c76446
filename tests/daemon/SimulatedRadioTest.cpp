// The simulated radio with its clock driven by hand: what the daemon tells, and when, to the millisecond.
#include "SimulatedRadio.h"
#include "DaemonService.h"
#include "Faults.h"
#include "ScenarioFiles.h"
#include "ScenarioReader.h"
#include "SimulationClock.h"
#include "Timeline.h"
#include "support/ProblemOf.h"
#include "support/Rows.h"
#include "support/TableFile.h"

#include <QMetaEnum>
#include <QtTest>

class SimulatedRadioTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tells_data();
    void tells();
    void silencesAProperty();
};

namespace {

using namespace std::chrono_literals;

/// The lamp and the other device, or what a file that is shipped has instead.
QByteArray scenarioOf(const TableCase& radio)
{
    if (const QString shipped = radio["scenario"]; !shipped.isEmpty()) {
        QFile file(*bt::findScenario(shipped));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    const QString lamp = radio["lamp"].isEmpty() ? QString() : ", " + radio["lamp"];
    return R"({ "devices": [ { "address": "0A:00:00:00:00:01", "name": "Lamp" )" + lamp.toUtf8()
        + R"( }, { "address": "0A:00:00:00:00:02", "name": "Eye", "paired": true, "is": ["wifed"] } ],
           "timeline": [ )"
        + radio["event"].toUtf8() + " ] }";
}

/// A radio that is on and has its pairings. Time counts from then on.
class Stage
{
public:
    Stage(const bt::Scenario& scenario, quint32 seed);
    /// Words: what happens to the lamp, or with a "2" behind it to the other device; "+5" lets 5 s pass.
    void play(const QString& script);
    QStringList told;
    QString why; ///< what failed last, as a person is told

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
    std::vector<bt::SimulatedDevice> m_devices;
    bt::DaemonService m_service;
    bt::Timeline m_timeline;
    std::chrono::milliseconds m_begin{ 0 };
    QString m_device; ///< that is being paired
};

Stage::Stage(const bt::Scenario& scenario, quint32 seed)
    : m_radio({}, bt::Room(scenario.devices), m_clock, seed)
    , m_devices(scenario.devices)
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
    QObject::connect(&m_service, &DaemonService::scanResultsChanged, &m_service, [this] {
        QStringList list;
        for (const ScanEntry& entry : m_service.scanResults().entries) {
            list << entry.name + ' ' + QString::number(entry.signalStrength);
        }
        note("found " + list.join(" & "));
    });
    QObject::connect(&m_service, &DaemonService::scanStateChanged, &m_service,
                     [this] { note(QStringLiteral("scan %1").arg(m_service.scanState())); });
    QObject::connect(&m_service, &DaemonService::statusChanged, &m_service,
                     [this] { note(QStringLiteral("status %1").arg(m_service.status())); });
    QObject::connect(&m_radio, &bt::Radio::failed, &m_service, [this](const QString& what) { why = what; });
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
    const qulonglong device = m_devices.at(word.endsWith('2') ? 1 : 0).address;
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
            const QLatin1String error(
                QMetaEnum::fromType<base::Failure>().valueToKey(static_cast<int>(done.error().kind)));
            note(error + ": " + done.error().text);
        }
    }
}

} // namespace

void SimulatedRadioTest::tells_data()
{
    const Rows<QByteArray, uint, QString, QString, QString> row("scenario", "seed", "script", "why", "told");
    const QList<TableCase> radios = readTable(RADIO_TELLS);
    QVERIFY(!radios.isEmpty());
    for (const TableCase& radio : radios) {
        row(radio.name.constData(), scenarioOf(radio), qMax(1U, radio["seed"].toUInt()), radio["play"],
            radio["why"], radio["told"]);
    }
}

void SimulatedRadioTest::tells()
{
    QFETCH(QByteArray, scenario);
    QFETCH(QString, script);
    QFETCH(QString, told);
    const auto read = bt::readScenario(scenario);
    QVERIFY2(read, qPrintable(problemOf(read)));
    QFETCH(uint, seed);
    Stage stage(*read, seed);
    stage.play(script);
    QCOMPARE(stage.told.join('\n'), told);
    QTEST(stage.why, "why");
}

// Two signals tell of one property.
void SimulatedRadioTest::silencesAProperty()
{
    bt::Faults faults;
    for (const char* property : { "wifedsConnected", "status" }) {
        faults.add(*bt::Fault::parse({ "silent-property", property }));
    }
    for (const char* name : { "wifedCmdCtlSockAvailable", "wifedCmdCtlSockClosed", "statusChanged" }) {
        QVERIFY2(faults.isSilent(name), name);
    }
    QVERIFY(!faults.isSilent("scanStateChanged"));
}

QTEST_GUILESS_MAIN(SimulatedRadioTest)
#include "SimulatedRadioTest.moc"
