#include "app/app_icon.h"
#include "support/temp_dir.h"

#include <QFile>
#include <QPainter>
#include <QProcess>
#include <QSvgRenderer>

#include <gtest/gtest.h>

namespace quillon {
namespace {

constexpr int side = 64;

bool isRed(QColor c) {
    return c.alpha() == 255 && c.red() > 240 && c.green() < 80 && c.blue() < 80;
}
bool isWhite(QColor c) {
    return c.alpha() == 255 && c.red() > 240 && c.green() > 240 && c.blue() > 240;
}
// White at 90 % over the red disc.
bool isArcWhite(QColor c) {
    return c.alpha() == 255 && c.red() > 240 && c.green() > 215 && c.green() < 245;
}

class AppIconTest : public ::testing::Test {
protected:
    QImage icon = generatePlaceholderAppIcon(side).convertToFormat(QImage::Format_ARGB32);
    QColor at(int x, int y) const { return icon.pixelColor(x, y); }
};

TEST_F(AppIconTest, IsASquareOfTheRequestedSide) {
    EXPECT_EQ(icon.size(), QSize(side, side));
    EXPECT_EQ(generatePlaceholderAppIcon(512).size(), QSize(512, 512));
    EXPECT_TRUE(generatePlaceholderAppIcon(0).isNull());
    EXPECT_TRUE(generatePlaceholderAppIcon(-3).isNull());
}

TEST_F(AppIconTest, CornersAndTheInsetAreTransparent) {
    for (const auto& [x, y] : {std::pair{0, 0}, {63, 0}, {0, 63}, {63, 63}, {1, 32}, {32, 1}}) {
        EXPECT_EQ(at(x, y).alpha(), 0) << x << "," << y;
    }
}

TEST_F(AppIconTest, HubIsWhiteAtTheCentre) {
    EXPECT_TRUE(isWhite(at(32, 32))) << at(32, 32).name(QColor::HexArgb).toStdString();
}

TEST_F(AppIconTest, DiscIsRedInsideTheInset) {
    EXPECT_TRUE(isRed(at(32, 5)));
    EXPECT_TRUE(isRed(at(6, 32)));
    EXPECT_TRUE(isRed(at(32, 40 - 14))); // between the hub and the arc, above the centre
}

TEST_F(AppIconTest, ArcIsOpenAtTheTop) {
    // The arc's radius is 0.32 * 64 = 20.5 px around the centre.
    EXPECT_TRUE(isRed(at(32, 12))) << at(32, 12).name(QColor::HexArgb).toStdString();
    EXPECT_TRUE(isArcWhite(at(32, 52))) << at(32, 52).name(QColor::HexArgb).toStdString();
    EXPECT_TRUE(isArcWhite(at(12, 32)));
    EXPECT_TRUE(isArcWhite(at(52, 32)));
}

TEST_F(AppIconTest, NeedlePointsDownAndToTheRight) {
    EXPECT_TRUE(isWhite(at(41, 41)));
    EXPECT_TRUE(isRed(at(23, 23)));
    EXPECT_TRUE(isRed(at(41, 23)));
    EXPECT_TRUE(isRed(at(23, 41)));
}

TEST_F(AppIconTest, IconRendersTheSameDrawingAtAnySize) {
    const QIcon qicon = appIcon();
    EXPECT_FALSE(qicon.isNull());
    EXPECT_FALSE(qicon.availableSizes().isEmpty());
    const QImage fromIcon =
        qicon.pixmap(QSize(side, side)).toImage().convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(fromIcon, icon);
    EXPECT_EQ(qicon.pixmap(QSize(22, 22)).size(), QSize(22, 22));
}

TEST_F(AppIconTest, PackagedSvgDrawsTheSameShape) {
    QSvgRenderer svg(QStringLiteral(QUILLON_SOURCE_DIR "/packaging/icons/quillon.svg"));
    ASSERT_TRUE(svg.isValid());
    QImage rendered(side, side, QImage::Format_ARGB32);
    rendered.fill(Qt::transparent);
    QPainter painter(&rendered);
    svg.render(&painter);
    painter.end();
    // Antialiased edges may differ slightly; count pixels that differ clearly.
    int different = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const QColor a = rendered.pixelColor(x, y);
            const QColor b = at(x, y);
            if (std::abs(a.alpha() - b.alpha()) > 40 || std::abs(a.green() - b.green()) > 40) {
                ++different;
            }
        }
    }
    EXPECT_LT(different, side * side / 100);
}

TEST(AppIconTool, WritesThePngsOfTheHicolorTheme) {
    const test::TempDir dir;
    QProcess tool;
    tool.start(QStringLiteral(QUILLON_ICON_TOOL), {QString::fromStdString(dir.path().string())});
    ASSERT_TRUE(tool.waitForFinished(30000));
    ASSERT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().toStdString();
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const auto file =
            dir.path() / QStringLiteral("hicolor/%1x%1/apps/quillon.png").arg(size).toStdString();
        const QImage png(QString::fromStdString(file.string()));
        ASSERT_FALSE(png.isNull()) << file;
        EXPECT_EQ(png.convertToFormat(QImage::Format_ARGB32),
                  generatePlaceholderAppIcon(size).convertToFormat(QImage::Format_ARGB32));
    }
}

TEST(AppIconTool, WithoutAnOutputFolderItPrintsItsUsage) {
    QProcess tool;
    tool.start(QStringLiteral(QUILLON_ICON_TOOL), {});
    ASSERT_TRUE(tool.waitForFinished(30000));
    EXPECT_EQ(tool.exitCode(), 2);
    EXPECT_TRUE(tool.readAllStandardError().startsWith("usage:"));
}

} // namespace
} // namespace quillon
