#include "localstats/line_file.h"

#include "localstats/descriptor.h"
#include "localstats/json_line.h"

#include <simdjson.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>

namespace quillon::localstats {

namespace {

constexpr std::size_t chunkSize = std::size_t{4} << 20;
constexpr std::size_t fingerprintSpan = 4096;

std::int64_t nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// Reads up to `size` bytes at `offset`; fewer only at the end of the file. -1 on failure.
std::int64_t readAt(int fd, char* into, std::size_t size, std::int64_t offset) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got =
            ::pread(fd, into + done, size - done, offset + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return -1;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

// FNV-1a of the first and last few kilobytes of [0, end): enough to tell an append from a
// rewrite, which changes what is already there.
std::optional<std::uint64_t> fingerprintOf(int fd, std::int64_t end) {
    std::uint64_t hash = 14695981039346656037ull;
    char bytes[fingerprintSpan];
    const auto span = static_cast<std::int64_t>(fingerprintSpan);
    for (const std::int64_t from : {std::int64_t{0}, std::max<std::int64_t>(0, end - span)}) {
        const auto want = static_cast<std::size_t>(std::min(span, end - from));
        if (readAt(fd, bytes, want, from) != static_cast<std::int64_t>(want)) {
            return std::nullopt;
        }
        for (std::size_t i = 0; i < want; ++i) {
            hash = (hash ^ static_cast<unsigned char>(bytes[i])) * 1099511628211ull;
        }
    }
    return hash;
}

class Buffer {
public:
    char* data() { return bytes_.get(); }
    std::size_t capacity() const { return capacity_; }
    // Keeps the first `keep` bytes.
    void reserve(std::size_t size, std::size_t keep) {
        if (size <= capacity_) {
            return;
        }
        auto bigger = std::make_unique_for_overwrite<char[]>(size + jsonPadding);
        if (keep > 0) {
            std::memcpy(bigger.get(), bytes_.get(), keep);
        }
        bytes_ = std::move(bigger);
        capacity_ = size;
    }

private:
    std::unique_ptr<char[]> bytes_;
    std::size_t capacity_ = 0;
};

bool isUtf8(std::string_view text) {
    return simdjson::validate_utf8(text.data(), text.size());
}

// Reads [from, end) of the file, handing complete lines to the sink and returning the offset
// after the last newline, or -1 on a read failure. The text after it is given as the tail.
std::int64_t readLines(int fd, std::int64_t from, std::int64_t end, LineFileState& state,
                       LineSink& sink) {
    Buffer buffer;
    std::size_t carried = 0;
    std::int64_t offset = from;
    std::int64_t completeEnd = from;
    while (offset < end) {
        const auto left = static_cast<std::size_t>(end - offset);
        buffer.reserve(std::min(chunkSize, carried + left), carried);
        if (carried == buffer.capacity()) {
            buffer.reserve(std::min(buffer.capacity() * 2, carried + left), carried);
        }
        const std::size_t want = std::min(buffer.capacity() - carried, left);
        const std::int64_t got = readAt(fd, buffer.data() + carried, want, offset);
        if (got < 0) {
            return -1;
        }
        if (got == 0) {
            break; // the file shrank while being read
        }
        offset += got;
        const std::size_t filled = carried + static_cast<std::size_t>(got);
        const void* newline = ::memrchr(buffer.data(), '\n', filled);
        if (newline == nullptr) {
            carried = filled;
            continue;
        }
        const auto complete =
            static_cast<std::size_t>(static_cast<const char*>(newline) - buffer.data()) + 1;
        const std::string_view lines(buffer.data(), complete);
        state.completeIsUtf8 = state.completeIsUtf8 && isUtf8(lines);
        sink.addLines(lines);
        completeEnd = offset - static_cast<std::int64_t>(filled - complete);
        carried = filled - complete;
        std::memmove(buffer.data(), buffer.data() + complete, carried);
    }
    buffer.reserve(std::max<std::size_t>(carried, 1), carried);
    const std::string_view tail(buffer.data(), carried);
    state.tailIsUtf8 = isUtf8(tail);
    sink.setTail(tail);
    return completeEnd;
}

LineFileUpdate forget(LineFileState& state, LineSink& sink) {
    state = {};
    sink.restart();
    return LineFileUpdate::unreadable;
}

} // namespace

std::int64_t wallClockNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return nanoseconds(now);
}

FileIdentity identityOf(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::int64_t>(status.st_size), nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim)};
}

bool isUnchanged(const LineFileState& state, const struct stat& status) {
    return state.known && state.settled && S_ISREG(status.st_mode) &&
           identityOf(status) == state.identity;
}

LineFileUpdate updateLineFile(const std::filesystem::path& path, LineFileState& state,
                              LineSink& sink) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return forget(state, sink);
    }
    if (isUnchanged(state, status)) {
        return LineFileUpdate::unchanged;
    }
    const std::int64_t readStart = wallClockNanoseconds();
    // Non-blocking, so that a FIFO swapped in after the check above cannot hang the open.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return forget(state, sink);
    }
    const FileIdentity before = identityOf(status);
    const bool appended = state.known && before.device == state.identity.device &&
                          before.inode == state.identity.inode &&
                          before.size > state.identity.size &&
                          fingerprintOf(file.get(), state.completeEnd) == state.fingerprint;
    std::int64_t from = 0;
    if (appended) {
        from = state.completeEnd;
    } else {
        sink.restart();
        state.completeIsUtf8 = true;
    }
    const std::int64_t completeEnd = readLines(file.get(), from, before.size, state, sink);
    if (completeEnd < 0) {
        return forget(state, sink);
    }
    const auto fingerprint = fingerprintOf(file.get(), completeEnd);
    struct stat after {};
    const bool stable =
        fingerprint && ::fstat(file.get(), &after) == 0 && identityOf(after) == before;
    state.known = stable; // a file that changed while read is read again from scratch next time
    state.identity = before;
    state.settled = before.changed < readStart - settleNanoseconds;
    state.completeEnd = completeEnd;
    state.fingerprint = fingerprint.value_or(0);
    return appended ? LineFileUpdate::appended : LineFileUpdate::reread;
}

} // namespace quillon::localstats
