#pragma once

#include <cstddef>
#include <string_view>

namespace quillon::localstats {

// The first occurrence of `needle` in [from, end), or `end`. Looks for two of its bytes at once
// (`probeA` and `probeB` are their positions in the needle; choose bytes that are rare together)
// sixteen positions at a time, which is several times faster than a general substring search
// on text full of quotes and letters.
const char* findBytes(const char* from, const char* end, std::string_view needle,
                      std::size_t probeA, std::size_t probeB);

// The first '"' or '\\' in [from, end), or `end`.
const char* findQuoteOrBackslash(const char* from, const char* end);

} // namespace quillon::localstats
