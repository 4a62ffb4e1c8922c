#include "app/app_icon.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillon {

namespace {

// The red of the macOS-style palette the icon was designed with.
constexpr QRgb discRed = qRgb(255, 59, 48);

class AppIconEngine : public QIconEngine {
public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        const int side = std::min(rect.width(), rect.height());
        if (side <= 0) {
            return;
        }
        const QPoint origin(rect.x() + (rect.width() - side) / 2,
                            rect.y() + (rect.height() - side) / 2);
        painter->drawImage(origin, generatePlaceholderAppIcon(side));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        const int side = std::min(size.width(), size.height());
        if (side <= 0) {
            return {};
        }
        return QPixmap::fromImage(generatePlaceholderAppIcon(side));
    }

    // Sizes a window manager or panel is offered up front; any other size is drawn on request.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int side : {16, 22, 24, 32, 48, 64, 128, 256}) {
            sizes.append(QSize(side, side));
        }
        return sizes;
    }

    QIconEngine* clone() const override { return new AppIconEngine; }
    QString key() const override { return QStringLiteral("quillon-gauge"); }
};

} // namespace

QImage generatePlaceholderAppIcon(int size) {
    if (size <= 0) {
        return {};
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);

    const qreal s = size;
    const QPointF centre(s / 2, s / 2);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    // Background disc, inset by 5 % on every side.
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(discRed));
    painter.drawEllipse(QRectF(0.05 * s, 0.05 * s, 0.9 * s, 0.9 * s));

    // Gauge arc: 270 degrees from the upper left, down through the bottom, to the upper right,
    // leaving the top open. QPainter's angles run counter-clockwise on screen, as on a dial.
    const qreal radius = 0.32 * s;
    const QRectF arcBox(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius);
    QPainterPath arc;
    arc.arcMoveTo(arcBox, 135);
    arc.arcTo(arcBox, 135, 270);
    QPen arcPen(QColor(255, 255, 255, qRound(0.9 * 255)), 0.08 * s);
    arcPen.setCapStyle(Qt::FlatCap);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(arcPen);
    painter.drawPath(arc);

    // Needle towards the lower right, at 80 % of the arc's radius (screen y grows downwards).
    const qreal reach = 0.8 * radius * std::cos(std::numbers::pi / 4);
    QPen needlePen(Qt::white, 0.06 * s);
    needlePen.setCapStyle(Qt::RoundCap);
    painter.setPen(needlePen);
    painter.drawLine(centre, centre + QPointF(reach, reach));

    // Hub.
    const qreal hubRadius = 0.06 * s;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(centre, hubRadius, hubRadius);
    return image;
}

QIcon appIcon() {
    return QIcon(new AppIconEngine);
}

} // namespace quillon
