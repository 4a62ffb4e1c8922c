#include "model/extra_windows.h"

#include <algorithm>

namespace quillon {
namespace {

bool isKeyCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

} // namespace

bool isWindowKey(std::string_view key) {
    return !key.empty() && key.size() <= maxWindowKeyLength &&
           std::all_of(key.begin(), key.end(), isKeyCharacter);
}

bool addExtraWindow(ExtraWindows& windows, std::string_view key, const UsageWindow& window) {
    if (windows.size() >= maxExtraWindows || !isWindowKey(key)) {
        return false;
    }
    const bool known = std::any_of(windows.begin(), windows.end(),
                                   [&](const ExtraWindow& extra) { return extra.key == key; });
    if (known) {
        return false;
    }
    windows.push_back({std::string(key), window});
    return true;
}

std::string readableWindowKey(std::string_view key) {
    std::string text;
    for (const char c : key) {
        const bool gap = c == '_' || c == '-' || c == '.';
        if (gap) {
            // Runs of separators make one space, and none leads or trails.
            if (!text.empty() && text.back() != ' ') {
                text += ' ';
            }
        } else {
            text += c;
        }
    }
    if (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z') {
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    }
    return text.empty() ? std::string(key) : text;
}

} // namespace quillon
