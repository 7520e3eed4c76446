#pragma once

#include <QEventLoop>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

namespace testkit {

[[nodiscard]] const QString& simulationName();
[[nodiscard]] const QString& daemonName();

/// Waits for a signal after which a condition holds; the condition may hold already.
template <typename Connect>
bool waitUntil(const std::function<bool()>& holds, std::chrono::milliseconds patience, Connect connectTo)
{
    QEventLoop loop;
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    bool held = false;
    const auto check = [&] {
        held = holds();
        if (held) {
            loop.quit();
        }
    };
    connectTo(loop, check);
    check();
    if (!held) {
        loop.exec();
    }
    return held;
}

[[nodiscard]] bool isOnTheBus(const QString& name);
/// Until a name is on the system bus, or is not.
[[nodiscard]] bool waitForName(const QString& name, bool there, std::chrono::milliseconds patience);

} // namespace testkit
