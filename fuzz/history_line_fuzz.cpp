// Prompt-history text through the message count, held to the plain whole-file reading.
#include "fuzz_home.h"
#include "localstats/history_line.h"
#include "localstats/local_stats_reader.h"
#include "support/reference_local_stats.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillon;
    static LocalStatsReader reader(fuzz::fuzzHome());
    static const test::ReferenceLocalStats reference(fuzz::fuzzHome());
    static localstats::HistoryLineReader lines;
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    std::string days[] = {"2026-11-22", "1970-01-01"};
    if (const auto day = lines.read(text.substr(0, text.find('\n')))) {
        days[1].assign(day->begin(), day->end());
    }
    fuzz::writeFile(fuzz::fuzzHome() / ".claude/history.jsonl", text);
    for (const auto& day : days) {
        if (reader.countTodayMessages(day) != reference.countTodayMessages(day)) {
            std::abort();
        }
    }
    return 0;
}
