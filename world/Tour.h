#pragma once

#include "ItemMirror.h"
#include "TourPrinter.h"
#include "TourStep.h"

#include <QString>

namespace world {

/// A narrated walk through what the module can do, on the real host, module and daemon.
class Tour
{
public:
    /// @param limit how long a step may take.
    Tour(KELClientInterface& server, std::chrono::milliseconds limit);

    /// @return whether every step was seen to happen.
    [[nodiscard]] bool run();

private:
    using Part = bool (Tour::*)();

    bool switchOn();
    bool scan();
    bool pairByPin();
    bool pairByCode();
    bool connectDevice();
    bool disconnectDevice();
    bool lendRadio();
    bool unpair();
    bool switchOff();

    /// Makes a request, shows it and what changes because of it, and waits until its expectations hold
    /// together.
    bool perform(const TourStep& step);
    [[nodiscard]] bool ask(const TourStep& step);
    [[nodiscard]] bool waitFor(const TourStep& step);
    /// The address of a device in the list of scan results; empty, after a message, when it is not there.
    [[nodiscard]] QString find(const QString& name);

    KELClientInterface& m_server;
    std::chrono::milliseconds m_limit;
    ItemMirror m_items;
    TourPrinter m_printer;
    int m_number = 0;
    QString m_pinDevice; ///< addresses
    QString m_codeDevice;
};

} // namespace world
