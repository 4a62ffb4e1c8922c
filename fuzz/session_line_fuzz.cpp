// Session-log text through the token sum, held to the plain whole-file reading.
#include "fuzz_home.h"
#include "localstats/local_stats_reader.h"
#include "localstats/session_line.h"
#include "support/reference_local_stats.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillon;
    static LocalStatsReader reader(fuzz::fuzzHome());
    static const test::ReferenceLocalStats reference(fuzz::fuzzHome());
    static localstats::SessionLineReader lines;
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    // Each line on its own must not crash; sums that could overflow stop the program by design,
    // so they are not compared.
    __extension__ __int128 magnitude = 0;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        for (const auto field : lines.read(text.substr(start, end - start)).fields) {
            magnitude += field < 0 ? -static_cast<__int128>(field) : field;
        }
        start = end + 1;
    }
    if (magnitude > INT64_MAX) {
        return 0;
    }
    fuzz::writeFile(fuzz::fuzzHome() / ".claude/projects/-home-dev-app/s.jsonl", text);
    for (const char* day : {"2026-11-22", "2026-11-21"}) {
        if (reader.sumTodayTokens(day) != reference.sumTodayTokens(day)) {
            std::abort();
        }
    }
    return 0;
}
