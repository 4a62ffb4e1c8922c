#include "desktop/desktop_hosts.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace quillon {
namespace {

HostFacts facts(const QString& desktop, bool wayland, int version = 0) {
    return {.desktops = desktop.split(QLatin1Char(':'), Qt::SkipEmptyParts),
            .wayland = wayland,
            .version = version};
}

// The facts are held in variables of their own: a reference bound to desktopHost() called on a
// temporary looks possibly dangling to GCC 14, though it names an entry of the static table.
TEST(DesktopHostsTest, Plasma6OnWaylandPassesScreenPointsAndFloatsItsBar) {
    const HostFacts plasma6 = facts(QStringLiteral("KDE"), true, 6);
    const DesktopHost& host = desktopHost(plasma6);
    EXPECT_EQ(host.activatePoint, ActivatePoint::screen);
    EXPECT_EQ(host.barDrawnInside, -8);
    EXPECT_FALSE(host.findItemInShell);
}

TEST(DesktopHostsTest, Plasma5OnX11PassesScreenPointsWithABarOnTheEdge) {
    const HostFacts plasma5 = facts(QStringLiteral("KDE"), false, 5);
    const DesktopHost& host = desktopHost(plasma5);
    EXPECT_EQ(host.activatePoint, ActivatePoint::screen);
    EXPECT_EQ(host.barDrawnInside, 0);
}

TEST(DesktopHostsTest, SwayFromOneTenPassesScreenPointsAndEarlierOnesDoNot) {
    EXPECT_EQ(desktopHost(facts(QStringLiteral("sway"), true, 110)).activatePoint,
              ActivatePoint::screen);
    EXPECT_EQ(desktopHost(facts(QStringLiteral("sway"), true, 107)).activatePoint,
              ActivatePoint::relativeToItem);
    // A sway whose version could not be asked is taken for the older kind.
    EXPECT_EQ(desktopHost(facts(QStringLiteral("sway"), true)).activatePoint,
              ActivatePoint::relativeToItem);
}

TEST(DesktopHostsTest, OnlyTheOlderSwayKeepsThePanelWithoutAShadowMargin) {
    EXPECT_FALSE(desktopHost(facts(QStringLiteral("sway"), true, 107)).shadowPassesClicks);
    EXPECT_TRUE(desktopHost(facts(QStringLiteral("sway"), true, 110)).shadowPassesClicks);
    EXPECT_TRUE(desktopHost(facts(QStringLiteral("XFCE"), false)).shadowPassesClicks);
    EXPECT_TRUE(desktopHost(facts(QStringLiteral("KDE"), true, 6)).shadowPassesClicks);
}

TEST(DesktopHostsTest, GnomeLooksForTheItemInTheShell) {
    const HostFacts gnome = facts(QStringLiteral("ubuntu:GNOME"), true);
    const DesktopHost& host = desktopHost(gnome);
    EXPECT_TRUE(host.findItemInShell);
    EXPECT_EQ(host.activatePoint, ActivatePoint::checked);
}

TEST(DesktopHostsTest, MatesPlaceholderPointIsChecked) {
    EXPECT_EQ(desktopHost(facts(QStringLiteral("MATE"), false)).activatePoint,
              ActivatePoint::checked);
}

TEST(DesktopHostsTest, NamesAreMatchedWhateverTheirCase) {
    EXPECT_EQ(desktopHost(facts(QStringLiteral("xfce"), false)).name, "XFCE");
    EXPECT_EQ(desktopHost(facts(QStringLiteral("X-CINNAMON"), false)).name, "Cinnamon");
}

TEST(DesktopHostsTest, AnUnknownOrEmptyDesktopGetsTheLastRow) {
    const DesktopHost& last = desktopHosts().back();
    EXPECT_EQ(&desktopHost(facts(QStringLiteral("Hyprland"), true)), &last);
    EXPECT_EQ(&desktopHost(facts(QString(), false)), &last);
    EXPECT_TRUE(last.desktop.empty());
    EXPECT_EQ(last.activatePoint, ActivatePoint::checked);
}

TEST(DesktopHostsTest, EveryRowHasANameOfItsOwn) {
    std::set<std::string> names;
    for (const DesktopHost& host : desktopHosts()) {
        EXPECT_FALSE(host.name.empty());
        EXPECT_TRUE(names.insert(std::string(host.name)).second) << host.name;
    }
}

} // namespace
} // namespace quillon
