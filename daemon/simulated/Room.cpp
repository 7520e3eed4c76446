#include "Room.h"

#include "RadioTypes.h"

namespace bt {

Room::Room(const std::vector<SimulatedDevice>& devices)
{
    for (const SimulatedDevice& device : devices) {
        m_devices.insert_or_assign(device.address, device);
    }
}

SimulatedDevice* Room::find(qulonglong address)
{
    const auto found = m_devices.find(address);
    return found == m_devices.end() ? nullptr : &found->second;
}

QString Room::knownName(qulonglong address) const
{
    const auto found = m_devices.find(address);
    return found != m_devices.end() && found->second.nameKnown ? found->second.name : QString();
}

void Room::learnName(qulonglong address)
{
    if (SimulatedDevice* device = find(address)) {
        device->nameKnown = true;
    }
}

namespace {

using Pairing = SimulatedDevice::Pairing;
using Answer = SimulatedDevice::Answer;

SimulatedDevice device(qulonglong address, const char* name, int signalStrength, Pairing pairing,
                       unsigned connection = Plain)
{
    SimulatedDevice result;
    result.address = address;
    result.name = QString::fromUtf8(name);
    result.signalStrength = signalStrength;
    result.pairing = pairing;
    result.connection = connection;
    return result;
}

SimulatedDevice withPin(SimulatedDevice device, const char* pin)
{
    device.pin = QString::fromLatin1(pin);
    return device;
}

SimulatedDevice withCode(SimulatedDevice device, const char* code)
{
    device.code = QString::fromLatin1(code);
    return device;
}

SimulatedDevice answering(SimulatedDevice device, Answer answer)
{
    device.answer = answer;
    return device;
}

SimulatedDevice companion(SimulatedDevice device)
{
    device.companion = true;
    return device;
}

SimulatedDevice wifed(SimulatedDevice device)
{
    device.wifed = true;
    return device;
}

} // namespace

Room Room::small()
{
    return Room({
        device(0x001122334401, "Phone", -48, Pairing::Code),
        device(0x001122334402, "Headset", -55, Pairing::JustWorks, Headset),
        withPin(device(0x001122334403, "Car Kit", -62, Pairing::Pin, Headset), "5190"),
        withPin(device(0x001122334404, "GPS Receiver", -70, Pairing::Pin), "1234"),
        answering(device(0x001122334405, "Locked Tablet", -66, Pairing::Code), Answer::Refuses),
        answering(device(0x001122334406, "Far Speaker", -91, Pairing::JustWorks, Headset),
                  Answer::OutOfReach),
        device(0x001122334407, "", -74, Pairing::JustWorks), // never tells a name
        companion(device(0x001122334408, "Companion Phone", -51, Pairing::Code, Iap)),
        device(0x001122334409, "Heart-rate Strap", -68, Pairing::SimpleConfirmation),
        withCode(device(0x00112233440A, "Notebook", -58, Pairing::Code, Ftp), "000000"),
        wifed(device(0x00112233440B, "Wi-FED", -64, Pairing::JustWorks)),
    });
}

} // namespace bt
