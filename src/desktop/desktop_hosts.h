#pragma once

#include <QStringList>

#include <span>
#include <string_view>

namespace quillon {

// How far the point that a host passes with a click on the item (StatusNotifierItem's Activate)
// can be trusted.
enum class ActivatePoint {
    // It is the click's point on the screen: it counts anywhere on a screen but the screen's
    // outermost rows and columns (no item is centred there; (0, y) is a placeholder).
    screen,
    // It may be a placeholder or relative to something else: it counts only where it checks out,
    // within a bar, or near the pointer where the pointer follows clicks.
    checked,
    // It is relative to the item's icon, never a point of the screen, though it may look like
    // one in a top bar's left end: it never counts.
    relativeToItem,
};

enum class Session {
    any,
    x11,
    wayland,
};

// What Quillon knows of one kind of host, as measured on it.
struct DesktopHost {
    std::string_view name{};
    // An entry of XDG_CURRENT_DESKTOP that names the host; empty for any.
    std::string_view desktop{};
    // The lowest version the row is for (KDE_SESSION_VERSION for Plasma; major * 100 + minor
    // for sway, as its IPC reports it); 0 for any.
    int minimumVersion = 0;
    Session session = Session::any;
    ActivatePoint activatePoint = ActivatePoint::checked;
    // Where the pointer cannot be trusted, ask the shell's accessibility tree where it draws the
    // item, for commands from the menu, which carry no point.
    bool findItemInShell = false;
    // How far the bar is drawn into the area it leaves free; negative where its visible edge
    // stops short of that area. A floating Plasma 6 panel's window holds an 8 px margin on every
    // side, in which the panel floats, and Plasma's shell leaves free the screen less that whole
    // window: the panel's visible edge lies 8 px beyond the free area's.
    int barDrawnInside = 0;
    // Whether a click on the transparent margin around the panel, where its shadow is drawn,
    // reaches what lies under it. The margin takes no input on X11 (its input shape leaves it
    // out), but under XWayland that shape must reach the compositor too, which it does not with
    // sway 1.7: a click there meant for one of its Wayland windows or its bar would go to the
    // panel. Where it does not, the panel has no margin and no shadow.
    bool shadowPassesClicks = true;
};

// The facts a host is recognised by.
struct HostFacts {
    // XDG_CURRENT_DESKTOP, split at its colons ("sway" added where sway's socket is named).
    QStringList desktops;
    bool wayland = false;
    // KDE_SESSION_VERSION on Plasma, sway's version (major * 100 + minor) on sway, else 0.
    int version = 0;
};

// Every host Quillon knows, most specific first; the last row matches any host. Adding a host
// is adding a row.
std::span<const DesktopHost> desktopHosts();

// The first row that `facts` match.
const DesktopHost& desktopHost(const HostFacts& facts);

// The facts of the session Quillon runs in, read once from the environment (and, on sway, from
// its IPC socket).
const HostFacts& sessionFacts();

// The row of the session Quillon runs in.
const DesktopHost& sessionHost();

} // namespace quillon
