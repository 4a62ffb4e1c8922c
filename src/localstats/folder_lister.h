#pragma once

#include "localstats/line_file.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillon::localstats {

struct FolderEntry {
    std::string name;
    bool isDirectory = false; // the entry itself, not what a symbolic link points at
    bool isLink = false;
};

// Lists folders, remembering each listing and listing a folder again only once it has changed.
// Within one pass a folder is looked at once.
class FolderLister {
public:
    // Starts a pass: every folder is checked for changes again when next asked for.
    void beginPass() { ++pass_; }
    // Forgets the folders not asked for during the current pass.
    void forgetUnused();
    // While trusted, a folder listed before is taken to be unchanged without looking at it:
    // for when something else vouches that no names came or went.
    void trustListings(bool trusted) { trusted_ = trusted; }

    // The entries of the folder at `path` (symbolic links followed), in the order the system
    // lists them, without "." and ".."; nothing when it cannot be listed.
    const std::vector<FolderEntry>* list(const std::filesystem::path& path);

private:
    struct Listing {
        FileIdentity identity;
        bool settled = false;
        std::vector<FolderEntry> entries;
        std::uint64_t pass = 0;
    };
    std::unordered_map<std::string, Listing> listings_;
    std::uint64_t pass_ = 1;
    bool trusted_ = false;
};

} // namespace quillon::localstats
