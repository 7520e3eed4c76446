#include "RadioDriver.h"

#include "Escaped.h"

#include <QDBusError>

namespace {

QString firstAddress()
{
    return guestbluez::adapterProperty(EmulatedControllers::FirstAdapter, QStringLiteral("Address"))
        .toString();
}

QVariant own(const char* property)
{
    return guestbluez::adapterProperty(QStringLiteral("/org/bluez/hci1"), QLatin1String(property));
}

} // namespace

RadioDriver::RadioDriver(EmulatedControllers& machine, const QString& address)
    : m_machine(machine)
    , m_server(address)
{
    connect(&m_server, &QDBusServer::newConnection, this, [this](QDBusConnection client) {
        client.registerObject(QStringLiteral("/"), this, QDBusConnection::ExportAllSlots);
    });
}

base::Result<> RadioDriver::start()
{
    if (!m_server.isConnected()) {
        return base::error(m_server.lastError().message());
    }
    return m_radio.switchOn().and_then([this] { return answerBy(QStringLiteral("KeyboardDisplay"), {}); });
}

QString RadioDriver::Do(const QString& verb, const QString& argument)
{
    // Some wait for bluetoothd, which may tell us something else meanwhile.
    if (m_isBusy) {
        sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("it is busy with another radio2"));
        return {};
    }
    m_isBusy = true;
    const QDBusMessage question = message();
    const QDBusConnection client = connection();
    setDelayedReply(true);
    const Done done = perform(verb, argument);
    m_isBusy = false;
    client.send(done ? question.createReply(*done)
                     : question.createErrorReply(QDBusError::Failed, done.error().text));
    return {};
}

RadioDriver::Done RadioDriver::perform(const QString& verb, const QString& argument)
{
    const auto is = [&verb](const char* word) {
        return verb == QLatin1String(word);
    };
    base::Result<> done;
    if (is("show")) {
        return show();
    }
    if (is("name")) {
        done = m_radio.setName(argument);
    } else if (is("accept") || is("refuse")) {
        m_radio.setAgrees(is("accept"));
    } else if (is("code") || is("pin") || is("just-works")) {
        m_way = verb;
        done =
            answerBy(is("just-works") ? QStringLiteral("NoInputNoOutput") : QStringLiteral("KeyboardDisplay"),
                     argument);
    } else if (is("low-energy")) {
        m_way = verb;
        done = beLowEnergy(argument == QLatin1String("shows"));
    } else if (is("type")) {
        done = m_radio.type(argument);
    } else if (is("pair")) {
        done = pair();
    } else if (is("cancel")) {
        done = SecondRadio::giveUpPairing(firstAddress());
    } else if (is("drop")) {
        SecondRadio::dropLink();
    } else if (is("forget")) {
        SecondRadio::forgetDevices();
    } else if (is("away") || is("back")) {
        done = setPresence(is("back"));
    } else {
        return base::error(QStringLiteral("\"%1\" is nothing that it can do").arg(verb));
    }
    return done.map([] { return QString(); });
}

RadioDriver::Done RadioDriver::show()
{
    const QStringList paired = SecondRadio::paired();
    const QString answer = m_radio.agrees() ? QStringLiteral("accepts") : QStringLiteral("refuses");
    QStringList lines{ QStringLiteral("address  ") + own("Address").toString(),
                       QStringLiteral("name     ") + base::escaped(own("Alias").toString()),
                       own("Powered").toBool() ? QStringLiteral("there    yes")
                                               : QStringLiteral("there    no"),
                       QStringLiteral("pairs    by %1, %2").arg(m_way, answer),
                       QStringLiteral("paired   ")
                           + (paired.isEmpty() ? QStringLiteral("no") : paired.join(QLatin1Char(' '))) };
    if (!m_radio.shownCode().isEmpty()) {
        lines << QStringLiteral("code     ") + m_radio.shownCode();
    }
    return lines.join(QLatin1Char('\n'));
}

base::Result<> RadioDriver::setCaller(bool second)
{
    return m_machine.setCaller(second).and_then(
        [this](bool isAnew) { return isAnew ? m_radio.switchOn() : base::Result<>(); });
}

base::Result<> RadioDriver::answerBy(const QString& capability, const QString& pin)
{
    return SecondRadio::beClassic().and_then([this] { return setCaller(false); }).map([&] {
        m_radio.setPin(pin);
        m_radio.takeQuestions(capability);
    });
}

base::Result<> RadioDriver::beLowEnergy(bool shows)
{
    // bluetoothd prefers what it remembers of the classic one.
    return SecondRadio::beClassic()
        .and_then([this] { return m_machine.plugInAnew(); })
        .and_then([this] { return m_radio.switchOn(); })
        .and_then([&] {
            return m_radio.advertise(shows ? QStringLiteral("DisplayOnly") : QStringLiteral("KeyboardOnly"));
        });
}

base::Result<> RadioDriver::pair()
{
    return setCaller(true).and_then([this] { return m_radio.pairWith(firstAddress()); });
}

base::Result<> RadioDriver::setPresence(bool there)
{
    return there ? m_radio.switchOn() : SecondRadio::switchOff();
}
