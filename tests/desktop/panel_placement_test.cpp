#include "desktop/panel_placement.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

const QSize panel(360, 500);

ScreenArea area(QRect screen, QRect available) {
    return {.geometry = screen, .available = available};
}

TEST(PanelPlacementTest, UnderTheBarAtTheTopCentredOnTheClick) {
    const auto screen = area({0, 0, 1920, 1080}, {0, 32, 1920, 1048});
    EXPECT_EQ(panelPlacement(QPoint(1500, 16), screen, panel), QRect(1500 - 180, 32 + 8, 360, 500));
}

TEST(PanelPlacementTest, AboveTheBarAtTheBottom) {
    const auto screen = area({0, 0, 1920, 1080}, {0, 0, 1920, 1040});
    const QRect placed = panelPlacement(QPoint(1800, 1060), screen, panel);
    EXPECT_EQ(placed.bottom() + 1, 1040 - 8);
    EXPECT_EQ(placed.left(), 1800 - 180);
}

TEST(PanelPlacementTest, AboveTheDrawnEdgeOfAFloatingBottomBar) {
    // Measured on Plasma 6.3: a 40 px panel floats 8 px off the screen's bottom edge in a 56 px
    // window; the shell leaves free the screen less that window (800 - 56 = 744), and the panel's
    // drawn top edge is at 752, 8 px beyond the free area.
    const auto screen = area({0, 0, 1280, 800}, {0, 0, 1280, 744});
    const QRect placed = panelPlacement(QPoint(1105, 772), screen, panel, -8);
    EXPECT_EQ(placed.bottom() + 1, 752 - 8);
    EXPECT_EQ(placed.left(), 1105 - 180);
}

TEST(PanelPlacementTest, UnderTheDrawnEdgeOfAFloatingTopBar) {
    const auto screen = area({0, 0, 1920, 1080}, {0, 56, 1920, 1024});
    EXPECT_EQ(panelPlacement(QPoint(900, 28), screen, panel, -8).top(), 56 - 8 + 8);
}

TEST(PanelPlacementTest, WithoutAKnownBarTheClickStandsIn) {
    const auto screen = area({0, 0, 1920, 1080}, {0, 0, 1920, 1080});
    EXPECT_EQ(panelPlacement(QPoint(700, 20), screen, panel).top(), 28);
    EXPECT_EQ(panelPlacement(QPoint(700, 1070), screen, panel).bottom() + 1, 1062);
}

TEST(PanelPlacementTest, WithoutAKnownBarThePanelStaysWithinTheScreensHeight) {
    // The pointer in the middle of an 800 px screen would put the panel's top at 400 - 508.
    const auto screen = area({0, 0, 1280, 800}, {0, 0, 1280, 800});
    EXPECT_EQ(panelPlacement(QPoint(640, 400), screen, panel), QRect(460, 0, 360, 500));
    EXPECT_EQ(panelPlacement(QPoint(640, 398), screen, panel).bottom(), 799);
    // A second screen below the first.
    const auto lower = area({0, 800, 1280, 600}, {0, 800, 1280, 600});
    EXPECT_EQ(panelPlacement(QPoint(640, 1100), lower, panel).top(), 800);
}

TEST(PanelPlacementTest, NearTheLeftEdgeTheOverhangIsNotCorrected) {
    const auto screen = area({0, 0, 1920, 1080}, {0, 30, 1920, 1050});
    EXPECT_EQ(panelPlacement(QPoint(100, 15), screen, panel).left(), -80);
}

TEST(PanelPlacementTest, OnASecondScreenTheBarOfThatScreenCounts) {
    const auto screen = area({1920, 0, 1280, 1024}, {1920, 24, 1280, 1000});
    EXPECT_EQ(panelPlacement(QPoint(3000, 10), screen, panel), QRect(3000 - 180, 32, 360, 500));
}

TEST(PanelPlacementTest, TheAnchorsScreenElseThePrimary) {
    const QList<ScreenArea> screens{area({0, 0, 1920, 1080}, {0, 30, 1920, 1050}),
                                    area({1920, 0, 1280, 1024}, {1920, 24, 1280, 1000})};
    EXPECT_EQ(screenForAnchor(QPoint(2000, 10), screens).geometry, QRect(1920, 0, 1280, 1024));
    EXPECT_EQ(screenForAnchor(QPoint(-5, 10), screens).geometry, QRect(0, 0, 1920, 1080));
    EXPECT_FALSE(screenForAnchor(QPoint(5, 10), {}).geometry.isValid());
}

} // namespace
} // namespace quillon
