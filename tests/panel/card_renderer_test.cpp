#include "panel/card_renderer.h"
#include "providers/window_labels.h"
#include "support/screenshot_folder.h"
#include "support/temp_dir.h"

#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>

namespace quillon {
namespace {

const Instant updated = Instant(std::chrono::seconds(1'795'000'000));

SharedUsageData snapshot(std::optional<std::int64_t> claude, std::optional<std::int64_t> codex) {
    SharedUsageData data;
    data.claudePercent = claude;
    data.codexPercent = codex;
    // The reset texts the refresh saves: the providers' own five-hour labels.
    using namespace std::chrono;
    if (claude) {
        data.claudeResetTime =
            countdownLabel(updated + hours(2) + minutes(5) + seconds(30), updated);
    }
    if (codex) {
        data.codexResetTime = countdownLabel(updated + minutes(12) + seconds(30), updated);
    }
    data.lastUpdated = updated;
    return data;
}

QQuickItem* child(const UsageCard& card, const char* name) {
    return card.root() ? card.root()->findChild<QQuickItem*>(QString::fromLatin1(name)) : nullptr;
}

// The colour of the card's picture on the ring of `gauge`, `degrees` clockwise from the top,
// `radius` from the ring's centre: by default the middle of the stroke, which runs along the
// edge of the ring's 100 x 100 frame.
QColor ringColourAt(const UsageCard& card, const QImage& picture, const char* gauge, double degrees,
                    double radius = 50) {
    QQuickItem* ring = child(card, gauge)->findChild<QQuickItem*>(QStringLiteral("ring"));
    const QPointF centre = ring->mapToScene(QPointF(50, 50));
    const double radians = (degrees - 90) * std::numbers::pi / 180;
    const QPoint at(static_cast<int>(std::lround(centre.x() + radius * std::cos(radians))),
                    static_cast<int>(std::lround(centre.y() + radius * std::sin(radians))));
    return picture.pixelColor(at);
}

bool near(const QColor& a, const QColor& b, int tolerance = 12) {
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

QColor arcColour(const UsageCard& card, const char* gauge) {
    return child(card, gauge)->property("arcColor").value<QColor>();
}

// The ring of a Claude-only card at `percent`: the colour in the middle of the arc, and the
// colour half-way through the part the arc does not cover (the track), or none when full.
struct RingSample {
    QColor declared;
    QColor onArc;
    std::optional<QColor> offArc;
};

RingSample sampleRing(std::int64_t percent) {
    const UsageCard card(snapshot(percent, std::nullopt), updated);
    const QImage picture = card.image();
    EXPECT_FALSE(picture.isNull());
    const double sweep = 360.0 * std::clamp(percent / 100.0, 0.0, 1.0);
    RingSample sample{arcColour(card, "claudeGauge"),
                      ringColourAt(card, picture, "claudeGauge", sweep / 2), std::nullopt};
    if (sweep < 360) {
        sample.offArc = ringColourAt(card, picture, "claudeGauge", sweep + (360 - sweep) / 2);
    }
    return sample;
}

const QColor green(0x2f, 0xb8, 0x51);
const QColor yellow(0xf2, 0xc0, 0x00);
const QColor orange(0xf5, 0x8a, 0x00);
const QColor red(0xee, 0x3b, 0x30);

// Drawing a card leaves no compiled views behind in the user's cache or home (the test runs
// with a HOME and an XDG_CACHE_HOME of its own).
TEST(CardRendererTest, DrawingACardWritesNoQmlCache) {
    const UsageCard card(snapshot(42, 17), updated);
    ASSERT_FALSE(card.image().isNull());
    for (const char* folder : {"XDG_CACHE_HOME", "HOME"}) {
        const char* path = std::getenv(folder);
        ASSERT_NE(path, nullptr) << folder;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            EXPECT_NE(entry.path().extension(), ".qmlc") << entry.path();
            EXPECT_NE(entry.path().filename(), "qmlcache") << entry.path();
        }
    }
}

TEST(CardRendererTest, GaugeAtFortyNineIsGreen) {
    const RingSample ring = sampleRing(49);
    EXPECT_EQ(ring.declared, green);
    EXPECT_TRUE(near(ring.onArc, green)) << ring.onArc.name().toStdString();
    ASSERT_TRUE(ring.offArc.has_value());
    EXPECT_FALSE(near(*ring.offArc, green)) << ring.offArc->name().toStdString();
}

TEST(CardRendererTest, GaugeAtFiftyIsYellow) {
    const RingSample ring = sampleRing(50);
    EXPECT_EQ(ring.declared, yellow);
    EXPECT_TRUE(near(ring.onArc, yellow)) << ring.onArc.name().toStdString();
    EXPECT_FALSE(near(*ring.offArc, yellow));
}

TEST(CardRendererTest, GaugeAtSeventyFiveIsOrange) {
    const RingSample ring = sampleRing(75);
    EXPECT_EQ(ring.declared, orange);
    EXPECT_TRUE(near(ring.onArc, orange)) << ring.onArc.name().toStdString();
    EXPECT_FALSE(near(*ring.offArc, orange));
}

TEST(CardRendererTest, GaugeAtNinetyIsRed) {
    const RingSample ring = sampleRing(90);
    EXPECT_EQ(ring.declared, red);
    EXPECT_TRUE(near(ring.onArc, red)) << ring.onArc.name().toStdString();
    EXPECT_FALSE(near(*ring.offArc, red));
}

TEST(CardRendererTest, GaugeAtOneHundredThirtyIsRedWithAFullRing) {
    const UsageCard card(snapshot(130, std::nullopt), updated);
    const QImage picture = card.image();
    EXPECT_EQ(arcColour(card, "claudeGauge"), red);
    for (const double degrees : {10.0, 90.0, 180.0, 270.0, 350.0}) {
        EXPECT_TRUE(near(ringColourAt(card, picture, "claudeGauge", degrees), red)) << degrees;
    }
    EXPECT_EQ(child(card, "percentText")->property("text").toString(), "130");
}

TEST(CardRendererTest, NegativeGaugeIsRedWithAnEmptyRing) {
    const UsageCard card(snapshot(-5, std::nullopt), updated);
    const QImage picture = card.image();
    EXPECT_EQ(arcColour(card, "claudeGauge"), red);
    EXPECT_FALSE(near(ringColourAt(card, picture, "claudeGauge", 90), red));
}

TEST(CardRendererTest, RingStrokeIsEightWideAlongTheEdgeOfItsFrame) {
    const UsageCard card(snapshot(0, std::nullopt), updated);
    const QImage picture = card.image();
    // Beside the ring, clear of it and of the texts: the card's own background.
    const QColor background = ringColourAt(card, picture, "claudeGauge", 90, 64);
    for (const double degrees : {45.0, 90.0, 135.0, 225.0, 270.0, 315.0}) {
        // The track covers 46 to 54 from the centre, half of it outside the frame.
        for (const double radius : {47.0, 50.0, 53.0}) {
            EXPECT_FALSE(
                near(ringColourAt(card, picture, "claudeGauge", degrees, radius), background, 6))
                << degrees << " " << radius;
        }
        for (const double radius : {43.0, 57.0}) {
            EXPECT_TRUE(
                near(ringColourAt(card, picture, "claudeGauge", degrees, radius), background, 6))
                << degrees << " " << radius;
        }
    }
}

TEST(CardRendererTest, CardIsSizedToItsContent) {
    const UsageCard both(snapshot(42, 17), updated);
    const QImage twoRings = both.image();
    EXPECT_EQ(twoRings.width(), static_cast<int>(std::ceil(both.root()->width())));
    EXPECT_EQ(twoRings.height(), static_cast<int>(std::ceil(both.root()->height())));
    // Two rings of 100 with 20 between them, and 16 of padding either side.
    EXPECT_GE(twoRings.width(), 2 * 100 + 20 + 2 * 16);
    EXPECT_LT(twoRings.width(), 400);
    EXPECT_GE(twoRings.height(), 100 + 2 * 16 + 16);
    EXPECT_LT(twoRings.height(), 300);

    const UsageCard one(snapshot(std::nullopt, 17), updated);
    EXPECT_LT(one.image().width(), twoRings.width());
}

TEST(CardRendererTest, SnapshotWithOnlyCodexShowsOneGauge) {
    const UsageCard card(snapshot(std::nullopt, 17), updated);
    EXPECT_FALSE(child(card, "claudeGauge")->isVisible());
    EXPECT_TRUE(child(card, "codexGauge")->isVisible());
    EXPECT_EQ(child(card, "codexGauge")->property("name").toString(), "Codex");
}

TEST(CardRendererTest, PresentButEmptyResetTextStillShowsResets) {
    SharedUsageData data = snapshot(42, std::nullopt);
    data.claudeResetTime = "";
    const UsageCard card(data, updated);
    QQuickItem* reset = child(card, "claudeGauge")->findChild<QQuickItem*>("resetText");
    EXPECT_TRUE(reset->isVisible());
    EXPECT_EQ(reset->property("text").toString(), "Resets ");
}

TEST(CardRendererTest, AbsentResetTextHidesTheResetLine) {
    SharedUsageData data = snapshot(42, std::nullopt);
    data.claudeResetTime.reset();
    const UsageCard card(data, updated);
    EXPECT_FALSE(child(card, "claudeGauge")->findChild<QQuickItem*>("resetText")->isVisible());
}

TEST(CardRendererTest, ResetTextFollowsResets) {
    const UsageCard card(snapshot(42, 17), updated);
    // "Resets " goes before the saved text, which is itself the five-hour countdown.
    EXPECT_EQ(child(card, "claudeGauge")->findChild<QQuickItem*>("resetText")->property("text"),
              "Resets Resets in 2h 05m");
    EXPECT_EQ(child(card, "codexGauge")->findChild<QQuickItem*>("resetText")->property("text"),
              "Resets Resets in 12m");
}

TEST(CardRendererTest, LastUpdatedShowsTheSnapshotsAge) {
    const UsageCard card(snapshot(42, 17), updated + std::chrono::seconds(200));
    EXPECT_EQ(child(card, "lastUpdatedText")->property("text").toString(),
              "Last updated: 3 min ago");
}

TEST(CardRendererTest, NeitherProviderShowsNoGauge) {
    const UsageCard card(snapshot(std::nullopt, std::nullopt), updated);
    EXPECT_FALSE(child(card, "claudeGauge")->isVisible());
    EXPECT_FALSE(child(card, "codexGauge")->isVisible());
    EXPECT_FALSE(card.image().isNull());
}

TEST(CardRendererTest, NoSnapshotGivesTheNoDataCard) {
    const UsageCard card(std::nullopt, updated);
    ASSERT_NE(card.root(), nullptr);
    EXPECT_NE(child(card, "warningSymbol"), nullptr);
    ASSERT_NE(child(card, "noDataTitle"), nullptr);
    ASSERT_NE(child(card, "noDataHint"), nullptr);
    EXPECT_EQ(child(card, "noDataTitle")->property("text").toString(), "No Data Available");
    EXPECT_EQ(child(card, "noDataHint")->property("text").toString(),
              "Please open Quillon to sync your usage data");
    EXPECT_TRUE(child(card, "noDataTitle")->isVisible());
    EXPECT_TRUE(child(card, "noDataHint")->isVisible());
    const QImage picture = card.image();
    EXPECT_GE(picture.width(), 200);
    // The warning symbol is drawn in orange.
    const QRectF box = child(card, "warningSymbol")->mapRectToScene(QRectF(0, 0, 40, 40));
    int orangePixels = 0;
    for (int y = static_cast<int>(box.top()); y < static_cast<int>(box.bottom()); ++y) {
        for (int x = static_cast<int>(box.left()); x < static_cast<int>(box.right()); ++x) {
            orangePixels += near(picture.pixelColor(x, y), orange, 20) ? 1 : 0;
        }
    }
    EXPECT_GT(orangePixels, 100);
}

TEST(CardRendererTest, SavesAPngOfTheCard) {
    const test::TempDir folder;
    const QString path = QString::fromStdString((folder.path() / "card.png").string());
    const UsageCard card(snapshot(42, 17), updated);
    ASSERT_TRUE(card.savePng(path));
    const QImage loaded(path);
    EXPECT_EQ(loaded.size(), card.image().size());
    EXPECT_FALSE(card.savePng(QStringLiteral("/nonexistent/folder/card.png")));
}

// The usage card and the no-data card in the light and the dark palette, written to the
// screenshot folder to be looked at.
TEST(CardRendererTest, ScreenshotsLightAndDark) {
    const QPalette saved = QGuiApplication::palette();
    const QString folder = test::screenshotFolder();
    for (const bool dark : {false, true}) {
        if (dark) {
            QPalette palette;
            palette.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2e));
            palette.setColor(QPalette::WindowText, QColor(0xf2, 0xf2, 0xf5));
            palette.setColor(QPalette::Base, QColor(0x3a, 0x3a, 0x3e));
            palette.setColor(QPalette::Text, QColor(0xf2, 0xf2, 0xf5));
            QGuiApplication::setPalette(palette);
        }
        const QString suffix = dark ? QStringLiteral("-dark") : QStringLiteral("-light");
        const UsageCard usage(snapshot(92, 17), updated + std::chrono::seconds(200));
        const UsageCard none(std::nullopt, updated);
        const QImage usagePicture = usage.image();
        EXPECT_EQ(usagePicture.pixelColor(2, 2).lightness() < 128, dark);
        EXPECT_TRUE(usage.savePng(folder + QStringLiteral("/card-usage%1.png").arg(suffix)));
        EXPECT_TRUE(none.savePng(folder + QStringLiteral("/card-no-data%1.png").arg(suffix)));
    }
    QGuiApplication::setPalette(saved);
}

} // namespace
} // namespace quillon
