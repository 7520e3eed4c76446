#pragma once

#include "GuestBluez.h"

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
    [[nodiscard]] QString localName() const { return m_localName; }
    static bool isDiscoverable() { return true; }
    void setLocalName(const QString& name) { m_localName = name; }

public Q_SLOTS:
    void Release() { }

private:
    QString m_localName;
};

/// The other emulated controller and the person who holds it: a client of the emulated machine's bluetoothd
/// with an agent of its own.
class SecondRadio : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Agent1")

public:
    SecondRadio();
    ~SecondRadio() override;

    [[nodiscard]] static QString address();
    /// On, visible and ready to be paired.
    [[nodiscard]] base::Result<> switchOn();
    [[nodiscard]] static base::Result<> switchOff();
    [[nodiscard]] base::Result<> setName(const QString& name);

    /// What the person says to questions from now on.
    void setAgrees(bool agrees) { m_agrees = agrees; }
    [[nodiscard]] bool agrees() const { return m_agrees; }
    /// Has it asked for a PIN, this one, in place of the modern ways; without one, by those again.
    void setPin(const QString& pin);
    /// Takes the questions from bluetoothd, which asks our agent for the side that did not begin.
    /// @param capability of the agent: "KeyboardDisplay" compares codes, "NoInputNoOutput" just works
    void takeQuestions(const QString& capability);

    /// Begins a pairing, once the other side is found; that one is then asked by the agent that was there
    /// before ours.
    [[nodiscard]] base::Result<> pairWith(const QString& address);
    /// Gives the pairing up that it has begun.
    [[nodiscard]] static base::Result<> giveUpPairing(const QString& address);
    /// An application of ours connects to one of theirs.
    static void connectTo(const QString& address, const QString& uuid);
    static void dropLink();

    /// A device of low energy alone, whose person can show or type a passkey.
    [[nodiscard]] base::Result<> advertise(const QString& capability);
    /// A classic device again, if it was none.
    [[nodiscard]] static base::Result<> beClassic();
    /// Six digits, once there is a passkey to be typed over here.
    [[nodiscard]] const QString& shownCode() const { return m_shownCode; }
    /// Types a passkey, as soon as it is asked for.
    [[nodiscard]] base::Result<> type(const QString& code);

    /// Those that it is paired with.
    [[nodiscard]] static QStringList paired();
    static void forgetDevices();

Q_SIGNALS:
    void passkeyWanted();

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
        return m_pin;
    }
    uint RequestPasskey(const QDBusObjectPath&)
    {
        setDelayedReply(true);
        m_passkeyQuestion = message();
        Q_EMIT passkeyWanted();
        return 0;
    }
    void DisplayPasskey(const QDBusObjectPath&, uint passkey, ushort)
    {
        m_shownCode = QStringLiteral("%1").arg(passkey, 6, 10, QLatin1Char('0'));
    }

private Q_SLOTS:
    void askAgain() const;

private:
    void registerAgent(const QString& capability, bool answersForOthers);
    void refuseUnlessAgreed()
    {
        if (!m_agrees) {
            sendErrorReply(QStringLiteral("org.bluez.Error.Rejected"), QStringLiteral("no"));
        }
    }

    QString m_name = QStringLiteral("Second");
    bool m_agrees = true;
    bool m_takesQuestions = false;
    QString m_pin;
    Advertisement m_advertisement;
    QString m_shownCode;
    std::optional<QDBusMessage> m_passkeyQuestion;
};
