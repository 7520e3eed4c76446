#pragma once

#include "GuestScenery.h"
#include "RadioTest.h"
#include "support/Rows.h"

/// Pairing with a device of low energy, by a passkey that one side shows and the other side types.
class LowEnergy : public RadioTest
{
    Q_OBJECT

public:
    LowEnergy(RadioWorld& world, GuestScenery& guest)
        : RadioTest(world)
        , m_guest(guest)
    {
    }

    /// Scans until a row has this value. Emulated controllers may need more than one scan to hear an
    /// advertisement.
    [[nodiscard]] static bool hears(RadioWorld& world, const QString& item, const QString& value)
    {
        constexpr int Scans = 4;
        const auto isFound = [&] {
            return world.row(item, value) >= 0;
        };
        for (int scan = 0; scan < Scans && !isFound(); ++scan) {
            RadioWorld::trigger("scan");
            if (!world.await("scanstate", "Scanning")
                || !world.await([&] { return isFound() || world.text("scanstate") == "Scan Complete"; })) {
                return false;
            }
        }
        return isFound();
    }

private Q_SLOTS:
    void cleanup()
    {
        QCOMPARE(problemOf(SecondRadio::beClassic()), QString());
        RadioTest::cleanup();
    }

    void typesWhatTheyShow_data()
    {
        const Rows<bool, QString> row("right", "end");
        row("right", true, "Paired");
        row("wrong", false, "Failed Authentication");
    }

    void typesWhatTheyShow()
    {
        QFETCH(bool, right);
        QFETCH(QString, end);
        QVERIFY(askToPair("DisplayOnly", "PIN Needed"));
        const SecondRadio& second = m_guest.second();
        QTRY_VERIFY_WITH_TIMEOUT(!second.shownCode().isEmpty(), 60'000);
        const QString other = second.shownCode() == "000000" ? "000001" : "000000";
        RadioWorld::trigger("pinreply", right ? second.shownCode() : other);
        QVERIFY(m_world.await("pairstate", end));
    }

    void showsWhatTheyType()
    {
        QVERIFY(askToPair("KeyboardOnly", "Need Confirmation"));
        QCOMPARE(problemOf(m_guest.second().type(m_world.text("confirmationcode"))), QString());
        QVERIFY(m_world.await("pairstate", "Paired"));
        QCOMPARE(m_world.text("confirmationcode"), QString());
    }

private:
    [[nodiscard]] bool askToPair(const QString& capability, const QString& question)
    {
        const QString device = m_guest.lowEnergyDevice(capability);
        if (!hears(m_world, "scanresultsAddr", device)) {
            return false;
        }
        RadioWorld::trigger("pair", device);
        return m_world.await("pairstate", question);
    }

    GuestScenery& m_guest;
};
