#include "app/display_check.h"

#include <QByteArray>
#include <QtGlobal>

#include <xcb/xcb.h>

namespace quillon {
namespace {

bool isSet(const char* name) {
    return !qEnvironmentVariableIsEmpty(name);
}

// Whether an X server answers at $DISPLAY and lets this user in; the connection is closed again
// at once, Qt opens its own.
bool xDisplayOpens() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool opens = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return opens;
}

} // namespace

std::optional<std::string> displayProblem() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && platform != "xcb") {
        return std::nullopt;
    }
    if (!isSet("DISPLAY")) {
        if (isSet("WAYLAND_DISPLAY")) {
            return "quillon: this Wayland session offers no X display (DISPLAY is not set); "
                   "Quillon shows its panel through XWayland: turn XWayland on in your "
                   "compositor and start Quillon again.";
        }
        return "quillon: no display to show the panel on (neither DISPLAY nor WAYLAND_DISPLAY "
               "is set); start Quillon from your desktop session, or set DISPLAY to its X "
               "display.";
    }
    if (!xDisplayOpens()) {
        return "quillon: cannot open the X display \"" + qgetenv("DISPLAY").toStdString() +
               "\" (no X server answers there, or it does not let this user in); start Quillon "
               "from your desktop session, or set DISPLAY to a display you may use.";
    }
    return std::nullopt;
}

} // namespace quillon
