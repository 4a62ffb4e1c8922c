#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

struct stat;

namespace quillon::localstats {

// File times come from a clock that ticks coarsely: a file changed this close before it was read
// may change again without its identity showing it, so such a read proves nothing next time.
inline constexpr std::int64_t settleNanoseconds = 2'000'000'000;

// The wall clock, in nanoseconds since 1970, as file times count.
std::int64_t wallClockNanoseconds();

// What tells one version of a file from another without reading it.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0; // nanoseconds since 1970
    std::int64_t changed = 0;  // status change, nanoseconds since 1970

    bool operator==(const FileIdentity&) const = default;
};

FileIdentity identityOf(const struct stat& status);

// What is remembered about a file of lines between two reads of it, whatever is taken from the
// lines themselves (that lives in the LineSink).
struct LineFileState {
    bool known = false; // the fields below describe a finished read
    FileIdentity identity;
    bool settled = false; // last changed well before that read, so an equal identity is proof
    std::int64_t completeEnd = 0;  // offset just past the last newline read
    std::uint64_t fingerprint = 0; // of the first and last bytes before completeEnd
    bool completeIsUtf8 = true;
    bool tailIsUtf8 = true;

    bool isUtf8() const { return completeIsUtf8 && tailIsUtf8; }
};

// Receives the lines of a file as they are read. Every text handed over can be read for
// jsonPadding bytes past its end.
class LineSink {
public:
    virtual ~LineSink() = default;
    // The file is read again from its first byte: forget what was received before.
    virtual void restart() = 0;
    // Complete lines following those received so far, each ending in a newline.
    virtual void addLines(std::string_view text) = 0;
    // The text after the last newline: a line being written, or nothing.
    virtual void setTail(std::string_view line) = 0;
};

// Whether a file whose status is `status` is, as far as can be proven, the one `state` describes.
bool isUnchanged(const LineFileState& state, const struct stat& status);

enum class LineFileUpdate { unreadable, unchanged, appended, reread };

// Brings `state` and `sink` up to date with the regular file at `path`: nothing is read when it
// is unchanged, only the new bytes when it grew by appending, all of it otherwise. Anything that
// is not a regular file, or cannot be opened or read, is unreadable.
LineFileUpdate updateLineFile(const std::filesystem::path& path, LineFileState& state,
                              LineSink& sink);

} // namespace quillon::localstats
