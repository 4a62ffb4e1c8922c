#pragma once

#include <QQuickImageProvider>

namespace quillon {

// The panel's symbols, drawn from the SVGs in the views' resources in any colour:
// "image://symbol/AARRGGBB/name". Each SVG is a one-colour drawing; its shape is filled with
// the colour asked for, so one file serves every tint.
class SymbolImageProvider : public QQuickImageProvider {
public:
    SymbolImageProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

// The panel's soft shadow, a nine-patch for a BorderImage: "image://shadow/RADIUS/BLUR", with
// the corner radius of the panel and the blur distance in pixels.
class ShadowImageProvider : public QQuickImageProvider {
public:
    ShadowImageProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace quillon
