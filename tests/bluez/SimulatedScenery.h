#pragma once

#include "Scenery.h"

/// The simulated radio and the small room that it starts with.
class SimulatedScenery : public Scenery
{
public:
    [[nodiscard]] QString controller() const override { return QStringLiteral(CONTROLLER); }
    [[nodiscard]] QString begin() override
    {
        qputenv("BLUESIM_TIME_SCALE", "20");
        return {};
    }
    [[nodiscard]] QString device(Way way, bool agrees) override
    {
        const char* address = !agrees ? "00:11:22:33:44:05"
            : way == Way::Code        ? "00:11:22:33:44:01"
            : way == Way::Pin         ? "00:11:22:33:44:03"
                                      : "00:11:22:33:44:02";
        return QString::fromLatin1(address);
    }
    [[nodiscard]] bool devicesAct() const override { return false; }
};
