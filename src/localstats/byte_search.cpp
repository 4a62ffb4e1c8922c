#include "localstats/byte_search.h"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace quillon::localstats {

const char* findBytes(const char* from, const char* end, std::string_view needle,
                      std::size_t probeA, std::size_t probeB) {
    const std::size_t length = needle.size();
    const char* at = from;
#ifdef __SSE2__
    const __m128i a = _mm_set1_epi8(needle[probeA]);
    const __m128i b = _mm_set1_epi8(needle[probeB]);
    while (end - at >= static_cast<std::ptrdiff_t>(16 + length)) {
        const __m128i atA = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + probeA));
        const __m128i atB = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + probeB));
        auto mask = static_cast<unsigned>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(atA, a), _mm_cmpeq_epi8(atB, b))));
        while (mask != 0) {
            const char* candidate = at + __builtin_ctz(mask);
            if (std::memcmp(candidate, needle.data(), length) == 0) {
                return candidate;
            }
            mask &= mask - 1;
        }
        at += 16;
    }
#endif
    for (; end - at >= static_cast<std::ptrdiff_t>(length); ++at) {
        if (at[probeA] == needle[probeA] && std::memcmp(at, needle.data(), length) == 0) {
            return at;
        }
    }
    return end;
}

const char* findQuoteOrBackslash(const char* from, const char* end) {
    const char* at = from;
#ifdef __SSE2__
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    while (end - at >= 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(
            _mm_or_si128(_mm_cmpeq_epi8(block, quote), _mm_cmpeq_epi8(block, backslash))));
        if (mask != 0) {
            return at + __builtin_ctz(mask);
        }
        at += 16;
    }
#endif
    for (; at < end; ++at) {
        if (*at == '"' || *at == '\\') {
            return at;
        }
    }
    return end;
}

} // namespace quillon::localstats
