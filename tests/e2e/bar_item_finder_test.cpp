#include "bar_item_finder.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace quillon::demo {
namespace {

constexpr int barWidth = 400;
constexpr int barHeight = 30;
const QColor barColour(40, 44, 52);

QImage bar() {
    QImage image(barWidth, barHeight, QImage::Format_RGB32);
    image.fill(barColour);
    return image;
}

// An item's picture: a 20 x 20 square with a lighter stripe, at x in the bar.
void drawItem(QImage& image, int x, QColor colour) {
    QPainter painter(&image);
    painter.fillRect(x, 5, 20, 20, colour);
    painter.fillRect(x + 4, 9, 6, 12, colour.lighter(160));
}

TEST(NewItemBox, IsTheBoxOfANewPictureInTheBar) {
    QImage before = bar();
    drawItem(before, 300, QColor(200, 60, 60));
    QImage after = before;
    drawItem(after, 150, QColor(60, 200, 90));

    EXPECT_EQ(newItemBox(before, after), QRect(150, 5, 20, 20));
}

TEST(NewItemBox, LeavesOutItemsThatOnlyMovedAside) {
    QImage before = bar();
    drawItem(before, 300, QColor(200, 60, 60));
    drawItem(before, 340, QColor(60, 60, 200));
    QImage after = bar();
    drawItem(after, 270, QColor(200, 60, 60));
    drawItem(after, 310, QColor(60, 200, 90));
    drawItem(after, 340, QColor(60, 60, 200));

    EXPECT_EQ(newItemBox(before, after), QRect(310, 5, 20, 20));
}

TEST(NewItemBox, FindsNothingWhereTheBarDidNotChange) {
    QImage before = bar();
    drawItem(before, 300, QColor(200, 60, 60));

    EXPECT_TRUE(newItemBox(before, before).isEmpty());
}

TEST(NewItemBox, OverlooksFaintChangesSuchAsABlendedShadow) {
    const QImage before = bar();
    QImage after = bar();
    QPainter(&after).fillRect(100, 0, 50, barHeight, barColour.lighter(110));

    EXPECT_TRUE(newItemBox(before, after).isEmpty());
}

TEST(NewItemBox, FindsNothingInPicturesOfDifferentSizes) {
    QImage after(barWidth, barHeight + 2, QImage::Format_RGB32);
    after.fill(Qt::white);

    EXPECT_TRUE(newItemBox(bar(), after).isEmpty());
    EXPECT_TRUE(newItemBox(bar(), QImage()).isEmpty());
}

} // namespace
} // namespace quillon::demo
