#pragma once

#include "Scenery.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>

#include <optional>

/// What a device of low energy calls out.
class Advertisement : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.LEAdvertisement1")
    Q_PROPERTY(QString Type READ type CONSTANT)
    Q_PROPERTY(QString LocalName READ localName CONSTANT)
    Q_PROPERTY(bool Discoverable READ isDiscoverable CONSTANT)

public:
    static QString type() { return "peripheral"; }
    static QString localName() { return "Second"; }
    static bool isDiscoverable() { return true; }

public Q_SLOTS:
    void Release() { }
};

/// The other emulated controller and the person who holds it: a client of the guest's bluetoothd with an
/// agent of its own. Made anew when bluetoothd was.
class SecondRadio : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Agent1")

public:
    SecondRadio();
    ~SecondRadio() override;

    [[nodiscard]] static QString address();
    /// On, visible and ready to be paired. @return what went wrong.
    [[nodiscard]] static QString switchOn();
    /// How it is paired from now on. bluetoothd asks our agent for the side that did not begin.
    void expect(Way way, bool agrees);
    /// Begins a pairing; the other side is then asked by the agent that was there before ours.
    void pairWith(const QString& address);
    /// Gives the pairing up that it has begun.
    static void giveUpPairing(const QString& address);
    /// An application of ours connects to one of theirs.
    static void connectTo(const QString& address, const QString& uuid);
    static void dropLink();

    /// A device of low energy alone, whose person can show or type a passkey.
    void advertise(const QString& capability);
    static void beClassic();
    /// Six digits, once there is a passkey to be typed over here.
    [[nodiscard]] const QString& shownCode() const { return m_shownCode; }
    /// Types a passkey, as soon as it is asked for. @return whether it was.
    [[nodiscard]] bool type(const QString& code);

    static void forgetDevices();

public Q_SLOTS:
    void Release() { }
    void Cancel() { }
    void DisplayPinCode(const QDBusObjectPath&, const QString&) { }
    void AuthorizeService(const QDBusObjectPath&, const QString&) { }
    void RequestConfirmation(const QDBusObjectPath&, uint) { refuseUnlessAgreed(); }
    void RequestAuthorization(const QDBusObjectPath&) { refuseUnlessAgreed(); }
    QString RequestPinCode(const QDBusObjectPath&)
    {
        refuseUnlessAgreed();
        return Scenery::pin();
    }
    uint RequestPasskey(const QDBusObjectPath&)
    {
        setDelayedReply(true);
        m_passkeyQuestion = message();
        return 0;
    }
    void DisplayPasskey(const QDBusObjectPath&, uint passkey, ushort)
    {
        m_shownCode = QString("%1").arg(passkey, 6, 10, QLatin1Char('0'));
    }

private:
    void refuseUnlessAgreed()
    {
        if (!m_agrees) {
            sendErrorReply("org.bluez.Error.Rejected", "no");
        }
    }

    bool m_agrees = true;
    Advertisement m_advertisement;
    QString m_shownCode;
    std::optional<QDBusMessage> m_passkeyQuestion;
};
