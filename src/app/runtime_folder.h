#pragma once

#include <filesystem>
#include <optional>

namespace quillon {

// The user's runtime folder, where Quillon keeps its single-instance lock and the icons it names
// to the panel: files that live in memory and go with the session. $XDG_RUNTIME_DIR when it is a
// private folder of this user; else /run/user/<uid>, which the login manager makes even when
// the variable did not reach us (su, some ssh and cron set-ups); else a private folder of our
// own, quillon-<uid> in $TMPDIR (usually /tmp), which goes at the next boot. Nothing when no such
// folder can be had (a foreign or open folder under that name): then nothing is written there at
// all.
std::optional<std::filesystem::path> runtimeFolder();

// When XDG_RUNTIME_DIR is not set, sets it to runtimeFolder() for this process and its children:
// Qt looks for a runtime folder too, and would otherwise make /tmp/runtime-<user> with a
// warning on standard error, a second folder beside ours. Call it before the application object
// exists.
void adoptRuntimeFolder();

// Where runtimeFolder() looks, for tests.
struct RuntimePlaces {
    // $XDG_RUNTIME_DIR; nothing when unset.
    std::optional<std::filesystem::path> xdgRuntimeDir;
    // Holds the login manager's per-user folders, named by user id.
    std::filesystem::path sessionFolders = "/run/user";
    // Holds our own fallback folder, quillon-<uid>: $TMPDIR, or /tmp when that is unset.
    std::filesystem::path temporaryFolder = "/tmp";
};
std::optional<std::filesystem::path> runtimeFolder(const RuntimePlaces& places);

} // namespace quillon
