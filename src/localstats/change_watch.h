#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace quillon::localstats {

// What the folders under watch saw since the last look.
struct Changes {
    bool structural = false; // names came or went, or what happened is not known
    bool history = false;    // the prompt history changed
    bool debug = false;      // a debug log changed
    std::unordered_set<std::string> sessionFiles; // paths whose contents or status changed

    bool none() const { return !structural && !history && !debug && sessionFiles.empty(); }
};

// Whether the file system holding `path` is one whose every change the kernel reports: a local
// one, not a network share or a user-space file system.
bool isLocalFileSystem(const std::string& path);

// What a watched folder is to the reader, which decides which of its events matter.
enum class FolderRole { claude, projects, sessions, debug };

// The kernel's word on changes in a set of folders. A folder's own entries are watched, not
// anything a symbolic link points at: a change made through another name for the same file (a
// link elsewhere) is not seen, so the reader trusts a quiet watch only where no such name exists.
class ChangeWatch {
public:
    ChangeWatch() = default;
    ~ChangeWatch();
    ChangeWatch(const ChangeWatch&) = delete;
    ChangeWatch& operator=(const ChangeWatch&) = delete;

    bool active() const { return fd_ >= 0; }
    // Watches the folder at `path` (not a symbolic link to one) from now on. False when it
    // cannot be watched: missing, not a folder, no more watches allowed.
    bool watch(const std::string& path, FolderRole role);
    // Stops watching anything.
    void stop();
    // Everything reported since the last call. Stopping is not reported: ask active() first.
    Changes take();

private:
    void note(int wd, unsigned mask, std::string_view name, Changes& changes) const;

    struct Folder {
        std::string path;
        FolderRole role;
    };
    int fd_ = -1;
    std::unordered_map<int, Folder> folders_;
    std::unordered_set<std::string> paths_;
};

} // namespace quillon::localstats
