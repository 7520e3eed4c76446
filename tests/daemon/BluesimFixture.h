#pragma once

#include "Bluesim.h"
#include "support/PrivateBus.h"

#include <QtTest>

/// Devices of the small room that bluesim starts with, and one that is not there.
namespace room {
inline constexpr qulonglong Phone = 0x001122334401;
inline constexpr qulonglong Headset = 0x001122334402;
inline constexpr qulonglong Notebook = 0x00112233440A;
inline constexpr qulonglong Nobody = 0x0A0B0C0D0E0F;
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
        proxy().Pair(address);
        return Patience::waitFor([this] {
            if (proxy().pairState() == 4) {
                proxy().ConfirmCode();
            }
            return proxy().pairState() == 100;
        });
    }

    bool connectTo(qulonglong address)
    {
        QSignalSpy connected(&proxy(), &BluetoothIf::connectionEstablished);
        proxy().ConnectAddr(address);
        return Patience::wait(connected);
    }

    QScopedPointer<Bluesim> m_sim;

private:
    PrivateSystemBus m_bus;
};
