#pragma once

#include "model/extra_windows.h"

#include <nlohmann/json_fwd.hpp>

#include <initializer_list>
#include <optional>
#include <string_view>

namespace quillon {

// Reads one value of a reply as a window when it has the provider's window shape; nothing when
// it has not.
using WindowReader = std::optional<UsageWindow> (*)(const nlohmann::json& value);

// The windows of `answer` beyond the `named` ones: its members, and the members of its other
// objects one level down, that `read` takes for windows, under their paths ("seven_day_opus",
// "rate_limit.tertiary_window"), in key order. Names are not guessed: whatever has the shape
// counts. Paths that are not window keys are left out, and at most maxExtraWindows are kept.
ExtraWindows findExtraWindows(const nlohmann::json& answer, WindowReader read,
                              std::initializer_list<std::string_view> named);

// The form a window's reset moment takes in a provider's replies: an ISO 8601 text, or a
// number of seconds since 1970.
enum class ResetForm { text, seconds };

// Whether `value` is an object in a provider's window shape: a percent figure under
// `percentKey`, and under `resetKey` null or a reset in the provider's form.
bool hasWindowShape(const nlohmann::json& value, std::string_view percentKey,
                    std::string_view resetKey, ResetForm form);

// Whether a value is a number whose rounded whole percent fits a window. For the named windows a
// figure beyond that stops the program; a window the program does not know is simply not read.
bool isPercentFigure(const nlohmann::json& value);

} // namespace quillon
