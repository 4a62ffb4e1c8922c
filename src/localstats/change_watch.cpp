#include "localstats/change_watch.h"

#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quillon::localstats {

namespace {

constexpr unsigned contentEvents = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB;
constexpr unsigned watchedEvents = contentEvents | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                                   IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr unsigned lostEvents =
    IN_Q_OVERFLOW | IN_IGNORED | IN_UNMOUNT | IN_DELETE_SELF | IN_MOVE_SELF;

} // namespace

bool isLocalFileSystem(const std::string& path) {
    struct statfs about {};
    if (::statfs(path.c_str(), &about) != 0) {
        return false;
    }
    switch (static_cast<unsigned long>(about.f_type)) {
    case 0xEF53:     // ext2, ext3, ext4
    case 0x58465342: // xfs
    case 0x9123683E: // btrfs
    case 0x01021994: // tmpfs
    case 0xF2F52010: // f2fs
    case 0x2FC12FC1: // zfs
    case 0xCA451A4E: // bcachefs
    case 0x794C7630: // overlayfs
    case 0x3153464A: // jfs
    case 0x52654973: // reiserfs
        return true;
    default:
        return false;
    }
}

ChangeWatch::~ChangeWatch() {
    stop();
}

void ChangeWatch::stop() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
    fd_ = -1;
    folders_.clear();
    paths_.clear();
}

bool ChangeWatch::watch(const std::string& path, FolderRole role) {
    if (fd_ < 0) {
        fd_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (fd_ < 0) {
            return false;
        }
    }
    if (paths_.contains(path)) {
        return true;
    }
    const int wd = ::inotify_add_watch(
        fd_, path.c_str(), watchedEvents | IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK);
    // The same folder under two names would make its events ambiguous.
    if (wd < 0 || folders_.contains(wd)) {
        return false;
    }
    folders_.emplace(wd, Folder{path, role});
    paths_.insert(path);
    return true;
}

void ChangeWatch::note(int wd, unsigned mask, std::string_view name, Changes& changes) const {
    const auto found = folders_.find(wd);
    if ((mask & lostEvents) != 0 || found == folders_.end()) {
        changes.structural = true;
        return;
    }
    const bool content = (mask & contentEvents) != 0 && (mask & ~contentEvents) == 0;
    const Folder& folder = found->second;
    switch (folder.role) {
    case FolderRole::claude:
        // Only these three names are ever read here; the tool keeps much else beside them.
        if (name == "history.jsonl") {
            changes.history = true;
        } else if (name == "projects" || name == "debug" || name.empty()) {
            changes.structural = true;
        }
        return;
    case FolderRole::projects:
        // Files beside the project folders are never read.
        changes.structural = changes.structural || !content || name.empty();
        return;
    case FolderRole::sessions:
        if (content && !name.empty()) {
            changes.sessionFiles.insert(folder.path + "/" + std::string(name));
        } else {
            changes.structural = true;
        }
        return;
    case FolderRole::debug:
        if (name.ends_with(".txt")) {
            changes.debug = true;
            changes.structural = changes.structural || !content;
        } else if (name.empty()) {
            changes.structural = true;
        }
        return;
    }
}

Changes ChangeWatch::take() {
    Changes changes;
    alignas(inotify_event) char buffer[16384];
    while (fd_ >= 0) {
        const ssize_t got = ::read(fd_, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            changes.structural = changes.structural || (got < 0 && errno != EAGAIN);
            break;
        }
        for (ssize_t at = 0; at < got;) {
            inotify_event event{};
            std::memcpy(&event, buffer + at, sizeof event);
            const char* name = buffer + at + static_cast<ssize_t>(sizeof event);
            note(event.wd, event.mask, std::string_view(name, ::strnlen(name, event.len)), changes);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
    return changes;
}

} // namespace quillon::localstats
