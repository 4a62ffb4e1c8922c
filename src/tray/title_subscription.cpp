#include "tray/title_subscription.h"

#include "app/app_state.h"
#include "model/menu_bar_title.h"

namespace quillon {

TitleSubscription::TitleSubscription(AppState& state, Sink updateMenuBarTitle, QObject* parent)
    : QObject(parent), sink_(std::move(updateMenuBarTitle)) {
    debounce_.setSingleShot(true);
    debounce_.setTimerType(Qt::PreciseTimer);
    debounce_.setInterval(debounceMs);
    connect(&debounce_, &QTimer::timeout, this, [this] {
        if (sink_) {
            sink_(pending_.first, pending_.second);
        }
    });
    const auto latest = [this, &state] { offer(state.claudeUsage(), state.codexUsage()); };
    connect(&state, &AppState::claudeUsageChanged, this, latest);
    connect(&state, &AppState::codexUsageChanged, this, latest);
    latest();
}

void TitleSubscription::offer(std::optional<UsageData> claude, std::optional<UsageData> codex) {
    if (previous_ && sameTitleFigure(previous_->first, claude) &&
        sameTitleFigure(previous_->second, codex)) {
        return;
    }
    previous_ = Pair(claude, codex);
    pending_ = Pair(std::move(claude), std::move(codex));
    debounce_.start();
}

} // namespace quillon
