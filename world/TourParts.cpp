// The parts of the walk, in their order. The devices are those of the simulated radio's default room.
#include "Tour.h"

#include <unistd.h>

namespace world {

namespace {

const QString& pinDeviceName()
{
    static const QString name = QStringLiteral("Car Kit");
    return name;
}

const QString& codeDeviceName()
{
    static const QString name = QStringLiteral("Phone");
    return name;
}

Request call(const QString& action, const QString& text = {})
{
    return { Request::Kind::Call, action, text, {} };
}

Request set(const QString& item, const QString& value)
{
    return { Request::Kind::Set, item, value, {} };
}

Expectation isPaired(const QString& address)
{
    return rowExists(QStringLiteral("pairlistAddr"), address);
}

Expectation connection(const QString& address, bool connected)
{
    const QString key = QStringLiteral("pairlistAddr");
    const QString item = QStringLiteral("pairlistConnectionState");
    const QString none = QStringLiteral("Not Connected");
    Expectation expectation = rowIs(key, address, item, none);
    if (connected) {
        const Expectation apart = expectation;
        expectation.wanted = QStringLiteral("%1 of %2 is another than %3").arg(item, address, none);
        expectation.holds = [apart, key, address](const ItemMirror& items) {
            return items.row(key, address) >= 0 && !apart.holds(items);
        };
    }
    return expectation;
}

} // namespace

bool Tour::switchOn()
{
    return perform(
        { QStringLiteral("Switch the radio on"),
          QStringLiteral("With a fresh state the radio is off until somebody asks. The module starts the "
                         "controller program, and follows the daemon that then appears on the system bus."),
          set(QStringLiteral("enabled"), QStringLiteral("true")),
          { itemIs(QStringLiteral("enabled"), QStringLiteral("true")),
            itemIs(QStringLiteral("status"), QStringLiteral("On")) },
          QStringLiteral("The radio is on.") });
}

bool Tour::scan()
{
    const bool done = perform(
        { QStringLiteral("Look for devices"),
          QStringLiteral("The radio asks who is around. Each device that answers gets a row: its address, "
                         "its signal strength in dBm (nearer to 0 is stronger), and its name."),
          call(QStringLiteral("scan")),
          { itemIs(QStringLiteral("scanstate"), QStringLiteral("Scan Complete")),
            rowExists(QStringLiteral("scanresultsName"), pinDeviceName()),
            rowExists(QStringLiteral("scanresultsName"), codeDeviceName()) },
          QStringLiteral("The scan is complete.") });
    if (!done) {
        return false;
    }
    m_pinDevice = find(pinDeviceName());
    m_codeDevice = find(codeDeviceName());
    return !m_pinDevice.isEmpty() && !m_codeDevice.isEmpty();
}

bool Tour::pairByPin()
{
    const QString device = QStringLiteral("%1 (%2)").arg(pinDeviceName(), m_pinDevice);
    return perform({ QStringLiteral("Pair by PIN: %1").arg(device),
                     QStringLiteral(
                         "A device without a display has a fixed PIN, which its owner types here. The module "
                         "asks for it by \"pairstate\", and says by \"pendingpair\" who wants it."),
                     call(QStringLiteral("pair"), m_pinDevice),
                     { itemIs(QStringLiteral("pairstate"), QStringLiteral("PIN Needed")) },
                     QStringLiteral("%1 wants its PIN.").arg(pinDeviceName()) })
        && perform({ {},
                     QStringLiteral("The PIN is 5190, as the manual of the %1 says.").arg(pinDeviceName()),
                     call(QStringLiteral("pinreply"), QStringLiteral("5190")),
                     { itemIs(QStringLiteral("pairstate"), QStringLiteral("Paired")), isPaired(m_pinDevice) },
                     QStringLiteral("%1 is paired, and in the list of paired devices.").arg(device) });
}

bool Tour::pairByCode()
{
    const QString device = QStringLiteral("%1 (%2)").arg(codeDeviceName(), m_codeDevice);
    return perform({ QStringLiteral("Pair by code: %1").arg(device),
                     QStringLiteral(
                         "A device with a display shows six digits, and so do we: \"confirmationcode\". The "
                         "owner compares them, so that nobody in between can pretend to be the device."),
                     call(QStringLiteral("pair"), m_codeDevice),
                     { itemIs(QStringLiteral("pairstate"), QStringLiteral("Need Confirmation")),
                       itemIsNot(QStringLiteral("confirmationcode"), {}) },
                     QStringLiteral("%1 shows the same code and waits for us.").arg(codeDeviceName()) })
        && perform(
               { {},
                 QStringLiteral("The digits are the same on both sides, so we confirm."),
                 call(QStringLiteral("confirmcode")),
                 { itemIs(QStringLiteral("pairstate"), QStringLiteral("Paired")), isPaired(m_codeDevice) },
                 QStringLiteral("%1 is paired, too.").arg(device) });
}

bool Tour::connectDevice()
{
    return perform(
        { QStringLiteral("Connect to %1 (%2)").arg(pinDeviceName(), m_pinDevice),
          QStringLiteral("Paired devices know each other's keys; a connection carries data. The kind of "
                         "connection depends on what the device is."),
          call(QStringLiteral("connectAddr"), m_pinDevice),
          { connection(m_pinDevice, true),
            itemIs(QStringLiteral("isAnyDeviceConnected"), QStringLiteral("true")) },
          QStringLiteral("%1 is connected.").arg(pinDeviceName()) });
}

bool Tour::disconnectDevice()
{
    return perform({ QStringLiteral("Disconnect from %1 (%2)").arg(pinDeviceName(), m_pinDevice),
                     QStringLiteral("The link ends; the devices stay paired."),
                     call(QStringLiteral("disconnectAddr"), m_pinDevice),
                     { connection(m_pinDevice, false),
                       itemIs(QStringLiteral("isAnyDeviceConnected"), QStringLiteral("false")) },
                     QStringLiteral("%1 is paired, but not connected any more.").arg(pinDeviceName()) });
}

bool Tour::lendRadio()
{
    const QString action = QStringLiteral("requestBluetooth");
    const QString success = QStringLiteral("Success");
    const QString self = QString::number(getpid());
    return perform({ QStringLiteral("Lend the radio to another process"),
                     QStringLiteral(
                         "A process that needs the hardware for itself names its process id, here that of "
                         "this walk, and a 1. The module stops its controller; \"enabled\" keeps its value "
                         "but does not apply meanwhile. Whoever ends without giving the radio back loses "
                         "it within half a second."),
                     { Request::Kind::Call, action, self + QStringLiteral(",1"), success },
                     { itemIsNot(QStringLiteral("status"), QStringLiteral("On")),
                       itemApplies(QStringLiteral("enabled"), false) },
                     QStringLiteral(
                         "Process %1 has the radio, \"enabled\" does not apply, and all that the daemon "
                         "had reported is cleared.")
                         .arg(self) })
        && perform({ {},
                     QStringLiteral(
                         "With a 0 the process gives it back. The radio is still enabled, so the module "
                         "starts its controller again, and reads from the new daemon how things stand."),
                     { Request::Kind::Call, action, self + QStringLiteral(",0"), success },
                     { itemIs(QStringLiteral("status"), QStringLiteral("On")),
                       itemApplies(QStringLiteral("enabled"), true), isPaired(m_pinDevice),
                       isPaired(m_codeDevice) },
                     QStringLiteral("The module has the radio again and has switched it on; the controller "
                                    "has kept its pairings, so the list of paired devices is back.") });
}

bool Tour::unpair()
{
    return perform(
        { QStringLiteral("Unpair from %1 (%2)").arg(codeDeviceName(), m_codeDevice),
          QStringLiteral("The keys are forgotten; next time the two have to be paired anew. The rows of the "
                         "other devices close up."),
          call(QStringLiteral("unpair"), m_codeDevice),
          { rowIsGone(QStringLiteral("pairlistAddr"), m_codeDevice), isPaired(m_pinDevice) },
          QStringLiteral("%1 is not paired any more; %2 still is.").arg(codeDeviceName(), pinDeviceName()) });
}

bool Tour::switchOff()
{
    return perform(
        { QStringLiteral("Switch the radio off"),
          QStringLiteral("The module ends the controller and waits for it, then clears everything that the "
                         "daemon had reported."),
          set(QStringLiteral("enabled"), QStringLiteral("false")),
          { itemIs(QStringLiteral("enabled"), QStringLiteral("false")),
            itemIs(QStringLiteral("status"), QStringLiteral("No Device")) },
          QStringLiteral("The radio is off, and nothing is listed.") });
}

} // namespace world
