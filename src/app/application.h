#pragma once

namespace quillon {

// Starts Quillon in the panel and runs its event loop until it quits.
int runApplication(int argc, char** argv);

} // namespace quillon
