#include "providers/extra_window_search.h"

#include "model/numbers.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

namespace quillon {
namespace {

// A member worth a look: a named window is neither an extra nor a place to look for one, and a
// key that is no window key cannot lead to one.
bool isCandidate(const std::string& path, const nlohmann::json& value,
                 std::initializer_list<std::string_view> named) {
    return value.is_object() && isWindowKey(path) &&
           std::find(named.begin(), named.end(), path) == named.end();
}

} // namespace

ExtraWindows findExtraWindows(const nlohmann::json& answer, WindowReader read,
                              std::initializer_list<std::string_view> named) {
    ExtraWindows windows;
    if (!answer.is_object()) {
        return windows;
    }
    for (const auto& [key, value] : answer.items()) {
        if (windows.size() >= maxExtraWindows) {
            break;
        }
        if (!isCandidate(key, value, named)) {
            continue;
        }
        if (const auto window = read(value)) {
            addExtraWindow(windows, key, *window);
            continue;
        }
        for (const auto& [innerKey, innerValue] : value.items()) {
            if (windows.size() >= maxExtraWindows) {
                break;
            }
            std::string path = key;
            path += '.';
            path += innerKey;
            if (!isCandidate(path, innerValue, named)) {
                continue;
            }
            if (const auto window = read(innerValue)) {
                addExtraWindow(windows, path, *window);
            }
        }
    }
    return windows;
}

bool hasWindowShape(const nlohmann::json& value, std::string_view percentKey,
                    std::string_view resetKey, ResetForm form) {
    if (!value.is_object()) {
        return false;
    }
    const auto percent = value.find(percentKey);
    const auto reset = value.find(resetKey);
    if (percent == value.end() || !isPercentFigure(*percent) || reset == value.end()) {
        return false;
    }
    return reset->is_null() || (form == ResetForm::text ? reset->is_string() : reset->is_number());
}

bool isPercentFigure(const nlohmann::json& value) {
    return value.is_number() && tryRoundToInt64(value.get<double>()).has_value();
}

} // namespace quillon
