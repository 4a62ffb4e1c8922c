#include "model/format_tokens.h"

#include <array>
#include <cstdio>

namespace quillon {

std::string formatTokens(std::int64_t n) {
    std::array<char, 64> buffer{};
    if (n >= 1'000'000) {
        std::snprintf(buffer.data(), buffer.size(), "%.1fM", static_cast<double>(n) / 1'000'000.0);
    } else if (n >= 1'000) {
        std::snprintf(buffer.data(), buffer.size(), "%.1fK", static_cast<double>(n) / 1'000.0);
    } else {
        return std::to_string(n);
    }
    return buffer.data();
}

} // namespace quillon
