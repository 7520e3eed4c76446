#pragma once

#include "Scenery.h"

#include <QDBusConnection>
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
    static QString type() { return QStringLiteral("peripheral"); }
    static QString localName() { return QStringLiteral("Second"); }
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
    explicit SecondRadio(QDBusConnection bus);
    ~SecondRadio() override;

    [[nodiscard]] QString address() const;
    /// On, visible and ready to be paired. @return what went wrong.
    [[nodiscard]] QString switchOn();
    /// How it is paired from now on. bluetoothd asks our agent for the side that did not begin.
    void expect(Way way, bool agrees);
    /// Begins a pairing; the other side is then asked by the agent that was there before ours.
    void pairWith(const QString& address);
    /// Gives the pairing up that it has begun.
    void giveUpPairing(const QString& address);
    /// An application of ours connects to one of theirs.
    void connectTo(const QString& address, const QString& uuid);
    void dropLink();

    /// A device of low energy alone, whose person can show or type a passkey.
    void advertise(const QString& capability);
    void beClassic();
    /// Six digits, once there is a passkey to be typed over here.
    [[nodiscard]] const QString& shownCode() const { return m_shownCode; }
    /// Types a passkey, as soon as it is asked for. @return whether it was.
    [[nodiscard]] bool type(const QString& code);

    void forgetDevices();

    static QVariant property(const QDBusConnection& bus, const QString& path, const QString& interface,
                             const QString& name);

public Q_SLOTS:
    void Release() { }
    QString RequestPinCode(const QDBusObjectPath& device);
    uint RequestPasskey(const QDBusObjectPath& device);
    void DisplayPasskey(const QDBusObjectPath& device, uint passkey, ushort entered);
    void DisplayPinCode(const QDBusObjectPath&, const QString&) { }
    void RequestConfirmation(const QDBusObjectPath& device, uint passkey);
    void RequestAuthorization(const QDBusObjectPath& device);
    void AuthorizeService(const QDBusObjectPath&, const QString&) { }
    void Cancel() { }

private:
    void registerAgent(const QString& capability, bool answersForOthers);
    void unregisterAgent();
    void refuseUnlessAgreed();
    /// @return what went wrong.
    QString set(const QString& property, const QVariant& value) const;
    [[nodiscard]] static QString pathOf(const QString& address);
    [[nodiscard]] QStringList devices() const;
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) const;

    QDBusConnection m_bus;
    bool m_agrees = true;
    Advertisement m_advertisement;
    QString m_shownCode;
    std::optional<QDBusMessage> m_passkeyQuestion;
};
