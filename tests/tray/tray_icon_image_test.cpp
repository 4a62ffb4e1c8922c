#include "tray/tray_icon_image.h"

#include "support/screenshot_folder.h"

#include <QDir>
#include <QPainter>

#include <cmath>
#include <iterator>

#include <gtest/gtest.h>

namespace quillon {
namespace {

// The rows through the middle of the two bars at each side, as drawn.
int claudeRow(int side) {
    const int height = static_cast<int>(std::lround(side * 0.32));
    const int gap = side >= 22 ? 3 : 2;
    return (side - (2 * height + gap)) / 2 + height / 2;
}

int codexRow(int side) {
    const int height = static_cast<int>(std::lround(side * 0.32));
    return claudeRow(side) + height + (side >= 22 ? 3 : 2);
}

bool sameColour(QRgb pixel, QColor colour) {
    return qAlpha(pixel) == 255 && qRed(pixel) == colour.red() && qGreen(pixel) == colour.green() &&
           qBlue(pixel) == colour.blue();
}

// A pixel of the grey track: half transparent and without colour.
bool isTrack(QRgb pixel) {
    return qAlpha(pixel) > 60 && qAlpha(pixel) < 200 && qRed(pixel) == qGreen(pixel) &&
           qGreen(pixel) == qBlue(pixel);
}

TEST(TrayIconImageTest, LevelColoursAreThoseOfThePanelsBars) {
    EXPECT_EQ(usageLevelColor(0), QColor(0x2f, 0xb8, 0x51));
    EXPECT_EQ(usageLevelColor(49), QColor(0x2f, 0xb8, 0x51));
    EXPECT_EQ(usageLevelColor(50), QColor(0xf2, 0xc0, 0x00));
    EXPECT_EQ(usageLevelColor(75), QColor(0xf5, 0x8a, 0x00));
    EXPECT_EQ(usageLevelColor(90), QColor(0xee, 0x3b, 0x30));
    EXPECT_EQ(usageLevelColor(250), QColor(0xee, 0x3b, 0x30));
}

TEST(TrayIconImageTest, EachBarIsFilledToItsPercentAtEverySide) {
    const TrayFigures figures{42, 95};
    for (const int side : {16, 22, 24}) {
        const QImage image = trayFiguresImage(figures, side).convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(image.size(), QSize(side, side));
        const int inner = side - 2 * (side >= 22 ? 2 : 1);
        const int left = side >= 22 ? 2 : 1;
        // Claude at 42 %: green over the first two fifths, track beyond the half.
        const int filledX = left + inner * 30 / 100;
        const int emptyX = left + inner * 60 / 100;
        EXPECT_TRUE(sameColour(image.pixel(filledX, claudeRow(side)), usageLevelColor(42))) << side;
        EXPECT_TRUE(isTrack(image.pixel(emptyX, claudeRow(side)))) << side;
        // Codex at 95 %: red nearly to the end.
        EXPECT_TRUE(
            sameColour(image.pixel(left + inner * 90 / 100, codexRow(side)), usageLevelColor(95)))
            << side;
        // Between the bars and around them: nothing.
        EXPECT_EQ(qAlpha(image.pixel(side / 2, 0)), 0) << side;
        EXPECT_EQ(qAlpha(image.pixel(side / 2, side - 1)), 0) << side;
    }
}

TEST(TrayIconImageTest, AnAbsentProviderIsAnEmptyTrack) {
    const QImage image =
        trayFiguresImage(TrayFigures{std::nullopt, 17}, 22).convertToFormat(QImage::Format_ARGB32);
    for (int x = 3; x < 19; ++x) {
        EXPECT_TRUE(isTrack(image.pixel(x, claudeRow(22)))) << x;
    }
    EXPECT_TRUE(sameColour(image.pixel(3, codexRow(22)), usageLevelColor(17)));
}

TEST(TrayIconImageTest, OnePercentStillShowsAndOverAHundredFillsTheBar) {
    const QImage image =
        trayFiguresImage(TrayFigures{1, 180}, 16).convertToFormat(QImage::Format_ARGB32);
    EXPECT_GT(qAlpha(image.pixel(1, claudeRow(16))), 0);
    EXPECT_FALSE(isTrack(image.pixel(1, claudeRow(16))));
    EXPECT_TRUE(sameColour(image.pixel(14, codexRow(16)), usageLevelColor(180)));
}

TEST(TrayIconImageTest, WithoutFiguresTheIconIsTheGreyGauge) {
    const QList<QImage> images = trayIconImages(TrayFigures{});
    ASSERT_EQ(images.size(), static_cast<qsizetype>(std::size(trayIconSides)));
    for (qsizetype i = 0; i < images.size(); ++i) {
        const QImage image = images[i].convertToFormat(QImage::Format_ARGB32);
        const int side = trayIconSides[i];
        EXPECT_EQ(image.size(), QSize(side, side));
        int drawn = 0;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) == 255) {
                    EXPECT_EQ(qRed(pixel), 0xbe);
                    EXPECT_EQ(qBlue(pixel), 0xbe);
                }
                drawn += qAlpha(pixel) > 128 ? 1 : 0;
            }
        }
        // The ring, the needle and the hub cover a good part of the square, not all of it.
        EXPECT_GT(drawn, side * side / 8) << side;
        EXPECT_LT(drawn, side * side / 2) << side;
        // The gauge is open at the bottom.
        EXPECT_EQ(qAlpha(image.pixel(side / 2, side - 2)), 0) << side;
    }
}

TEST(TrayIconImageTest, TheIconHoldsEverySize) {
    const QIcon icon = trayIcon(TrayFigures{42, 17});
    EXPECT_EQ(icon.availableSizes().size(), static_cast<qsizetype>(std::size(trayIconSides)));
    EXPECT_TRUE(icon.availableSizes().contains(QSize(22, 22)));
}

// Writes the icons for people to look at, beside the other screenshots.
TEST(TrayIconImageTest, WritesTheIconsForReview) {
    const QString folder = test::screenshotFolder(QStringLiteral("tray"));
    ASSERT_TRUE(QDir(folder).exists());
    for (const int side : {16, 22, 24}) {
        const QImage figures = trayFiguresImage(TrayFigures{42, 17}, side);
        const QImage high = trayFiguresImage(TrayFigures{std::nullopt, 93}, side);
        const QImage idle = trayIconImages(TrayFigures{})[side == 16 ? 0 : side == 22 ? 1 : 2];
        // On a dark and on a light bar, eight times as large, side by side.
        QImage sheet(side * 3 * 8, side * 2 * 8, QImage::Format_ARGB32);
        for (int bar = 0; bar < 2; ++bar) {
            QImage strip(side * 3, side, QImage::Format_ARGB32);
            strip.fill(bar == 0 ? QColor(0x24, 0x24, 0x24) : QColor(0xf0, 0xf0, 0xf0));
            QPainter painter(&strip);
            painter.drawImage(0, 0, figures);
            painter.drawImage(side, 0, high);
            painter.drawImage(2 * side, 0, idle);
            painter.end();
            QPainter sheetPainter(&sheet);
            sheetPainter.drawImage(QRect(0, bar * side * 8, side * 24, side * 8), strip);
        }
        EXPECT_TRUE(sheet.save(folder + QStringLiteral("/icons-%1.png").arg(side)));
    }
}

} // namespace
} // namespace quillon
