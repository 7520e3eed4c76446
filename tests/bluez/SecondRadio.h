#pragma once

#include "Scenery.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QObject>

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
    void dropLink();
    void forgetDevices();

    static QVariant property(const QDBusConnection& bus, const QString& path, const QString& interface,
                             const QString& name);

public Q_SLOTS:
    void Release() { }
    QString RequestPinCode(const QDBusObjectPath& device);
    uint RequestPasskey(const QDBusObjectPath& device);
    void DisplayPasskey(const QDBusObjectPath&, uint, ushort) { }
    void DisplayPinCode(const QDBusObjectPath&, const QString&) { }
    void RequestConfirmation(const QDBusObjectPath& device, uint passkey);
    void RequestAuthorization(const QDBusObjectPath& device);
    void AuthorizeService(const QDBusObjectPath&, const QString&) { }
    void Cancel() { }

private:
    void registerAgent(const QString& capability, bool answersForOthers);
    void unregisterAgent();
    void refuseUnlessAgreed();
    [[nodiscard]] QStringList devices() const;
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) const;

    QDBusConnection m_bus;
    bool m_agrees = true;
};
