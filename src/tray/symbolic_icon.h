#pragma once

#include <QImage>
#include <QList>
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

// Writes a picture drawn by the program into that folder under `name`, for the panels that
// show icons by name only: each image (a square) as the theme's
// "hicolor/<side>x<side>/apps/<name>.png", and the largest loose as "<name>.png". The pictures
// of other names written this way are removed, so the folder holds the current one only.
// False if the folder could not be written.
bool writeNamedIcon(const QString& name, const QList<QImage>& images);

} // namespace quillon
