#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace quillon {

// The whole contents of a small regular file, or nothing when it is missing, unreadable, not a
// regular file (a FIFO or device would block or never end) or larger than `maxBytes`.
std::optional<std::string> readBoundedFile(const std::filesystem::path& path, std::size_t maxBytes);

} // namespace quillon
