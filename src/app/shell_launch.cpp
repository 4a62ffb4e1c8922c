#include "app/shell_launch.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace quillon {

int execShell(char** argv) {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        std::cerr << "quillon: cannot find where quillon is installed: " << error.message() << '\n';
        return 127;
    }
    const std::filesystem::path folder = self.parent_path();
    const std::array candidates{folder / shellFileName,
                                folder / ".." / "libexec" / "quillon" / shellFileName};
    int lastError = ENOENT;
    for (const auto& candidate : candidates) {
        execv(candidate.c_str(), argv);
        lastError = errno;
    }
    std::cerr << "quillon: cannot start " << candidates.back().lexically_normal().string() << ": "
              << std::strerror(lastError) << '\n';
    return 127;
}

} // namespace quillon
