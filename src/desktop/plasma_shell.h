#pragma once

#include <QRect>
#include <QString>

namespace quillon::plasma {

// How long Quillon waits for Plasma's shell to say where its panels are, in milliseconds: it
// answers at once when it runs, and the panel waits for the answer.
constexpr int answerTimeoutMs = 250;

// What Plasma's shell leaves free of the screen of that name (the screen less its panels'
// windows; a floating panel's window holds the margin it floats in), as its strut manager
// (org.kde.plasmashell /StrutManager) tells it. Null where no Plasma shell answers in time or it
// answers with nothing. On Plasma's Wayland session X11 clients get no work area from the window
// manager, and this is what tells them where the panels are.
QRect availableScreenRect(const QString& screenName);

} // namespace quillon::plasma
