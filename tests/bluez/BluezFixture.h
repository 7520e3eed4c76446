#pragma once

#include "FakeBluez.h"
#include "support/PrivateBus.h"
#include "support/RadioProgram.h"
#include "support/Rows.h"

#include <QDBusPendingReply>
#include <QtTest>

#include <algorithm>
#include <memory>

/// The real radio's program before a bluetoothd that does as it is told; the two meet on a bus of their own.
class BluezFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_clients.start(), QString());
        QVERIFY(startBluezBus());
        qputenv("XDG_RUNTIME_DIR", m_folder.path().toLocal8Bit());
        // Without the identity of this one daemon: another may follow.
        qputenv("BLUEZ_SYSTEM_BUS_ADDRESS", m_bluezBus.address().section(',', 0, 0).toLocal8Bit());
    }
    void init()
    {
        m_expected = QStringList{ "the radio is /org/bluez/", "other devices will find this machine",
                                  "but we thought it was" }; // Qt's, of a name that comes and goes

        m_bluez = std::make_unique<FakeBluez>(m_bluezBus.address());
        m_radio = std::make_unique<RadioProgram>(BLUEZRADIO);
    }
    void cleanup()
    {
        const QString unexpected = unexpectedLines();
        m_radio->process().signal(SIGKILL); // it would put the adapter back first
        m_radio.reset();
        m_bluez.reset();
        for (const QString& file : runtimeFiles()) {
            QVERIFY(QFile::remove(m_folder.filePath(file)));
        }
        QVERIFY2(unexpected.isEmpty(), qPrintable(unexpected));
    }

protected:
    static QString hci0() { return "/org/bluez/hci0"; }
    static QString phone() { return "00:11:22:33:44:01"; }
    static QString stranger() { return "00:22:00:00:00:01"; }
    static QVariant path(const QString& text) { return QVariant::fromValue(QDBusObjectPath(text)); }
    static constexpr qulonglong PhoneNumber = 0x001122334401;

    BluetoothIf& proxy() { return *m_radio->proxy; }

    bool startBluezBus()
    {
        return m_bluezBus.start(world::MessageBus::Kind::System, m_folder.path()).has_value();
    }
    bool startOn()
    {
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        return m_radio->appear() && Patience::waitFor([this] { return proxy().status() == 3; });
    }
    /// What the program tells is looked at when the test has ended: these lines, parts of them, are known.
    void expect(const QStringList& texts) { m_expected += texts; }
    int timesTold(const QString& text)
    {
        expect({ text });
        return m_radio->log().count(text);
    }
    bool told(const QString& text) { return timesTold(text) > 0; }
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
        QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        m_bluez->answer(Pair, {});
        proxy().Pair(PhoneNumber);
        [&] {
            QTRY_VERIFY(m_bluez->called({ Pair }));
        }();
        return device;
    }
    /// The last word of the error that ends a call; "done" when it went well. A refusal is told as well.
    QString end(const QDBusPendingCall& call)
    {
        if (!Patience::waitFor([&] { return call.isFinished(); })) {
            return "under way";
        }
        if (call.isError()) {
            expect({ "refused: " + call.error().message() });
        }
        return call.isError() ? call.error().name().section('.', -1) : "done";
    }

    static constexpr const char* Pair = "Device1.Pair";
    std::unique_ptr<FakeBluez> m_bluez;
    std::unique_ptr<RadioProgram> m_radio;
    world::MessageBus m_bluezBus;

private:
    QString unexpectedLines()
    {
        QStringList lines = m_radio->log().split('\n', Qt::SkipEmptyParts);
        const auto isExpected = [this](const QString& line) {
            return std::any_of(m_expected.cbegin(), m_expected.cend(),
                               [&line](const QString& text) { return line.contains(text); });
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isExpected), lines.end());
        return lines.join('\n');
    }

    QStringList m_expected;
    PrivateSystemBus m_clients;
    QTemporaryDir m_folder;
};
