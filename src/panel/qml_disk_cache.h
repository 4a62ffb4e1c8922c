#pragma once

namespace quillon {

// Keeps the QML engine from saving its compiled views under ~/.cache: the views are a few small
// files compiled in memory in a few milliseconds, and Quillon writes nothing beyond what its
// README lists. Compiling them ahead of time instead would tie the program to the private
// interfaces of the exact Qt build it was made with. Call it before the first QML engine exists.
void keepQmlCacheInMemory();

} // namespace quillon
