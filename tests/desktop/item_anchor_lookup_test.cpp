#include "desktop/item_anchor.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace quillon {
namespace {

// A 1920 x 1080 screen with a 32 px bar at the top, under XWayland: the pointer is stale, and
// where the item is comes from a lookup that this test answers when it likes.
class ItemAnchorLookupTest : public ::testing::Test {
protected:
    ItemAnchor anchor() {
        ItemAnchor::Environment environment;
        environment.screens = [this] { return screens; };
        environment.pointer = [this] { return pointer; };
        environment.pointerFollowsClicks = false;
        environment.locate = [this](const ItemAnchor::Environment::LocateCallback& done) {
            lookups.push_back(done);
        };
        return ItemAnchor(environment);
    }

    QList<ScreenArea> screens{{QRect(0, 0, 1920, 1080), QRect(0, 32, 1920, 1048)}};
    QPoint pointer{900, 600};
    std::vector<ItemAnchor::Environment::LocateCallback> lookups;
};

TEST_F(ItemAnchorLookupTest, OpeningTheMenuLooksUpTheItemAndTheMenuCommandWaitsForIt) {
    auto item = anchor();
    item.noteMenuOpened();
    ASSERT_EQ(lookups.size(), 1U);
    EXPECT_TRUE(item.locating());

    std::optional<QPoint> opened;
    item.forMenu([&](QPoint at) { opened = at; });
    EXPECT_FALSE(opened);

    lookups.front()(QRect(1646, 0, 156, 32));
    EXPECT_EQ(opened, QPoint(1723, 15));
    EXPECT_EQ(item.lastItemPosition(), QPoint(1723, 15));
    EXPECT_FALSE(item.locating());
}

TEST_F(ItemAnchorLookupTest, OneLookupServesEveryoneWaitingForIt) {
    auto item = anchor();
    item.noteMenuOpened();
    item.noteMenuOpened();
    int answers = 0;
    item.forMenu([&](QPoint) { ++answers; });
    item.forMenu([&](QPoint) { ++answers; });
    ASSERT_EQ(lookups.size(), 1U);
    lookups.front()(QRect(1646, 0, 156, 32));
    EXPECT_EQ(answers, 2);
}

TEST_F(ItemAnchorLookupTest, ALookupThatFindsNothingLeavesTheBarsMiddle) {
    auto item = anchor();
    item.noteMenuOpened();
    std::optional<QPoint> opened;
    item.forMenu([&](QPoint at) { opened = at; });
    lookups.front()(std::nullopt);
    EXPECT_EQ(opened, QPoint(960, 32));
}

TEST_F(ItemAnchorLookupTest, AFoundRectangleOutsideEveryBarDoesNotCount) {
    auto item = anchor();
    item.forClick(QPoint(1500, 12));
    item.noteMenuOpened();
    std::optional<QPoint> opened;
    item.forMenu([&](QPoint at) { opened = at; });
    lookups.front()(QRect(700, 500, 100, 30));
    EXPECT_EQ(opened, QPoint(1500, 12));
}

TEST_F(ItemAnchorLookupTest, AMenuCommandWithoutAnOpeningLooksUpTheItemItself) {
    auto item = anchor();
    std::optional<QPoint> opened;
    item.forMenu([&](QPoint at) { opened = at; });
    ASSERT_EQ(lookups.size(), 1U);
    lookups.front()(QRect(1200, 0, 40, 32));
    EXPECT_EQ(opened, QPoint(1219, 15));
}

TEST_F(ItemAnchorLookupTest, APointerInTheBarNeedsNoLookup) {
    auto item = anchor();
    pointer = QPoint(1400, 10);
    item.noteMenuOpened();
    std::optional<QPoint> opened;
    item.forMenu([&](QPoint at) { opened = at; });
    EXPECT_TRUE(lookups.empty());
    EXPECT_EQ(opened, QPoint(1400, 10));
}

TEST_F(ItemAnchorLookupTest, AnAnswerAfterTheAnchorIsGoneIsDropped) {
    auto item = std::make_unique<ItemAnchor>(anchor());
    bool called = false;
    item->forMenu([&](QPoint) { called = true; });
    item.reset();
    lookups.front()(QRect(1646, 0, 156, 32));
    EXPECT_FALSE(called);
}

TEST_F(ItemAnchorLookupTest, AMovedAnchorStillTakesTheAnswer) {
    auto first = anchor();
    std::optional<QPoint> opened;
    first.forMenu([&](QPoint at) { opened = at; });
    ItemAnchor moved = std::move(first);
    lookups.front()(QRect(1646, 0, 156, 32));
    EXPECT_EQ(opened, QPoint(1723, 15));
    EXPECT_EQ(moved.lastItemPosition(), QPoint(1723, 15));
}

} // namespace
} // namespace quillon
