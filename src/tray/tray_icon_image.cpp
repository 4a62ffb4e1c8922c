#include "tray/tray_icon_image.h"

#include "tray/symbolic_icon.h"

#include "app/level_colours.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>

namespace quillon {
namespace {

// Mid grey, three quarters opaque: it stands out from a black bar and from a white one alike.
const QColor trackColour(128, 128, 128, 190);
const QColor symbolicColour(0xbe, 0xbe, 0xbe);

void drawBar(QPainter& painter, const QRectF& track, std::optional<std::int64_t> percent) {
    const qreal radius = std::min(track.height() / 3.0, 2.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(trackColour);
    painter.drawRoundedRect(track, radius, radius);
    if (!percent || *percent <= 0) {
        return;
    }
    const qreal share = static_cast<qreal>(std::min<std::int64_t>(*percent, 100)) / 100.0;
    // At least one pixel, so that 1 % still shows.
    const qreal width = std::max(1.0, std::round(track.width() * share));
    painter.setBrush(usageLevelColor(*percent));
    painter.drawRoundedRect(QRectF(track.left(), track.top(), width, track.height()), radius,
                            radius);
}

} // namespace

TrayFigures trayFigures(const std::optional<UsageData>& claude,
                        const std::optional<UsageData>& codex) {
    TrayFigures figures;
    if (claude) {
        figures.claude = claude->fiveHour.percent;
    }
    if (codex) {
        figures.codex = codex->fiveHour.percent;
    }
    return figures;
}

QColor usageLevelColor(std::int64_t percent) {
    // The icon keeps the light variant whatever the desktop's palette: it reads on dark and light
    // bars alike.
    return levelColour(usageLevel(percent), false);
}

QImage trayFiguresImage(const TrayFigures& figures, int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // Bars about a third of the side high with a clear gap, on whole pixels so that the edges
    // stay sharp at 16 px: 5 + 2 + 5 at 16, 7 + 3 + 7 at 22, 8 + 3 + 8 at 24.
    const int margin = side >= 22 ? 2 : 1;
    const int height = static_cast<int>(std::lround(side * 0.32));
    const int gap = side >= 22 ? 3 : 2;
    const int top = (side - (2 * height + gap)) / 2;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal width = side - 2 * margin;
    drawBar(painter, QRectF(margin, top, width, height), figures.claude);
    drawBar(painter, QRectF(margin, top + height + gap, width, height), figures.codex);
    return image;
}

QImage symbolicGaugeImage(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(QString::fromLatin1(symbolicIconResource));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, side, side));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), symbolicColour);
    return image;
}

QList<QImage> trayIconImages(const TrayFigures& figures) {
    QList<QImage> images;
    for (const int side : trayIconSides) {
        images.append(figures.any() ? trayFiguresImage(figures, side) : symbolicGaugeImage(side));
    }
    return images;
}

QIcon trayIcon(const TrayFigures& figures) {
    QIcon icon;
    for (const QImage& image : trayIconImages(figures)) {
        icon.addPixmap(QPixmap::fromImage(image));
    }
    return icon;
}

} // namespace quillon
