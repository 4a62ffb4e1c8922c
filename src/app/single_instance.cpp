#include "app/single_instance.h"

#include "app/runtime_folder.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace quillon {

std::optional<std::filesystem::path> SingleInstance::defaultLockFile() {
    if (const auto folder = runtimeFolder()) {
        return *folder / "quillon.lock";
    }
    return std::nullopt;
}

SingleInstance::SingleInstance(const std::filesystem::path& lockFile) {
    lock(lockFile);
}

SingleInstance::SingleInstance() {
    if (const auto lockFile = defaultLockFile()) {
        lock(*lockFile);
    }
}

void SingleInstance::lock(const std::filesystem::path& lockFile) {
    fd_ = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd_ < 0) {
        return;
    }
    int result = 0;
    do {
        result = ::flock(fd_, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        isFirst_ = errno != EWOULDBLOCK;
        ::close(fd_);
        fd_ = -1;
    }
}

SingleInstance::~SingleInstance() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

} // namespace quillon
