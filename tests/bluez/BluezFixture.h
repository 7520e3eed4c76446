#pragma once

#include "FakeBluez.h"
#include "support/PrivateBus.h"
#include "support/RadioProgram.h"
#include "support/Rows.h"

#include <QDBusPendingReply>
#include <QtTest>

#include <memory>

/// The real radio's program before a bluetoothd that does as it is told; the two meet on a bus of their own.
class BluezFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_clients.start(), QString());
        QVERIFY(m_bluezBus.start(world::MessageBus::Kind::System, m_folder.path()));
        qputenv("XDG_RUNTIME_DIR", m_folder.path().toLocal8Bit());
        qputenv("BLUEZ_SYSTEM_BUS_ADDRESS", m_bluezBus.address().toLocal8Bit());
    }
    void init()
    {
        m_bluez = std::make_unique<FakeBluez>(m_bluezBus.address());
        m_radio = std::make_unique<RadioProgram>(BLUEZRADIO);
    }
    void cleanup()
    {
        m_radio->process().signal(SIGKILL); // it would put the adapter back first
        m_radio.reset();
        m_bluez.reset();
        for (const QString& file : runtimeFiles()) {
            QVERIFY(QFile::remove(m_folder.filePath(file)));
        }
    }

protected:
    static QString hci0() { return "/org/bluez/hci0"; }
    static QString phone() { return "00:11:22:33:44:01"; }
    static QString stranger() { return "00:22:00:00:00:01"; }
    static QVariant path(const QString& text) { return QVariant::fromValue(QDBusObjectPath(text)); }
    static constexpr qulonglong PhoneNumber = 0x001122334401;

    BluetoothIf& proxy() { return *m_radio->proxy; }

    bool startOn()
    {
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        return m_radio->appear() && Patience::waitFor([this] { return proxy().status() == 3; });
    }
    /// Ends the program as a person does.
    void end()
    {
        m_radio->process().signal(SIGTERM);
        std::optional<int> status;
        QTRY_VERIFY((status = m_radio->process().wait(std::chrono::milliseconds(0))).has_value());
        QCOMPARE(*status, 0);
    }
    /// What the program keeps as long as the machine runs.
    [[nodiscard]] QStringList runtimeFiles() const
    {
        return QDir(m_folder.path()).entryList({ "bluezradio-*" });
    }
    QString addPaired(const QString& address, const QString& name)
    {
        return m_bluez->addDevice(hci0(), address, { { "Paired", true }, { "Name", name } });
    }
    QDBusPendingCall callAgent(const char* method, const QVariantList& arguments = {})
    {
        return m_bluez->callBack("Agent1", method, arguments);
    }
    /// Begins to pair with the phone, which bluetoothd does not answer for the time being. @return its path
    QVariant pairWithPhone()
    {
        const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        m_bluez->answer(Pair, {});
        proxy().Pair(PhoneNumber);
        [&] {
            QTRY_VERIFY(m_bluez->called({ Pair }));
        }();
        return device;
    }
    /// The last word of the error that ends a call; "done" when it went well.
    static QString end(const QDBusPendingCall& call)
    {
        if (!Patience::waitFor([&] { return call.isFinished(); })) {
            return "under way";
        }
        return call.isError() ? call.error().name().section('.', -1) : "done";
    }

    static constexpr const char* Pair = "Device1.Pair";
    std::unique_ptr<FakeBluez> m_bluez;
    std::unique_ptr<RadioProgram> m_radio;

private:
    PrivateSystemBus m_clients;
    QTemporaryDir m_folder;
    world::MessageBus m_bluezBus;
};
