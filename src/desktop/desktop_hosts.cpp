#include "desktop/desktop_hosts.h"

#include "desktop/sway_ipc.h"

#include <QString>

#include <array>

namespace quillon {
namespace {

// Measured on each host with the demo (tests/desktops). Plasma 5 and 6, XFCE, Cinnamon, LXQt
// and waybar from 0.10 on pass the click's screen point; waybar 0.9 (with sway before 1.10) a
// point relative to its icon; MATE's notification area (0, y); GNOME's AppIndicator menu no point
// at all, but the shell names the item's button in its accessibility tree.
constexpr std::array hosts{
    DesktopHost{.name = "KDE Plasma 6, Wayland",
                .desktop = "KDE",
                .minimumVersion = 6,
                .session = Session::wayland,
                .activatePoint = ActivatePoint::screen,
                .barDrawnInside = -8},
    DesktopHost{.name = "KDE Plasma", .desktop = "KDE", .activatePoint = ActivatePoint::screen},
    DesktopHost{.name = "sway 1.10 with waybar 0.12",
                .desktop = "sway",
                .minimumVersion = 110,
                .session = Session::wayland,
                .activatePoint = ActivatePoint::screen},
    DesktopHost{.name = "sway with waybar 0.9",
                .desktop = "sway",
                .activatePoint = ActivatePoint::relativeToItem,
                .shadowPassesClicks = false},
    DesktopHost{.name = "GNOME Shell", .desktop = "GNOME", .findItemInShell = true},
    DesktopHost{.name = "MATE", .desktop = "MATE"},
    DesktopHost{.name = "XFCE", .desktop = "XFCE", .activatePoint = ActivatePoint::screen},
    DesktopHost{
        .name = "Cinnamon", .desktop = "X-Cinnamon", .activatePoint = ActivatePoint::screen},
    DesktopHost{.name = "LXQt", .desktop = "LXQt", .activatePoint = ActivatePoint::screen},
    // Unknown hosts: trust only what checks out, and look for the item as on GNOME.
    DesktopHost{.name = "another host", .findItemInShell = true},
};

bool matches(const DesktopHost& host, const HostFacts& facts) {
    if (!host.desktop.empty() &&
        !facts.desktops.contains(
            QString::fromUtf8(host.desktop.data(), static_cast<qsizetype>(host.desktop.size())),
            Qt::CaseInsensitive)) {
        return false;
    }
    if ((host.session == Session::wayland && !facts.wayland) ||
        (host.session == Session::x11 && facts.wayland)) {
        return false;
    }
    return facts.version >= host.minimumVersion;
}

HostFacts readSessionFacts() {
    HostFacts facts;
    facts.desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    // sway names itself there only where its session files say so; its socket always does.
    if (!sway::socketPath().isEmpty() &&
        !facts.desktops.contains(QStringLiteral("sway"), Qt::CaseInsensitive)) {
        facts.desktops.append(QStringLiteral("sway"));
    }
    facts.wayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
                    qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
    if (facts.desktops.contains(QStringLiteral("KDE"), Qt::CaseInsensitive)) {
        facts.version = qEnvironmentVariableIntValue("KDE_SESSION_VERSION");
    } else if (facts.desktops.contains(QStringLiteral("sway"), Qt::CaseInsensitive)) {
        facts.version = sway::version().value_or(0);
    }
    return facts;
}

} // namespace

std::span<const DesktopHost> desktopHosts() {
    return hosts;
}

const DesktopHost& desktopHost(const HostFacts& facts) {
    for (const DesktopHost& host : hosts) {
        if (matches(host, facts)) {
            return host;
        }
    }
    return hosts.back();
}

const HostFacts& sessionFacts() {
    static const HostFacts facts = readSessionFacts();
    return facts;
}

const DesktopHost& sessionHost() {
    return desktopHost(sessionFacts());
}

} // namespace quillon
