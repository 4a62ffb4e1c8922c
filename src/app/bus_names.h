#pragma once

namespace quillon::busNames {

// Where the running application offers its figures on the session bus, and the interface's
// version: a change that breaks its clients gets a new interface name.
inline constexpr auto service = "org.quillon.Quillon";
inline constexpr auto objectPath = "/org/quillon/Quillon";
inline constexpr auto interface = "org.quillon.Quillon1";
// Held by the desktop shell while its own button for Quillon is in the bar (GNOME Shell's
// extension), so that Quillon does not show a second item of its own.
inline constexpr auto shellButton = "org.quillon.Quillon.ShellButton";

} // namespace quillon::busNames
