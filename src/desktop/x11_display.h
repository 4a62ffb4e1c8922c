#pragma once

#include <QList>
#include <QRect>

#include <xcb/xcb.h>

namespace quillon::x11 {

// Whether the application runs on X11 (also through XWayland).
bool isX11();

// The application's own connection to the X server; null off X11.
xcb_connection_t* connection();
xcb_window_t rootWindow(xcb_connection_t* c);
// The atom of that name, created if the server does not know it yet.
xcb_atom_t atom(xcb_connection_t* c, const char* name);

// Where the desktop's bars are, in root coordinates: every viewable window that calls itself a
// dock (_NET_WM_WINDOW_TYPE_DOCK) or reserves an edge of the screen (_NET_WM_STRUT or
// _NET_WM_STRUT_PARTIAL). Looked for among the top-level windows and, for window managers that
// put their clients in frames, the frames' children. Empty off X11.
QList<QRect> barWindows();

} // namespace quillon::x11
