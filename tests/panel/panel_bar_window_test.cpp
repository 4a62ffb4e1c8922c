#include "panel_fixture.h"
#include "support/x11_windows.h"

namespace quillon {
namespace {

using test::ForeignWindow;

// The panel on a display whose bar is a dock window that no work area accounts for, as MATE's
// panel is under marco.
class PanelBarWindowTest : public test::PanelTest {
protected:
    bool waitShown() {
        return test::waitUntil([&] { return panel->isVisible(); }, 3000);
    }
    QRect display = QGuiApplication::primaryScreen()->geometry();
};

TEST_F(PanelBarWindowTest, HangsEightPixelsBelowADockAtTheTop) {
    ForeignWindow bar(QRect(0, 0, display.width(), 26));
    bar.setType("_NET_WM_WINDOW_TYPE_DOCK").map();
    start();
    panel->toggleAt(QPoint(1200, 13));
    ASSERT_TRUE(waitShown());
    EXPECT_EQ(panel->panelGeometry(), QRect(1200 - 180, 26 + 8, 360, 500));
}

TEST_F(PanelBarWindowTest, StandsEightPixelsAboveADockAtTheBottom) {
    ForeignWindow bar(QRect(0, display.height() - 40, display.width(), 40));
    bar.setType("_NET_WM_WINDOW_TYPE_DOCK").map();
    start();
    panel->toggleAt(QPoint(700, display.height() - 20));
    ASSERT_TRUE(waitShown());
    EXPECT_EQ(panel->panelGeometry(), QRect(700 - 180, display.height() - 40 - 8 - 500, 360, 500));
}

} // namespace
} // namespace quillon
