#include "panel/card_renderer.h"

#include "panel/appearance.h"
#include "panel/panel_images.h"
#include "panel/qml_disk_cache.h"
#include "panel/view_helpers.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>

#include <cmath>

namespace quillon {
namespace {

QVariant optionalText(const std::optional<std::string>& text) {
    return text ? QVariant(QString::fromStdString(*text)) : QVariant();
}

QVariant optionalNumber(const std::optional<std::int64_t>& number) {
    // QML numbers are doubles; percentages are small enough to be exact there.
    return number ? QVariant(static_cast<double>(*number)) : QVariant();
}

} // namespace

QVariantMap toCardVariant(const SharedUsageData& snapshot) {
    QVariantMap map;
    const auto put = [&map](const char* key, const QVariant& value) {
        if (value.isValid()) {
            map.insert(QString::fromLatin1(key), value);
        }
    };
    put("claudePercent", optionalNumber(snapshot.claudePercent));
    put("codexPercent", optionalNumber(snapshot.codexPercent));
    put("claudeResetTime", optionalText(snapshot.claudeResetTime));
    put("codexResetTime", optionalText(snapshot.codexResetTime));
    map.insert(QStringLiteral("lastUpdated"),
               QDateTime::fromMSecsSinceEpoch(std::chrono::duration_cast<std::chrono::milliseconds>(
                                                  snapshot.lastUpdated.time_since_epoch())
                                                  .count()));
    return map;
}

UsageCard::UsageCard(const std::optional<SharedUsageData>& snapshot, Instant now) {
    // A card is a one-off picture: the software renderer needs no GPU context and can draw a
    // window that is never shown.
    if (QQuickWindow::graphicsApi() != QSGRendererInterface::Software) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
    keepQmlCacheInMemory();
    view_ = std::make_unique<QQuickView>();
    view_->setResizeMode(QQuickView::SizeViewToRootObject);
    // The same helpers, colours and symbols as the panel's views, with the age of the figures
    // measured at `now`.
    view_->engine()->addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
    auto* appearance = new Appearance(view_.get());
    QQmlContext* context = view_->rootContext();
    context->setContextProperty(QStringLiteral("appearance"), appearance);
    context->setContextProperty(QStringLiteral("views"),
                                new ViewHelpers([now] { return now; }, view_.get()));
    view_->setColor(appearance->background());
    if (snapshot) {
        view_->setInitialProperties({{QStringLiteral("snapshot"), toCardVariant(*snapshot)}});
        view_->setSource(QUrl(QStringLiteral("qrc:/views/UsageSnippetView.qml")));
    } else {
        view_->setSource(QUrl(QStringLiteral("qrc:/views/NoDataSnippetView.qml")));
    }
}

UsageCard::~UsageCard() = default;

QQuickItem* UsageCard::root() const {
    return view_->rootObject();
}

QImage UsageCard::image() const {
    QQuickItem* item = root();
    if (item == nullptr) {
        return {};
    }
    view_->resize(static_cast<int>(std::ceil(item->width())),
                  static_cast<int>(std::ceil(item->height())));
    return view_->grabWindow();
}

bool UsageCard::savePng(const QString& path) const {
    const QImage picture = image();
    return !picture.isNull() && picture.save(path, "PNG");
}

} // namespace quillon
