#pragma once

#include <filesystem>
#include <optional>

namespace quillon {

// The user's runtime folder, where Quillon keeps its single-instance lock and the icons it names
// to the panel: files that live in memory and go with the session. $XDG_RUNTIME_DIR when it is a
// private folder of this user; else /run/user/<uid>, which the login manager makes even when
// the variable did not reach us (su, some ssh and cron set-ups); else a private folder of our
// own, /tmp/quillon-<uid>, which goes at the next boot. Nothing when no such folder can be had
// (a foreign or open folder under that name): then nothing is written there at all.
std::optional<std::filesystem::path> runtimeFolder();

// Where runtimeFolder() looks, for tests.
struct RuntimePlaces {
    // $XDG_RUNTIME_DIR; nothing when unset.
    std::optional<std::filesystem::path> xdgRuntimeDir;
    // Holds the login manager's per-user folders, named by user id.
    std::filesystem::path sessionFolders = "/run/user";
    // Holds our own fallback folder, quillon-<uid>.
    std::filesystem::path temporaryFolder = "/tmp";
};
std::optional<std::filesystem::path> runtimeFolder(const RuntimePlaces& places);

} // namespace quillon
