#pragma once

namespace world {

/// Where hostctl finds the world that it is in: a name, object and interface of the world's session bus.
constexpr const char* ControlName = "tov.world";
constexpr const char* ControlPath = "/tov/world/Host";
constexpr const char* ControlInterface = "tov.world.Host";

} // namespace world
