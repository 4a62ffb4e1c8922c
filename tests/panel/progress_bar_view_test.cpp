#include "panel/appearance.h"
#include "panel_fixture.h"

#include <QEasingCurve>

namespace quillon {
namespace {

using test::PanelTest;

class ProgressBarViewTest : public PanelTest {
protected:
    // The first bar of the provider's card, once the card is laid out.
    QQuickItem* firstBar(const char* provider) {
        const QString name = QStringLiteral("usageCard_") + QLatin1String(provider);
        QQuickItem* bar = nullptr;
        const bool laidOut = test::waitUntil([&] {
            QQuickItem* card = find(name.toUtf8().constData());
            bar = card == nullptr ? nullptr : find("progressBar", card);
            return bar != nullptr && bar->width() > 0;
        });
        EXPECT_TRUE(laidOut) << provider;
        return laidOut ? bar : nullptr;
    }
    static QQuickItem* fillOf(QQuickItem* bar) {
        for (QQuickItem* child : bar->childItems()) {
            if (child->objectName() == QLatin1String("progressFill")) {
                return child;
            }
        }
        return nullptr;
    }
    static bool easing(const QQuickItem* bar) { return bar->property("easing").toBool(); }
    static QColor fillColour(QQuickItem* bar) {
        return fillOf(bar)->property("color").value<QColor>();
    }
    // The Codex card's first bar (five-hour, 81 %) drawn where it stands, not on its way there.
    void expectCodexBarAtRest() {
        QQuickItem* bar = firstBar("codex");
        ASSERT_NE(bar, nullptr);
        expectAtRest(bar, 0.81, Appearance().orange());
    }
    // The bar drawn at rest at `fraction` of its width in `colour`.
    static void expectAtRest(QQuickItem* bar, double fraction, const QColor& colour) {
        EXPECT_FALSE(easing(bar));
        EXPECT_NEAR(fillOf(bar)->width(), bar->width() * fraction, 0.01);
        EXPECT_EQ(fillColour(bar), colour);
    }
};

TEST_F(ProgressBarViewTest, ColourAndWidthFollowThePercent) {
    claude = test::fullClaude();
    open();
    QQuickItem* bar = firstBar("claude");
    ASSERT_NE(bar, nullptr);
    const Appearance colours;
    const struct {
        int percent;
        QColor colour;
        double fraction;
    } cases[] = {{89, colours.orange(), 0.89}, {90, colours.red(), 0.90},
                 {74, colours.yellow(), 0.74}, {75, colours.orange(), 0.75},
                 {49, colours.green(), 0.49},  {130, colours.red(), 1.0},
                 {-5, colours.green(), 0.0}};
    for (const auto& c : cases) {
        bar->setProperty("percent", c.percent);
        ASSERT_TRUE(test::waitUntil([&] { return !easing(bar); })) << c.percent;
        EXPECT_EQ(bar->property("fillColor").value<QColor>(), c.colour) << c.percent;
        expectAtRest(bar, c.fraction, c.colour);
    }
}

TEST_F(ProgressBarViewTest, AChangeEasesLengthAndColourInAndOutOverAThirdOfASecond) {
    claude = test::fullClaude(); // five-hour window at 42: green
    open();
    QQuickItem* bar = firstBar("claude");
    ASSERT_NE(bar, nullptr);
    const Appearance colours;
    expectAtRest(bar, 0.42, colours.green());

    bar->setProperty("percent", 95);
    // The change starts from where the fill stood, towards the new length and colour.
    EXPECT_TRUE(easing(bar));
    EXPECT_NEAR(fillOf(bar)->width(), bar->width() * 0.42, 0.01);
    EXPECT_EQ(fillColour(bar), colours.green());
    ASSERT_TRUE(test::waitUntil([&] { return !easing(bar); }));
    expectAtRest(bar, 0.95, colours.red());

    // Both eases last 0.3 s on the ease-in-out curve: slow at either end, half-way at the middle.
    const auto animations = bar->findChildren<QObject*>();
    int eases = 0;
    for (const QObject* animation : animations) {
        const QVariant curve = animation->property("easing");
        if (!curve.isValid() || animation->property("duration").toInt() == 0) {
            continue;
        }
        ++eases;
        EXPECT_EQ(animation->property("duration").toInt(), 300);
        const auto easingCurve = curve.value<QEasingCurve>();
        EXPECT_NEAR(easingCurve.valueForProgress(0.5), 0.5, 0.01);
        EXPECT_NEAR(easingCurve.valueForProgress(0.25), 0.129, 0.01);
        EXPECT_NEAR(easingCurve.valueForProgress(0.75), 0.871, 0.01);
    }
    EXPECT_EQ(eases, 2);
}

TEST_F(ProgressBarViewTest, ACardThatFirstAppearsShowsItsBarsAtOnce) {
    open(); // no figures yet
    codex = test::plainCodex();
    state->refreshAll();
    expectCodexBarAtRest();
}

TEST_F(ProgressBarViewTest, ReturningFromTheSettingsDoesNotReplayTheBars) {
    codex = test::plainCodex();
    open();
    openSettings();
    // Pressed without the fixture's pause after a click, so that the card is seen as it is built.
    QQuickItem* button = item("settingsButton");
    const QPointF centre = button->mapToScene(QPointF(button->width() / 2, button->height() / 2));
    QTest::mouseClick(panel->window(), Qt::LeftButton, {}, centre.toPoint());
    expectCodexBarAtRest();
}

TEST_F(ProgressBarViewTest, ANewWidthScalesTheFillWithoutEasing) {
    codex = test::plainCodex();
    open();
    QQuickItem* bar = firstBar("codex");
    ASSERT_NE(bar, nullptr);
    bar->setWidth(bar->width() / 2);
    expectAtRest(bar, 0.81, Appearance().orange());
}

} // namespace
} // namespace quillon
