#include "model/provider.h"

namespace quillon {

std::string_view rawValue(Provider provider) {
    switch (provider) {
    case Provider::claude:
        return "claude";
    case Provider::codex:
        return "codex";
    }
    return {};
}

std::optional<Provider> providerFromRawValue(std::string_view raw) {
    if (raw == "claude") {
        return Provider::claude;
    }
    if (raw == "codex") {
        return Provider::codex;
    }
    return std::nullopt;
}

} // namespace quillon
