// The parts of the walk, in their order. The devices are those of the simulated radio's default room.
#include "Tour.h"

#include <unistd.h>

namespace world {

namespace {

const QLatin1String PinDevice("Car Kit");
const QLatin1String CodeDevice("Phone");

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
    return rowExists("pairlistAddr", address);
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
    return perform({ "Switch the radio on",
                     "With a fresh state the radio is off until somebody asks. The module starts the "
                     "controller program, and follows the daemon that then appears on the system bus.",
                     set("enabled", "true"),
                     { itemIs("enabled", "true"), itemIs("status", "On") },
                     "The radio is on." });
}

bool Tour::scan()
{
    const bool done =
        perform({ "Look for devices",
                  "The radio asks who is around. Each device that answers gets a row: its address, "
                  "its signal strength in dBm (nearer to 0 is stronger), and its name.",
                  call("scan"),
                  { itemIs("scanstate", "Scan Complete"), rowExists("scanresultsName", PinDevice),
                    rowExists("scanresultsName", CodeDevice) },
                  "The scan is complete." });
    if (!done) {
        return false;
    }
    m_pinDevice = find(PinDevice);
    m_codeDevice = find(CodeDevice);
    return !m_pinDevice.isEmpty() && !m_codeDevice.isEmpty();
}

bool Tour::pairByPin()
{
    const QString device = QStringLiteral("%1 (%2)").arg(PinDevice, m_pinDevice);
    return perform({ QStringLiteral("Pair by PIN: %1").arg(device),
                     "A device without a display has a fixed PIN, which its owner types here. The module "
                     "asks for it by \"pairstate\", and says by \"pendingpair\" who wants it.",
                     call("pair", m_pinDevice),
                     { itemIs("pairstate", "PIN Needed") },
                     QStringLiteral("%1 wants its PIN.").arg(PinDevice) })
        && perform({ {},
                     QStringLiteral("The PIN is 5190, as the manual of the %1 says.").arg(PinDevice),
                     call("pinreply", "5190"),
                     { itemIs("pairstate", "Paired"), isPaired(m_pinDevice) },
                     QStringLiteral("%1 is paired, and in the list of paired devices.").arg(device) });
}

bool Tour::pairByCode()
{
    const QString device = QStringLiteral("%1 (%2)").arg(CodeDevice, m_codeDevice);
    return perform({ QStringLiteral("Pair by code: %1").arg(device),
                     "A device with a display shows six digits, and so do we: \"confirmationcode\". The "
                     "owner compares them, so that nobody in between can pretend to be the device.",
                     call("pair", m_codeDevice),
                     { itemIs("pairstate", "Need Confirmation"), itemIsNot("confirmationcode", {}) },
                     QStringLiteral("%1 shows the same code and waits for us.").arg(CodeDevice) })
        && perform({ {},
                     "The digits are the same on both sides, so we confirm.",
                     call("confirmcode"),
                     { itemIs("pairstate", "Paired"), isPaired(m_codeDevice) },
                     QStringLiteral("%1 is paired, too.").arg(device) });
}

bool Tour::connectDevice()
{
    return perform({ QStringLiteral("Connect to %1 (%2)").arg(PinDevice, m_pinDevice),
                     "Paired devices know each other's keys; a connection carries data. The kind of "
                     "connection depends on what the device is.",
                     call("connectAddr", m_pinDevice),
                     { connection(m_pinDevice, true), itemIs("isAnyDeviceConnected", "true") },
                     QStringLiteral("%1 is connected.").arg(PinDevice) });
}

bool Tour::disconnectDevice()
{
    return perform({ QStringLiteral("Disconnect from %1 (%2)").arg(PinDevice, m_pinDevice),
                     "The link ends; the devices stay paired.",
                     call("disconnectAddr", m_pinDevice),
                     { connection(m_pinDevice, false), itemIs("isAnyDeviceConnected", "false") },
                     QStringLiteral("%1 is paired, but not connected any more.").arg(PinDevice) });
}

bool Tour::lendRadio()
{
    const QString action = QStringLiteral("requestBluetooth");
    const QString success = QStringLiteral("Success");
    const QString self = QString::number(getpid());
    return perform({ "Lend the radio to another process",
                     "A process that needs the hardware for itself names its process id, here that of "
                     "this walk, and a 1. The module stops its controller; \"enabled\" keeps its value "
                     "but does not apply meanwhile. Whoever ends without giving the radio back loses "
                     "it within half a second.",
                     { Request::Kind::Call, action, self + ",1", success },
                     { itemIsNot("status", "On"), itemApplies("enabled", false) },
                     QStringLiteral(
                         "Process %1 has the radio, \"enabled\" does not apply, and all that the daemon "
                         "had reported is cleared.")
                         .arg(self) })
        && perform({ {},
                     "With a 0 the process gives it back. The radio is still enabled, so the module "
                     "starts its controller again, and reads from the new daemon how things stand.",
                     { Request::Kind::Call, action, self + ",0", success },
                     { itemIs("status", "On"), itemApplies("enabled", true), isPaired(m_pinDevice),
                       isPaired(m_codeDevice) },
                     "The module has the radio again and has switched it on; the controller "
                     "has kept its pairings, so the list of paired devices is back." });
}

bool Tour::unpair()
{
    return perform({ QStringLiteral("Unpair from %1 (%2)").arg(CodeDevice, m_codeDevice),
                     "The keys are forgotten; next time the two have to be paired anew. The rows of the "
                     "other devices close up.",
                     call("unpair", m_codeDevice),
                     { rowIsGone("pairlistAddr", m_codeDevice), isPaired(m_pinDevice) },
                     QStringLiteral("%1 is not paired any more; %2 still is.").arg(CodeDevice, PinDevice) });
}

bool Tour::switchOff()
{
    return perform({ "Switch the radio off",
                     "The module ends the controller and waits for it, then clears everything that the "
                     "daemon had reported.",
                     set("enabled", "false"),
                     { itemIs("enabled", "false"), itemIs("status", "No Device") },
                     "The radio is off, and nothing is listed." });
}

} // namespace world
