#pragma once

#include <cstdint>
#include <string>

namespace quillon {

// A short token count: "1.2M" from one million, "200.0K" from one thousand, else the plain number.
std::string formatTokens(std::int64_t n);

} // namespace quillon
