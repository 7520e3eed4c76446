#pragma once

#include <poll.h>

namespace world {

/// Something else to look after while a process is waited for.
class Attendant
{
public:
    Attendant() = default;
    virtual ~Attendant() = default;
    Attendant(const Attendant&) = delete;
    Attendant& operator=(const Attendant&) = delete;

    /// What to wait for now; a negative descriptor is nothing.
    [[nodiscard]] virtual pollfd awaits() const = 0;
    /// It came. Returns soon, whatever others do.
    virtual void attend() = 0;
};

} // namespace world
