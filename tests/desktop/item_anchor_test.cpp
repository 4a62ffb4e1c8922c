#include "desktop/item_anchor.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

// A 1920 x 1080 screen with a 30 px bar at the top, unless the test says otherwise.
class ItemAnchorTest : public ::testing::Test {
protected:
    ItemAnchor anchor(bool pointerFollowsClicks = true) {
        ItemAnchor::Environment environment;
        environment.screens = [this] { return screens; };
        environment.pointer = [this] { return pointer; };
        environment.pointerFollowsClicks = pointerFollowsClicks;
        return ItemAnchor(environment);
    }

    QList<ScreenArea> screens{{QRect(0, 0, 1920, 1080), QRect(0, 30, 1920, 1050)}};
    QPoint pointer{900, 600};
};

TEST_F(ItemAnchorTest, APointInTheBarIsTheItem) {
    auto item = anchor();
    EXPECT_EQ(item.forClick(QPoint(1500, 15)), QPoint(1500, 15));
    EXPECT_EQ(item.lastItemPosition(), QPoint(1500, 15));
}

TEST_F(ItemAnchorTest, APointJustBelowTheBarStillCounts) {
    auto item = anchor();
    EXPECT_EQ(item.forClick(QPoint(1500, 32)), QPoint(1500, 32));
}

TEST_F(ItemAnchorTest, APointOnTheScreensLeftEdgeIsAPlaceholderAndThePointerStandsIn) {
    // MATE's notification area sends (0, y).
    pointer = QPoint(1210, 12);
    auto item = anchor();
    EXPECT_EQ(item.forClick(QPoint(0, 25)), QPoint(1210, 12));
}

TEST_F(ItemAnchorTest, APointInTheMiddleOfTheScreenFarFromThePointerDoesNotCount) {
    pointer = QPoint(1700, 10);
    auto item = anchor();
    EXPECT_EQ(item.forClick(QPoint(640, 500)), QPoint(1700, 10));
}

TEST_F(ItemAnchorTest, WithoutAKnownBarAPointNearThePointerCounts) {
    screens = {{QRect(0, 0, 1920, 1080), QRect(0, 0, 1920, 1080)}};
    pointer = QPoint(1300, 10);
    auto item = anchor();
    EXPECT_EQ(item.forClick(QPoint(1310, 14)), QPoint(1310, 14));
}

TEST_F(ItemAnchorTest, ABarRelativePointWithAStalePointerFallsBackToTheLastItemPosition) {
    // waybar under sway sends a point relative to itself; XWayland's pointer is stale.
    screens = {{QRect(0, 0, 1920, 1080), QRect(0, 0, 1920, 1080)}};
    auto item = anchor(false);
    EXPECT_EQ(item.forClick(QPoint(8, 14)), QPoint(960, 0));
    EXPECT_FALSE(item.lastItemPosition());
}

TEST_F(ItemAnchorTest, AStalePointerCountsOnlyInTheBar) {
    auto item = anchor(false);
    pointer = QPoint(400, 700);
    EXPECT_EQ(item.forClick(QPoint(0, 20)), QPoint(960, 30));
    pointer = QPoint(1400, 12);
    EXPECT_EQ(item.forClick(QPoint(0, 20)), QPoint(1400, 12));
}

TEST_F(ItemAnchorTest, TheMenuUsesWhereTheItemWasLastSeen) {
    auto item = anchor(false);
    // The menu opens with no point and a stale pointer: the bar's middle.
    EXPECT_EQ(item.forMenu(), QPoint(960, 30));
    item.forClick(QPoint(1650, 16));
    pointer = QPoint(500, 500);
    EXPECT_EQ(item.forMenu(), QPoint(1650, 16));
}

TEST_F(ItemAnchorTest, OpeningTheMenuRemembersThePointerOnTheItem) {
    auto item = anchor();
    pointer = QPoint(1777, 14);
    item.noteMenuOpened();
    // By the time an entry is chosen, the pointer is on the menu.
    pointer = QPoint(1760, 120);
    EXPECT_EQ(item.forMenu(), QPoint(1777, 14));
}

TEST_F(ItemAnchorTest, ABottomBarsEdgeIsTheLastResort) {
    screens = {{QRect(0, 0, 1920, 1080), QRect(0, 0, 1920, 1040)}};
    auto item = anchor(false);
    EXPECT_EQ(item.forMenu(), QPoint(960, 1039));
}

TEST_F(ItemAnchorTest, APointInTheBarOfASecondScreenCounts) {
    screens.append({QRect(1920, 0, 1280, 1024), QRect(1920, 24, 1280, 1000)});
    auto item = anchor(false);
    EXPECT_EQ(item.forClick(QPoint(3000, 10)), QPoint(3000, 10));
}

} // namespace
} // namespace quillon
