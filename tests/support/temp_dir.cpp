#include "support/temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace quillon::test {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quillon-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot create a temporary folder");
    }
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempDir::write(const std::filesystem::path& relative,
                                     std::string_view contents) const {
    const auto target = path_ / relative;
    std::filesystem::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    return target;
}

} // namespace quillon::test
