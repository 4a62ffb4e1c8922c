#include "localstats/local_stats_fixture.h"

#include <fcntl.h>

#include <cmath>
#include <fstream>

namespace quillon::test {

void LocalStatsTest::append(const std::string& relative, std::string_view text) const {
    std::ofstream out(claude() / relative, std::ios::binary | std::ios::app);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void LocalStatsTest::setModified(const std::filesystem::path& path, double secondsAgo) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const double when = static_cast<double>(now.tv_sec) - secondsAgo;
    timespec times[2];
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(std::floor(when));
    times[1].tv_nsec = static_cast<long>((when - std::floor(when)) * 1e9);
    ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

LocalStatsResult LocalStatsTest::readChecked(Instant now) {
    const auto result = reader.read(now);
    EXPECT_TRUE(result.has_value());
    EXPECT_EQ(result, reference.read(now));
    return result.value_or(LocalStatsResult{});
}

} // namespace quillon::test
