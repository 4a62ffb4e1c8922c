#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace quillon::fuzz {

// A home folder of its own in memory-backed storage, reused by every input of one fuzzing run.
inline const std::filesystem::path& fuzzHome() {
    static const std::filesystem::path home = [] {
        std::string pattern = "/dev/shm/quillon-fuzz-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        return std::filesystem::path(pattern);
    }();
    return home;
}

inline void writeFile(const std::filesystem::path& path, std::string_view text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace quillon::fuzz
