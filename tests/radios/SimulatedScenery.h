#pragma once

#include "Scenery.h"

#include <QProcess>
#include <QTest>

#include <algorithm>

/// The simulated radio and the small room that it starts with.
class SimulatedScenery : public Scenery
{
public:
    [[nodiscard]] QString controller() const override { return CONTROLLER; }
    /// One fault fails many scenarios, and is not to cost a whole wait in each.
    [[nodiscard]] std::chrono::milliseconds patience(int inVain) const override
    {
        constexpr std::chrono::milliseconds First{ 5000 };
        constexpr std::chrono::milliseconds Least{ 100 };
        return std::max(First / (1 << std::min(inVain, 8)), Least);
    }
    [[nodiscard]] QString begin() override
    {
        qputenv("BLUESIM_TIME_SCALE", "20");
        return {};
    }
    [[nodiscard]] QString device(Way way, bool agrees) override
    {
        const char* address = !agrees ? "00:11:22:33:44:05"
            : way == Way::Code        ? Phone
            : way == Way::Pin         ? "00:11:22:33:44:03"
                                      : "00:11:22:33:44:02";
        return QString::fromLatin1(address);
    }
    void dropLink() override { tell({ "drop", Phone }); }
    [[nodiscard]] QString requestPairing() override
    {
        tell({ "pair-request", Phone });
        return QString::fromLatin1(Phone);
    }
    void takeBackRequest() override { tell({ "answer", Phone, "refuse" }); }

private:
    static constexpr const char* Phone = "00:11:22:33:44:01";

    static void tell(const QStringList& words)
    {
        const int status = QProcess::execute(SIMCTL, words);
        QVERIFY2(status == 0, qPrintable(words.join(QLatin1Char(' '))));
    }
};
