#pragma once

#include <string_view>

namespace quillon {

// Stops the program. Reserved for the few faults that cannot come from well-formed input
// (an unrepresentable percentage, an overflowing token sum); everything else degrades quietly.
[[noreturn]] void fatal(std::string_view what);

} // namespace quillon
