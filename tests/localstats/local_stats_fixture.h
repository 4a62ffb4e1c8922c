#pragma once

#include "localstats/local_stats_reader.h"
#include "support/reference_local_stats.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

namespace quillon::test {

// A home folder of its own, the reader on it, and the plain reading to compare with.
class LocalStatsTest : public ::testing::Test {
public:
    static Instant at(std::chrono::sys_days day, std::chrono::seconds timeOfDay) {
        return Instant{
            std::chrono::duration_cast<Instant::duration>(day.time_since_epoch() + timeOfDay)};
    }

protected:
    std::filesystem::path claude() const { return home.path() / ".claude"; }
    std::filesystem::path write(const std::string& relative, std::string_view text) const {
        return home.write(std::filesystem::path(".claude") / relative, text);
    }
    void append(const std::string& relative, std::string_view text) const;
    // Sets the modification time, `secondsAgo` before now.
    static void setModified(const std::filesystem::path& path, double secondsAgo);

    // The reader's answer, checked against the plain reading of the same files.
    LocalStatsResult readChecked(Instant now);

    TempDir home;
    LocalStatsReader reader{home.path()};
    ReferenceLocalStats reference{home.path()};
};

} // namespace quillon::test
