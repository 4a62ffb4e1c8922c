#pragma once

#include <QString>

namespace quillon {

// The idle panel icon, a one-colour gauge that panels tint in their own foreground colour. It
// is installed in the hicolor theme under this name and carried in the program's resources.
inline constexpr auto symbolicIconName = "quillon-symbolic";
inline constexpr auto symbolicIconResource = ":/tray/quillon-symbolic.svg";

// A folder that holds the icon as a theme ("hicolor/scalable/apps/quillon-symbolic.svg") and
// loose ("quillon-symbolic.svg"), for the panels that look icons up by name only: written once
// per process into the user's runtime folder, so the name resolves even where the program runs
// uninstalled. Empty if the folder could not be written.
QString symbolicIconThemePath();

} // namespace quillon
