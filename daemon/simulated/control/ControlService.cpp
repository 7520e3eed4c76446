#include "ControlService.h"

#include "AddressHelper.h"
#include "BusFront.h"
#include "ControlNames.h"
#include "DeviceRecord.h"
#include "NearestWord.h"
#include "Quantities.h"
#include "Quoted.h"
#include "ScenarioReader.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"
#include "simulationadaptor.h"

#include <QDBusMessage>
#include <QDBusMetaType>

namespace bt {

namespace {

double seconds(std::chrono::milliseconds time)
{
    return static_cast<double>(time.count()) / 1000;
}

bool isDuration(double seconds)
{
    return seconds >= 0 && seconds <= LongestTime;
}

} // namespace

ControlService::ControlService(SimulatedRadio* radio, BusFront& front, SimulationClock& clock)
    : m_radio(radio)
    , m_front(front)
    , m_clock(clock)
{
    qDBusRegisterMetaType<QList<QVariantMap>>();
    new SimulationAdaptor(this);
}

base::Result<> ControlService::publish(QDBusConnection bus)
{
    if (bus.registerObject(controlPath(), this) && bus.registerService(controlService())) {
        return {};
    }
    return base::error(QStringLiteral("the name %1 cannot be had; only one simulation can run on a bus")
                           .arg(controlService()));
}

double ControlService::time() const
{
    return seconds(m_clock.now());
}

bool ControlService::isPaused() const
{
    return m_clock.isPaused();
}

void ControlService::setPaused(bool paused)
{
    paused ? m_clock.pause() : m_clock.resume();
}

double ControlService::speed() const
{
    return m_clock.scale();
}

void ControlService::refuse(const char* error, const QString& text)
{
    sendErrorReply(controlError(error), text);
}

void ControlService::answer(const base::Result<>& done)
{
    if (!done) {
        refuse("Refused", done.error().text);
    }
}

bool ControlService::hasRadio()
{
    if (m_radio == nullptr) {
        refuse("Refused", QStringLiteral("a recording is played; there are no devices"));
    }
    return m_radio != nullptr;
}

// An error was answered when it is 0.
qulonglong ControlService::find(const QString& device)
{
    const auto& devices = m_radio->room().devices();
    const qulonglong address = AddressHelper::str2int(device);
    if (devices.count(address) != 0 && AddressHelper::int2str(address) == device.toUpper()) {
        return address;
    }
    const bool meansAddress = device.contains(QLatin1Char(':'));
    QList<qulonglong> found;
    QStringList words;
    for (const auto& [key, value] : devices) {
        words << (meansAddress || value.name.isEmpty() ? AddressHelper::int2str(key) : value.name);
        if (value.name == device && !device.isEmpty()) {
            found << key;
        }
    }
    if (found.size() == 1) {
        return found.first();
    }
    const QString quoted = base::quoted(device);
    const QString nearest = base::nearestWord(device, words);
    refuse(
        "NoSuchDevice",
        !found.isEmpty() ? QStringLiteral("several devices are called %1; give an address").arg(quoted)
            : nearest.isEmpty()
            ? QStringLiteral("there is no device %1").arg(quoted)
            : QStringLiteral("there is no device %1; did you mean %2?").arg(quoted, base::quoted(nearest)));
    return 0;
}

template <typename Change>
void ControlService::change(const QString& device, Change change)
{
    if (!hasRadio()) {
        return;
    }
    const qulonglong address = find(device);
    if (address != 0) {
        answer(change(address));
    }
}

QList<QVariantMap> ControlService::Devices()
{
    QList<QVariantMap> records;
    if (hasRadio()) {
        for (const auto& [address, device] : m_radio->room().devices()) {
            records << deviceRecord(device, *m_radio, m_clock.now());
        }
    }
    return records;
}

void ControlService::AddDevice(const QString& description)
{
    if (!hasRadio()) {
        return;
    }
    if (const auto device = readDevice(description.toUtf8())) {
        answer(m_radio->addDevice(*device));
    } else {
        refuse("InvalidArgument", device.error().text);
    }
}

void ControlService::RemoveDevice(const QString& device)
{
    change(device, [this](qulonglong address) { return m_radio->removeDevice(address); });
}

void ControlService::ReturnDevice(const QString& device)
{
    change(device, [this](qulonglong address) { return m_radio->returnDevice(address); });
}

void ControlService::MoveDevice(const QString& device, int rssi, double seconds)
{
    if (rssi < WeakestSignal || rssi > StrongestSignal || !isDuration(seconds)) {
        refuse("InvalidArgument",
               QStringLiteral("a signal strength is from -127 to 20 dBm, and a time from 0 to 86400 s"));
        return;
    }
    change(device,
           [&](qulonglong address) { return m_radio->moveDevice(address, rssi, milliseconds(seconds)); });
}

void ControlService::DropDevice(const QString& device)
{
    change(device, [this](qulonglong address) { return m_radio->deviceDrops(address); });
}

void ControlService::ConnectDevice(const QString& device)
{
    change(device, [this](qulonglong address) { return m_radio->deviceConnects(address); });
}

void ControlService::RequestPairing(const QString& device)
{
    change(device, [this](qulonglong address) { return m_radio->deviceAsksToPair(address); });
}

void ControlService::AnswerPairing(const QString& device, bool accepts)
{
    change(device, [&](qulonglong address) { return m_radio->deviceAnswers(address, accepts); });
}

void ControlService::SetFault(const QStringList& fault)
{
    if (const auto understood = Fault::parse(fault)) {
        m_front.apply(*understood);
    } else {
        refuse("InvalidArgument", understood.error().text);
    }
}

QList<QVariantMap> ControlService::Faults()
{
    return m_front.faults().records();
}

QList<QVariantMap> ControlService::Calls()
{
    QList<QVariantMap> records;
    for (const DaemonCall& call : m_front.calls()) {
        records << QVariantMap{ { QStringLiteral("time"), seconds(call.time) },
                                { QStringLiteral("member"), call.member },
                                { QStringLiteral("arguments"), call.arguments } };
    }
    return records;
}

void ControlService::Step(double seconds)
{
    if (!isDuration(seconds)) {
        refuse("InvalidArgument", QStringLiteral("a step is from 0 to 86400 s"));
        return;
    }
    m_clock.advance(milliseconds(seconds));
    m_front.sync(); // after a handover others may ask on another connection
}

// No property, which could not say why it does not take a value.
void ControlService::SetSpeed(double speed)
{
    if (speed > 0 && speed <= SimulationClock::LargestScale) {
        m_clock.setScale(speed);
    } else {
        refuse("InvalidArgument", QStringLiteral("a speed is above 0 and at most 1000000"));
    }
}

} // namespace bt
