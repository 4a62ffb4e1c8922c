#include "localstats/folder_lister.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <optional>

namespace quillon::localstats {

namespace {

std::optional<std::vector<FolderEntry>> readFolder(const std::filesystem::path& path,
                                                   struct stat& status) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    DIR* folder = ::fdopendir(fd);
    if (folder == nullptr) {
        ::close(fd);
        return std::nullopt;
    }
    std::vector<FolderEntry> entries;
    bool failed = ::fstat(fd, &status) != 0;
    errno = 0;
    while (!failed) {
        const dirent* entry = ::readdir(folder);
        if (entry == nullptr) {
            failed = errno != 0;
            break;
        }
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        bool isDirectory = entry->d_type == DT_DIR;
        bool isLink = entry->d_type == DT_LNK;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat own {};
            const bool known = ::fstatat(fd, entry->d_name, &own, AT_SYMLINK_NOFOLLOW) == 0;
            isDirectory = known && S_ISDIR(own.st_mode);
            isLink = !known || S_ISLNK(own.st_mode);
        }
        entries.push_back({std::string(name), isDirectory, isLink});
    }
    ::closedir(folder);
    if (failed) {
        return std::nullopt;
    }
    return entries;
}

} // namespace

void FolderLister::forgetUnused() {
    std::erase_if(listings_, [this](const auto& item) { return item.second.pass != pass_; });
}

const std::vector<FolderEntry>* FolderLister::list(const std::filesystem::path& path) {
    const auto found = listings_.find(path.native());
    if (found != listings_.end() && (found->second.pass == pass_ || trusted_)) {
        found->second.pass = pass_;
        return &found->second.entries;
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        if (found != listings_.end()) {
            listings_.erase(found);
        }
        return nullptr;
    }
    if (found != listings_.end() && found->second.settled &&
        found->second.identity == identityOf(status)) {
        found->second.pass = pass_;
        return &found->second.entries;
    }
    const std::int64_t listedAt = wallClockNanoseconds();
    auto entries = readFolder(path, status);
    if (!entries) {
        if (found != listings_.end()) {
            listings_.erase(found);
        }
        return nullptr;
    }
    Listing& listing = listings_[path.native()];
    listing.identity = identityOf(status);
    listing.settled = listing.identity.changed < listedAt - settleNanoseconds;
    listing.entries = std::move(*entries);
    listing.pass = pass_;
    return &listing.entries;
}

} // namespace quillon::localstats
