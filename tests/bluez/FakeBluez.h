#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QHash>
#include <QMap>
#include <QStringList>

using BluezInterfaces = QMap<QString, QVariantMap>;

/// A bluetoothd that does what emulated controllers cannot: it is absent, hangs, answers with any error,
/// loses its adapter, or shows a crowd. It has no behaviour of its own, the test tells it what to say.
class FakeBluez : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit FakeBluez(const QString& busAddress);
    ~FakeBluez() override;

    [[nodiscard]] QString busAddress() const { return m_address; }
    /// Takes the name, or leaves it and forgets all objects.
    void appear();
    void vanish();

    void addAdapter(const QString& path, const QVariantMap& properties = {});
    /// @return the device's path.
    QString addDevice(const QString& adapter, const QString& address, const QVariantMap& properties = {});
    /// What a sound server plays through. @return its path.
    QString addTransport(const QString& device);
    void remove(const QString& path);
    void change(const QString& path, const QString& interface, const QVariantMap& properties);
    [[nodiscard]] QVariant property(const QString& path, const QString& name) const;

    /// From now on a method, "Device1.Pair" or "Set Powered", is answered by this error of org.bluez.Error
    /// (or by one with dots in its name), or, when it is empty, not at all.
    void answer(const QString& method, const QString& error) { m_errors.insert(method, error); }
    /// The same for calls that were not answered; without an error they are done.
    void answerAfterAll(const QString& method, const QString& error = {},
                        const QString& text = "as the test told");

    /// What was called: "Adapter1.StartDiscovery", "Set Powered=true".
    [[nodiscard]] const QStringList& calls() const { return m_calls; }
    void forgetCalls() { m_calls.clear(); }
    /// Whether these calls were made in this order, others in between or not.
    [[nodiscard]] bool called(const QStringList& inOrder) const;

    /// Calls a method of an object that the radio registered, as bluetoothd does.
    QDBusPendingCall callBack(const QString& interface, const QString& method, const QVariantList& arguments);

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& /*path*/) const override { return {}; }

private:
    [[nodiscard]] QVariantList valuesFor(const QDBusMessage& message);
    [[nodiscard]] QString nameOf(const QDBusMessage& message) const;
    [[nodiscard]] QDBusMessage replyTo(const QDBusMessage& message, const QString& error,
                                       const QString& text = "as the test told");
    void setProperty(const QDBusMessage& message);
    void announce(const QString& path);

    QString m_address;
    QDBusConnection m_bus;
    QMap<QDBusObjectPath, BluezInterfaces> m_objects;
    QHash<QString, QString> m_errors;
    QMultiHash<QString, QDBusMessage> m_waiting;
    QHash<QString, QString> m_registered; ///< the radio's objects, by interface
    QString m_radio;
    QStringList m_calls;
};
