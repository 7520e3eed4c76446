#include "BluezCall.h"
#include "BluezRadio.h"
#include "Notice.h"

#include <QDBusError>

#include <utility>

namespace bt {

void BluezRadio::switchOn()
{
    if (!m_isPrivate) {
        openUp();
    }
    m_settings.allowPairing(*m_adapter);
    if (m_adapter->isPowered() && !m_switching) {
        setStatus(Status::On);
        return;
    }
    setStatus(Status::Starting);
    askForPower(true);
}

void BluezRadio::openUp()
{
    if (!std::exchange(m_saidOpen, true)) {
        notice(
            QStringLiteral("other devices will find this machine, as \"%1\", and may ask to pair, until the "
                           "radio goes off; \"--private\" (BLUEZ_PRIVATE=1) leaves its name and "
                           "visibility alone")
                .arg(m_name));
    }
    m_settings.setName(*m_adapter, m_name);
    m_settings.allowFinding(*m_adapter);
}

void BluezRadio::switchOff()
{
    silence();
    setStatus(Status::Stopping);
    askForPower(false);
}

// A wish that changes meanwhile is seen to afterwards.
void BluezRadio::askForPower(bool on)
{
    if (std::exchange(m_switching, true)) {
        return;
    }
    askBluez(settingOf(m_adapter->ubi(), AdapterInterface, QStringLiteral("Powered"), on), m_bonded.get(),
             [this, on](const QDBusError& error) {
                 m_switching = false;
                 if (m_wantsOn != on) {
                     m_wantsOn ? switchOn() : switchOff();
                 } else if (error.isValid()) {
                     powerRefused(on, error);
                 }
             });
}

void BluezRadio::powerRefused(bool on, const QDBusError& error)
{
    if (isBluezError(error, "Busy")) { // another program switches it, or bluetoothd itself, by its AutoEnable
        m_busy.start();
        return;
    }
    if (isBluezError(error, "Blocked")) {
        m_choice.say(QLatin1String(Blocked));
        setStatus(Status::NoDevice);
        return;
    }
    tellFailure(on ? QStringLiteral("switching the adapter on") : QStringLiteral("switching the adapter off"),
                error);
    followPower();
}

void BluezRadio::followPower()
{
    if (m_adapter->isPowered()) {
        if (m_busy.isActive() && m_wantsOn && !std::exchange(m_wasOn, true)) {
            m_settings.foundOn(*m_adapter);
        }
        m_wasOn = true;
        setStatus(m_switching && !m_wantsOn ? Status::Stopping : Status::On);
        return;
    }
    silence();
    if (m_choice.isBlocked()) {
        m_choice.say(QLatin1String(Blocked));
    }
    const bool comes = (m_switching || m_busy.isActive()) && m_wantsOn;
    setStatus(comes ? Status::Starting : m_choice.isBlocked() ? Status::NoDevice : Status::Off);
}

// What others change is theirs: the name is followed, and what keeps devices from us is told.
void BluezRadio::followAdapter()
{
    if (!m_adapter || m_settings.isNaming()) {
        return;
    }
    if (m_adapter->name() != m_name) {
        m_name = m_adapter->name();
        Q_EMIT localNameChanged(m_name);
    }
    const bool open = m_adapter->isPairable() && (m_isPrivate || m_adapter->isDiscoverable());
    if (m_adapter->isPowered() && std::exchange(m_wasOpen, open) && !open) {
        notice(
            QStringLiteral(
                "another program has changed the adapter: other devices can no longer %1; switching the "
                "radio off and on again allows it")
                .arg(m_adapter->isPairable() ? QStringLiteral("find it") : QStringLiteral("pair with it")));
    }
}

} // namespace bt
