#include "model/menu_bar_title.h"

#include <vector>

namespace quillon {

std::string menuBarTitle(const std::optional<UsageData>& claude,
                         const std::optional<UsageData>& codex) {
    std::vector<std::string> pieces;
    if (claude) {
        pieces.push_back("C:" + std::to_string(claude->fiveHour.percent) + "%");
    }
    if (codex) {
        pieces.push_back("X:" + std::to_string(codex->fiveHour.percent) + "%");
    }
    std::string title;
    for (const auto& piece : pieces) {
        title += ' ';
        title += piece;
    }
    return title;
}

bool sameTitleFigure(const std::optional<UsageData>& a, const std::optional<UsageData>& b) {
    if (a.has_value() != b.has_value()) {
        return false;
    }
    return !a || a->fiveHour.percent == b->fiveHour.percent;
}

} // namespace quillon
