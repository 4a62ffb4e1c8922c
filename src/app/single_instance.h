#pragma once

#include <filesystem>
#include <optional>

namespace quillon {

// Holds the per-user lock that lets only one panel application run at a time. The lock is an
// flock on a file, so it goes away with the process however that ends: a crash leaves nothing
// stale behind.
class SingleInstance {
public:
    // Tries to take the lock on `lockFile`; see isFirst().
    explicit SingleInstance(const std::filesystem::path& lockFile);
    // The lock of the current user: quillon.lock in the user's runtime folder (usually
    // $XDG_RUNTIME_DIR; see runtimeFolder()).
    SingleInstance();
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    // False only when another process holds the lock. A lock file that cannot be opened at all
    // (an unwritable or foreign folder) does not keep the application from starting.
    bool isFirst() const { return isFirst_; }

    // Where the current user's lock lives; nothing when no safe place exists.
    static std::optional<std::filesystem::path> defaultLockFile();

private:
    void lock(const std::filesystem::path& lockFile);

    int fd_ = -1;
    bool isFirst_ = true;
};

} // namespace quillon
