#pragma once

#include <optional>
#include <string>

namespace quillon {

// Why the application cannot open its windows, as one line for standard error that names the
// cause and what to do; nothing when the display is there. Without it, Qt's platform start-up
// ends in an abort whose advice ("Reinstalling the application may fix this problem") is wrong.
// Only the X11 display is checked (the platform Quillon picks itself, also on Wayland through
// XWayland); a platform the user chose with QT_QPA_PLATFORM is left to Qt.
// Call it after prepareGuiPlatform() and before the application object exists.
std::optional<std::string> displayProblem();

} // namespace quillon
