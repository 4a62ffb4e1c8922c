#pragma once

#include <filesystem>
#include <string_view>

namespace quillon::test {

// A fresh folder under the system's temporary directory, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // Writes `contents` to `relative` below the folder, creating parent folders.
    std::filesystem::path write(const std::filesystem::path& relative,
                                std::string_view contents) const;

private:
    std::filesystem::path path_;
};

} // namespace quillon::test
