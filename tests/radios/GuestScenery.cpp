#include "GuestScenery.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

#include <linux/rfkill.h>

QString GuestScenery::begin()
{
    if (const auto started = m_machine.start(); !started) {
        return started.error().text;
    }
    qputenv("BLUEZ_SYSTEM_BUS_ADDRESS", "unix:path=/run/dbus/system_bus_socket");
    m_second = std::make_unique<SecondRadio>();
    const QString problem = awaitAdapters();
    return problem.isEmpty() ? problemOf(guestbluez::setAdapter(
               EmulatedControllers::FirstAdapter, { { "Alias", FoundAlias }, { "Powered", false } }))
                             : problem;
}

QString GuestScenery::awaitAdapters()
{
    return problemOf(EmulatedControllers::awaitAdapters().and_then([this] { return m_second->switchOn(); }));
}

void GuestScenery::setCaller(bool second)
{
    const auto isAnew = m_machine.setCaller(second);
    QVERIFY2(isAnew, qPrintable(problemOf(isAnew)));
    if (*isAnew) {
        awaitVisible();
    }
}

void GuestScenery::awaitVisible()
{
    QCOMPARE(awaitAdapters(), QString());
    QVERIFY(QTest::qWaitFor([] { return adapterProperty("Discoverable").toBool(); }, 60'000));
}

QString GuestScenery::device(Way way, bool agrees)
{
    if (!m_machine.arePluggedIn()) {
        qFatal("the emulated controllers have ended");
    }
    setCaller(false);
    m_second->setAgrees(agrees);
    m_second->setPin(way == Way::Pin ? pin() : QString());
    m_second->takeQuestions(way == Way::JustWorks ? "NoInputNoOutput" : "KeyboardDisplay");
    return SecondRadio::address();
}

QString GuestScenery::requestPairing()
{
    setCaller(true);
    const auto begun = m_second->pairWith(adapterProperty("Address").toString());
    if (!begun) {
        qWarning().noquote() << problemOf(begun);
    }
    return SecondRadio::address();
}

void GuestScenery::takeBackRequest()
{
    static_cast<void>(SecondRadio::giveUpPairing(adapterProperty("Address").toString()));
}

QString GuestScenery::lowEnergyDevice(const QString& capability, Addresses addresses)
{
    // bluetoothd prefers what it remembers of the classic one.
    const auto begun = m_machine.plugInAnew();
    awaitVisible();
    if (addresses == Addresses::Private) {
        for (const char* setting : { "power off", "privacy on", "power on" }) {
            const QStringList words = QString("--index 1 " + QString(setting)).split(' ');
            QProcess::execute("btmgmt", words);
        }
        awaitVisible();
    }
    const auto advertising = begun.and_then([&] { return m_second->advertise(capability); });
    if (!advertising) {
        qWarning().noquote() << problemOf(advertising);
    }
    return SecondRadio::address();
}

bool GuestScenery::block(bool blocked)
{
    rfkill_event event{};
    event.op = RFKILL_OP_CHANGE_ALL;
    event.type = RFKILL_TYPE_BLUETOOTH;
    event.soft = blocked ? 1 : 0;
    QFile file("/dev/rfkill");
    constexpr qint64 Size = RFKILL_EVENT_SIZE_V1;
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.write(reinterpret_cast<const char*>(&event), Size) == Size;
}
