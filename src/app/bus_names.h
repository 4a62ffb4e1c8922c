#pragma once

namespace quillon::busNames {

// Where the running application offers its figures on the session bus, and the interface's
// version: a change that breaks its clients gets a new interface name.
inline constexpr auto service = "org.quillon.Quillon";
inline constexpr auto objectPath = "/org/quillon/Quillon";
inline constexpr auto interface = "org.quillon.Quillon1";

} // namespace quillon::busNames
