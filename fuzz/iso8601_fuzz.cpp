// Stamps through the strict ISO 8601 reader, and instants through writing and reading back.
#include "providers/formatters.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

using namespace std::chrono;
using quillon::Instant;
using quillon::Formatters::formatIso8601;
using quillon::Formatters::parseIso8601;

void check(bool ok) {
    if (!ok) {
        std::abort();
    }
}

// Writing cuts to milliseconds; reading that text gives the cut instant back exactly.
void checkRoundTrip(Instant instant) {
    const auto again = parseIso8601(formatIso8601(instant));
    check(again.has_value() && *again == floor<milliseconds>(instant));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto instant = parseIso8601(text)) {
        // Whatever was accepted has the one shape: date, 'T', time, '.', 1-9 digits, zone.
        check(text.size() >= 22 && text.size() <= 35 && text[10] == 'T' && text[19] == '.');
        check(text.back() == 'Z' || text[text.size() - 3] == ':');
        checkRoundTrip(*instant);
    }
    // The same bytes as a tick count, kept a few seconds away from the ends of what an Instant
    // can hold, where the text of a moment could name one just outside.
    if (size >= sizeof(std::int64_t)) {
        std::int64_t ticks = 0;
        std::memcpy(&ticks, data, sizeof ticks);
        constexpr std::int64_t margin = std::numeric_limits<Instant::rep>::max() -
                                        duration_cast<Instant::duration>(seconds(5)).count();
        if (ticks > -margin && ticks < margin) {
            checkRoundTrip(Instant{Instant::duration{ticks}});
        }
    }
    return 0;
}
