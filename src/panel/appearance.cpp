#include "panel/appearance.h"

#include "app/level_colours.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace quillon {
namespace {

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

QPalette palette() {
    return QGuiApplication::palette();
}

} // namespace

Appearance::Appearance(QObject* parent) : QObject(parent) {
    if (QCoreApplication* app = QCoreApplication::instance()) {
        app->installEventFilter(this);
    }
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
    if (watched == QCoreApplication::instance() &&
        event->type() == QEvent::ApplicationPaletteChange) {
        emit changed();
    }
    return false;
}

// Dark when the window colour is darker than its text: the palette of any desktop theme says so.
bool Appearance::dark() const {
    const QPalette p = palette();
    return p.color(QPalette::Window).lightness() < p.color(QPalette::WindowText).lightness();
}

QColor Appearance::background() const {
    return palette().color(QPalette::Window);
}

QColor Appearance::controlBackground() const {
    // The cards stand out from the panel a little: half-strength in light appearance, where the
    // control colour is white, and at full strength in dark appearance.
    const QColor base = palette().color(QPalette::Base);
    return dark() ? base : withAlpha(base, 0.5);
}

QColor Appearance::primary() const {
    return withAlpha(palette().color(QPalette::WindowText), 0.88);
}

QColor Appearance::secondary() const {
    return withAlpha(palette().color(QPalette::WindowText), dark() ? 0.58 : 0.55);
}

QColor Appearance::tertiary() const {
    return withAlpha(palette().color(QPalette::WindowText), dark() ? 0.36 : 0.32);
}

QColor Appearance::accent() const {
    return palette().color(QPalette::Highlight);
}

QColor Appearance::accentText() const {
    return palette().color(QPalette::HighlightedText);
}

QColor Appearance::red() const {
    return levelColours(dark()).red;
}

QColor Appearance::orange() const {
    return levelColours(dark()).orange;
}

QColor Appearance::yellow() const {
    return levelColours(dark()).yellow;
}

QColor Appearance::green() const {
    return levelColours(dark()).green;
}

} // namespace quillon
