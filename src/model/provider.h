#pragma once

#include <optional>
#include <string_view>

namespace quillon {

// The two watched services. Equality and hashing are those of the enumeration.
enum class Provider { claude, codex };

// "claude" or "codex".
std::string_view rawValue(Provider provider);

// A provider is identified by its raw value.
inline std::string_view id(Provider provider) {
    return rawValue(provider);
}

// Exactly "claude" or "codex", case-sensitive; anything else gives no provider.
std::optional<Provider> providerFromRawValue(std::string_view raw);

} // namespace quillon
