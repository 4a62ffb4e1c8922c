#pragma once

#include "model/usage_data.h"

#include <optional>
#include <string>

namespace quillon {

// The short text next to the panel icon: " C:42% X:17%", " C:42%", " X:17%", or "" when neither
// provider has figures. Only the five-hour window is shown, Claude always first; the leading
// blank keeps the text apart from the icon.
std::string menuBarTitle(const std::optional<UsageData>& claude,
                         const std::optional<UsageData>& codex);

// Whether two snapshots read the same in the title: both absent, or both present with the same
// five-hour percent. Nothing else in a snapshot matters to the title.
bool sameTitleFigure(const std::optional<UsageData>& a, const std::optional<UsageData>& b);

} // namespace quillon
