#pragma once

#include "Bluesim.h"
#include "support/PrivateBus.h"

#include <QtTest>

/// The devices of the small room that bluesim starts with.
namespace room {
inline constexpr qulonglong Phone = 0x001122334401;
inline constexpr qulonglong Headset = 0x001122334402;
inline constexpr qulonglong CarKit = 0x001122334403;
inline constexpr qulonglong LockedTablet = 0x001122334405;
inline constexpr qulonglong FarSpeaker = 0x001122334406;
inline constexpr qulonglong Nameless = 0x001122334407;
inline constexpr qulonglong CompanionPhone = 0x001122334408;
inline constexpr qulonglong Strap = 0x001122334409;
inline constexpr qulonglong Notebook = 0x00112233440A;
inline constexpr qulonglong Wifed = 0x00112233440B;
inline constexpr qulonglong Nobody = 0x0A0B0C0D0E0F;
inline constexpr int Size = 11;
} // namespace room

/// A bus for the test program, and for each test a simulated radio that is on.
class BluesimFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_bus.start(), QString()); }
    void init() { restart(); }
    void cleanup() { m_sim.reset(); }

protected:
    BluetoothIf& proxy() { return *m_sim->proxy; }

    void restart()
    {
        m_sim.reset(); // the name has to be free first
        m_sim.reset(new Bluesim);
        QVERIFY2(m_sim->switchOn(), qPrintable(m_sim->log()));
    }

    /// An answer comes after the signals that were sent before it; then they wait for the event loop.
    void deliverAll()
    {
        static_cast<void>(proxy().status());
        QCoreApplication::processEvents();
    }

    /// For devices that ask for no more than a confirmation.
    bool pairWith(qulonglong address)
    {
        QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
        const auto confirm =
            connect(&proxy(), &BluetoothIf::pairStateChanged, this, [this](const QDBusVariant& state) {
                if (state.variant() == 4) {
                    proxy().ConfirmCode();
                }
            });
        proxy().Pair(address);
        while (states.isEmpty() || carried<int>(states.last()) < 100) {
            if (!Patience::wait(states)) {
                return false;
            }
        }
        disconnect(confirm);
        return carried<int>(states.last()) == 100;
    }

    bool connectTo(qulonglong address)
    {
        QSignalSpy connected(&proxy(), &BluetoothIf::connectionEstablished);
        proxy().ConnectAddr(address);
        return Patience::wait(connected);
    }

    PairEntry paired(qulonglong address)
    {
        for (const PairEntry& entry : proxy().pairList().entries) {
            if (entry.address == address) {
                return entry;
            }
        }
        return {};
    }

    QScopedPointer<Bluesim> m_sim;

private:
    PrivateSystemBus m_bus;
};
