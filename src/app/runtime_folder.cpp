#include "app/runtime_folder.h"

#include <cerrno>
#include <cstdlib>
#include <string>

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

std::optional<std::filesystem::path> runtimeFolder() {
    RuntimePlaces places;
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime) {
        places.xdgRuntimeDir = runtime;
    }
    if (const char* temporary = std::getenv("TMPDIR"); temporary && *temporary) {
        places.temporaryFolder = temporary;
    }
    return runtimeFolder(places);
}

void adoptRuntimeFolder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && *runtime) {
        return;
    }
    if (const auto folder = runtimeFolder()) {
        ::setenv("XDG_RUNTIME_DIR", folder->c_str(), 1);
    }
}

std::optional<std::filesystem::path> runtimeFolder(const RuntimePlaces& places) {
    if (places.xdgRuntimeDir && isPrivateFolder(*places.xdgRuntimeDir)) {
        return places.xdgRuntimeDir;
    }
    const std::string uid = std::to_string(::getuid());
    if (const auto session = places.sessionFolders / uid; isPrivateFolder(session)) {
        return session;
    }
    const auto folder = places.temporaryFolder / ("quillon-" + uid);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return std::nullopt;
    }
    // Someone else's folder under /tmp could be used to keep us from starting, or to make us
    // write where they choose: such a folder is not used.
    if (!isPrivateFolder(folder)) {
        return std::nullopt;
    }
    return folder;
}

} // namespace quillon
