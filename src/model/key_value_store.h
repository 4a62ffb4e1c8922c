#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon {

// A persistent per-user store of byte values by key (the settings file on the desktop).
class KeyValueStore {
public:
    virtual ~KeyValueStore() = default;

    // The bytes stored under `key`, or nothing when the key is missing or holds no byte value.
    virtual std::optional<std::string> readBytes(std::string_view key) const = 0;
    virtual void writeBytes(std::string_view key, std::string_view bytes) = 0;
};

} // namespace quillon
