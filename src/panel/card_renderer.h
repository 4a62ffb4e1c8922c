#pragma once

#include "intents/shared_usage_data.h"
#include "model/instant.h"

#include <QImage>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <optional>

class QQuickItem;
class QQuickView;

namespace quillon {

// The result card of `quillon get-usage`: the usage card for a saved snapshot, the no-data card
// without one. Drawn by Qt Quick's software renderer into an offscreen window, so it needs a
// QGuiApplication but no display and no GPU.
class UsageCard {
public:
    // `now` sets the age shown under the rings.
    UsageCard(const std::optional<SharedUsageData>& snapshot, Instant now);
    ~UsageCard();
    UsageCard(const UsageCard&) = delete;
    UsageCard& operator=(const UsageCard&) = delete;

    // The card's root item, or none when the view could not be built.
    QQuickItem* root() const;
    // The card as a picture, sized to its content, on the window colour of the palette.
    QImage image() const;
    // Writes image() as PNG; false when it could not be drawn or written.
    bool savePng(const QString& path) const;

private:
    std::unique_ptr<QQuickView> view_;
};

// The values the usage card's `snapshot` property expects.
QVariantMap toCardVariant(const SharedUsageData& snapshot);

} // namespace quillon
