#include "SecondRadio.h"

#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QProcess>
#include <QTimer>

using namespace guestbluez;

namespace {

const QString Adapter = QStringLiteral("/org/bluez/hci1");
const QString Advertising = QStringLiteral("org.bluez.LEAdvertisingManager1");
const QString Agent = QStringLiteral("/second");
const QString AdvertisementPath = QStringLiteral("/second/advertisement");
constexpr int Long = 120'000; // ms, for what bluetoothd answers when it is done
constexpr int Patience = 60'000; // ms

QDBusMessage agentCall(const char* method, const QVariantList& more = {})
{
    return guestbluez::message(QStringLiteral("/org/bluez"), QStringLiteral("org.bluez.AgentManager1"),
                               QLatin1String(method), QVariantList{ object(Agent) } + more);
}

QString pathOf(const QString& address)
{
    return Adapter + QStringLiteral("/dev_") + QString(address).replace(QLatin1Char(':'), QLatin1Char('_'));
}

} // namespace

SecondRadio::SecondRadio()
{
    bus().registerObject(Agent, this, QDBusConnection::ExportAllSlots);
    bus().registerObject(AdvertisementPath, &m_advertisement,
                         QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
    bus().connect(QStringLiteral("org.bluez"), QStringLiteral("/org/bluez/hci0"),
                  QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
                  this, SLOT(askAgain()));
}

void SecondRadio::registerAgent(const QString& capability, bool answersForOthers)
{
    m_takesQuestions = answersForOthers;
    bus().call(agentCall("UnregisterAgent"));
    bus().call(agentCall("RegisterAgent", { capability }));
    askAgain();
}

/// bluetoothd asks the agent that wished so last for whoever did not begin. The radio on the other adapter
/// wishes so when it comes up, and changes that adapter then.
void SecondRadio::askAgain() const
{
    if (m_takesQuestions) {
        bus().call(agentCall("RequestDefaultAgent"), QDBus::NoBlock);
    }
}

SecondRadio::~SecondRadio()
{
    bus().unregisterObject(Agent, QDBusConnection::UnregisterTree);
}

QString SecondRadio::address()
{
    return adapterProperty(Adapter, QStringLiteral("Address")).toString();
}

base::Result<> SecondRadio::switchOn()
{
    return setAdapter(Adapter,
                      { { QStringLiteral("Powered"), true },
                        { QStringLiteral("Alias"), m_name },
                        { QStringLiteral("Pairable"), true },
                        { QStringLiteral("DiscoverableTimeout"), 0U },
                        { QStringLiteral("Discoverable"), true } });
}

base::Result<> SecondRadio::switchOff()
{
    return beClassic() // or bluetoothd aborts
        .and_then([] {
            return setAdapter(Adapter, { { QStringLiteral("Powered"), false } });
        });
}

base::Result<> SecondRadio::setName(const QString& name)
{
    m_name = name;
    return setAdapter(Adapter, { { QStringLiteral("Alias"), name } });
}

void SecondRadio::setPin(const QString& pin)
{
    m_pin = pin;
    // A controller with simple pairing never asks for a PIN; bluetoothd's own switch for it hangs here.
    QProcess hcitool;
    hcitool.setStandardOutputFile(QProcess::nullDevice());
    hcitool.start(QStringLiteral("hcitool"),
                  { QStringLiteral("-i"), QStringLiteral("hci1"), QStringLiteral("cmd"),
                    QStringLiteral("0x03"), QStringLiteral("0x0056"),
                    pin.isEmpty() ? QStringLiteral("0x01") : QStringLiteral("0x00") });
    hcitool.waitForFinished();
}

void SecondRadio::takeQuestions(const QString& capability)
{
    registerAgent(capability, true);
}

base::Result<> SecondRadio::pairWith(const QString& address)
{
    m_agrees = true;
    registerAgent(QStringLiteral("KeyboardDisplay"), false);
    const QString path = pathOf(address);
    Changes changes;
    call(Adapter, AdapterInterface, QStringLiteral("StartDiscovery"));
    const bool isFound = changes.await([&] { return devices(Adapter).contains(path); }, Patience);
    call(Adapter, AdapterInterface, QStringLiteral("StopDiscovery"));
    if (!isFound) {
        return base::error(
            QStringLiteral("%1 is not to be found; is the radio there on, and visible?").arg(address));
    }
    bus().asyncCall(guestbluez::message(path, DeviceInterface, QStringLiteral("Pair")), Long);
    return {};
}

base::Result<> SecondRadio::giveUpPairing(const QString& address)
{
    return attempt(QStringLiteral("the pairing cannot be given up"),
                   guestbluez::message(pathOf(address), DeviceInterface, QStringLiteral("CancelPairing")));
}

void SecondRadio::connectTo(const QString& address, const QString& uuid)
{
    bus().asyncCall(
        guestbluez::message(pathOf(address), DeviceInterface, QStringLiteral("ConnectProfile"), { uuid }),
        Long);
}

void SecondRadio::dropLink()
{
    for (const QString& device : devices(Adapter).keys()) {
        call(device, DeviceInterface, QStringLiteral("Disconnect"));
    }
}

base::Result<> SecondRadio::advertise(const QString& capability)
{
    m_agrees = true;
    m_shownCode.clear();
    m_advertisement.setLocalName(m_name);
    registerAgent(capability, true);
    if (auto hidden = setAdapter(Adapter, { { QStringLiteral("Discoverable"), false } }); !hidden) {
        return hidden;
    }
    // bluetoothd asks us meanwhile what there is to be advertised.
    QDBusPendingCallWatcher registration(
        bus().asyncCall(guestbluez::message(Adapter, Advertising, QStringLiteral("RegisterAdvertisement"),
                                            { object(AdvertisementPath), QVariantMap() }),
                        Patience));
    QEventLoop loop;
    connect(&registration, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (registration.isError()) {
        return base::error(QStringLiteral("it cannot advertise: %1").arg(registration.error().message()));
    }
    return {};
}

base::Result<> SecondRadio::beClassic()
{
    const QDBusMessage gone =
        call(Adapter, Advertising, QStringLiteral("UnregisterAdvertisement"), { object(AdvertisementPath) });
    return gone.type() == QDBusMessage::ErrorMessage // it was none
        ? base::Result<>()
        : setAdapter(Adapter, { { QStringLiteral("Discoverable"), true } });
}

base::Result<> SecondRadio::type(const QString& code)
{
    bool isNumber = false;
    const uint passkey = code.toUInt(&isNumber);
    if (!isNumber || code.size() > 6) {
        return base::error(QStringLiteral("\"%1\" is no passkey, which has up to six digits").arg(code));
    }
    if (!m_passkeyQuestion) {
        QEventLoop loop;
        connect(this, &SecondRadio::passkeyWanted, &loop, &QEventLoop::quit);
        QTimer::singleShot(Patience, &loop, &QEventLoop::quit);
        loop.exec();
    }
    if (!m_passkeyQuestion) {
        return base::error(QStringLiteral("nobody asks for a code here"));
    }
    bus().send(m_passkeyQuestion->createReply(passkey));
    m_passkeyQuestion.reset();
    return {};
}

QStringList SecondRadio::paired()
{
    QStringList addresses;
    for (const QVariantMap& device : devices(Adapter)) {
        if (device.value(QStringLiteral("Paired")).toBool()) {
            addresses << device.value(QStringLiteral("Address")).toString();
        }
    }
    return addresses;
}

void SecondRadio::forgetDevices()
{
    for (const QString& device : devices(Adapter).keys()) {
        call(Adapter, AdapterInterface, QStringLiteral("RemoveDevice"), { object(device) });
    }
}
