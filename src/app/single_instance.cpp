#include "app/single_instance.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon {

namespace {

// A folder of our own: a real directory (not a link) owned by this user and closed to others.
bool isPrivateFolder(const std::filesystem::path& folder) {
    struct stat info {};
    return ::lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
           info.st_uid == ::getuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

} // namespace

std::optional<std::filesystem::path> SingleInstance::defaultLockFile() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && *runtime && isPrivateFolder(runtime)) {
        return std::filesystem::path(runtime) / "quillon.lock";
    }
    const std::filesystem::path folder = "/tmp/quillon-" + std::to_string(::getuid());
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return std::nullopt;
    }
    // Someone else's folder under /tmp could be used to keep us from starting, or to make us
    // write where they choose: such a folder is not used.
    if (!isPrivateFolder(folder)) {
        return std::nullopt;
    }
    return folder / "quillon.lock";
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
