// Debug-log text through the latest context use, held to the plain whole-file reading (whose
// figures come from a real regular-expression engine).
#include "fuzz_home.h"
#include "localstats/debug_log.h"
#include "localstats/local_stats_reader.h"
#include "support/reference_local_stats.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillon;
    static LocalStatsReader reader(fuzz::fuzzHome());
    static const test::ReferenceLocalStats reference(fuzz::fuzzHome());
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    // A percentage no 64-bit integer holds stops the program by design; not compared.
    if (const auto line = localstats::lastMarkedLine(text)) {
        if (const auto figures = localstats::contextFigures(*line);
            figures && figures->effectiveWindow > 0 &&
            static_cast<double>(figures->tokensUsed) /
                    static_cast<double>(figures->effectiveWindow) * 100.0 >=
                9.2e18) {
            return 0;
        }
    }
    fuzz::writeFile(fuzz::fuzzHome() / ".claude/debug/abc-1.txt", text);
    if (reader.readLatestContext() != reference.readLatestContext()) {
        std::abort();
    }
    return 0;
}
