#pragma once

#include "model/usage_data.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>
#include <utility>

namespace quillon {

class AppState;

// Keeps the panel title in step with the five-hour use of both providers: the latest pair of
// snapshots, whenever either changes; a pair that reads the same in the title as the one before
// it is dropped; the rest settle for 100 ms on the main thread, so that a burst of changes gives
// one update with the last values.
class TitleSubscription : public QObject {
    Q_OBJECT

public:
    using Sink = std::function<void(const std::optional<UsageData>& claude,
                                    const std::optional<UsageData>& codex)>;
    static constexpr int debounceMs = 100;

    // Follows `state`; the current pair is taken at once (and arrives 100 ms later).
    TitleSubscription(AppState& state, Sink updateMenuBarTitle, QObject* parent = nullptr);

    // A new pair of latest values; what follows `state` uses this too.
    void offer(std::optional<UsageData> claude, std::optional<UsageData> codex);

private:
    using Pair = std::pair<std::optional<UsageData>, std::optional<UsageData>>;

    Sink sink_;
    std::optional<Pair> previous_;
    Pair pending_;
    QTimer debounce_;
};

} // namespace quillon
