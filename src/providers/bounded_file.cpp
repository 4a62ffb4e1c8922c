#include "providers/bounded_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon {
namespace {

// Closes the descriptor when the reader is done with it, whichever way it leaves.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

} // namespace

std::optional<std::string> readBoundedFile(const std::filesystem::path& path,
                                           std::size_t maxBytes) {
    // O_NONBLOCK keeps open() from waiting for a writer when someone put a FIFO in its place.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0) {
        return std::nullopt;
    }
    struct stat info {};
    if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    std::string contents;
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        if (got == 0) {
            return contents;
        }
        // The size is checked while reading, not from fstat, because the file may grow.
        if (static_cast<std::size_t>(got) > maxBytes - contents.size()) {
            return std::nullopt;
        }
        contents.append(buffer, static_cast<std::size_t>(got));
    }
}

} // namespace quillon
