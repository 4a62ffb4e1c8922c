#include "panel/panel_images.h"

#include <QPainter>
#include <QPainterPath>
#include <QSvgRenderer>

#include <algorithm>
#include <vector>

namespace quillon {
namespace {

constexpr int defaultSymbolSize = 16;

// One pass of a box blur over the alpha channel, along rows or along columns.
void boxBlur(std::vector<int>& alpha, int width, int height, int radius, bool alongRows) {
    const int lines = alongRows ? height : width;
    const int length = alongRows ? width : height;
    std::vector<int> line(static_cast<std::size_t>(length));
    for (int l = 0; l < lines; ++l) {
        auto at = [&](int i) -> int& {
            const int x = alongRows ? i : l;
            const int y = alongRows ? l : i;
            return alpha[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                         static_cast<std::size_t>(x)];
        };
        for (int i = 0; i < length; ++i) {
            line[static_cast<std::size_t>(i)] = at(i);
        }
        int sum = 0;
        for (int i = -radius; i <= radius; ++i) {
            sum += line[static_cast<std::size_t>(std::clamp(i, 0, length - 1))];
        }
        for (int i = 0; i < length; ++i) {
            at(i) = sum / (2 * radius + 1);
            sum += line[static_cast<std::size_t>(std::min(i + radius + 1, length - 1))];
            sum -= line[static_cast<std::size_t>(std::max(i - radius, 0))];
        }
    }
}

} // namespace

SymbolImageProvider::SymbolImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage SymbolImageProvider::requestImage(const QString& id, QSize* size,
                                         const QSize& requestedSize) {
    const qsizetype slash = id.indexOf(QLatin1Char('/'));
    bool colourOk = false;
    const QRgb rgba = id.left(slash).toUInt(&colourOk, 16);
    const QString name = id.mid(slash + 1);
    const int width = requestedSize.width() > 0 ? requestedSize.width() : defaultSymbolSize;
    const int height = requestedSize.height() > 0 ? requestedSize.height() : width;
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (size != nullptr) {
        *size = image.size();
    }
    // Only names made of letters, digits and dots are symbol names; anything else stays blank.
    const bool plainName = !name.isEmpty() && std::all_of(name.begin(), name.end(), [](QChar c) {
        return c.isLetterOrNumber() || c == QLatin1Char('.');
    });
    if (slash < 0 || !colourOk || !plainName) {
        return image;
    }
    QSvgRenderer renderer(QStringLiteral(":/views/icons/%1.svg").arg(name));
    if (!renderer.isValid()) {
        return image;
    }
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // Fit the drawing into the image, keeping its proportions.
    QSizeF drawn = renderer.defaultSize().scaled(image.size(), Qt::KeepAspectRatio);
    renderer.render(
        &painter,
        QRectF(QPointF((width - drawn.width()) / 2, (height - drawn.height()) / 2), drawn));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), QColor::fromRgba(rgba));
    return image;
}

ShadowImageProvider::ShadowImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage ShadowImageProvider::requestImage(const QString& id, QSize* size, const QSize&) {
    const QStringList parts = id.split(QLatin1Char('/'));
    const int radius = parts.value(0).toInt();
    const int blur = std::clamp(parts.value(1).toInt(), 1, 64);
    // A rounded square big enough for its corners and a short straight stretch, blurred; a
    // BorderImage stretches the straight middle to any size.
    const int inner = 2 * std::clamp(radius, 0, 64) + 4;
    const int side = inner + 2 * blur;
    QImage shape(side, side, QImage::Format_ARGB32_Premultiplied);
    shape.fill(Qt::transparent);
    {
        QPainter painter(&shape);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath path;
        path.addRoundedRect(QRectF(blur, blur, inner, inner), radius, radius);
        painter.fillPath(path, Qt::black);
    }
    const auto sideSize = static_cast<std::size_t>(side);
    std::vector<int> alpha(sideSize * sideSize);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            alpha[static_cast<std::size_t>(y) * sideSize + static_cast<std::size_t>(x)] =
                qAlpha(shape.pixel(x, y));
        }
    }
    // Three box blurs come close to a Gaussian.
    for (int pass = 0; pass < 3; ++pass) {
        boxBlur(alpha, side, side, std::max(1, blur / 3), true);
        boxBlur(alpha, side, side, std::max(1, blur / 3), false);
    }
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            image.setPixel(
                x, y,
                qPremultiply(qRgba(
                    0, 0, 0,
                    alpha[static_cast<std::size_t>(y) * sideSize + static_cast<std::size_t>(x)])));
        }
    }
    if (size != nullptr) {
        *size = image.size();
    }
    return image;
}

} // namespace quillon
