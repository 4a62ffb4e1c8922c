#pragma once

namespace quillon {

// Starts Quillon in the panel and runs its event loop until it quits. When Quillon already runs
// for this user, says so on standard error and gives 0, leaving the running one alone. Without a
// display to show it on, says why on standard error and gives 1.
int runApplication(int argc, char** argv);

// Choices that must be made before the application object exists: X11 (through XWayland) on a
// Wayland session unless the user picked a Qt platform, since the panel places its own window
// and Wayland lets no client do that; Qt Quick's software renderer for every window; and the
// runtime folder Qt uses, the same as Quillon's own.
void prepareGuiPlatform();

} // namespace quillon
