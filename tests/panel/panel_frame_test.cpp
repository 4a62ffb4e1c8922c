#include "panel_fixture.h"

namespace quillon {
namespace {

using test::PanelTest;

using PanelFrameTest = PanelTest;

TEST_F(PanelFrameTest, TheDashboardIsLaidOutOnTheWholePanel) {
    codex = test::plainCodex();
    open();
    QQuickItem* dashboard = item("dashboardView");
    EXPECT_EQ(dashboard->width(), PanelWindow::panelWidth);
    EXPECT_EQ(dashboard->height(), PanelWindow::panelHeight);
    EXPECT_EQ(dashboard->mapToItem(item("panel"), QPointF(0, 0)), QPointF(0, 0));
    // Cards keep 16 on either side of the panel's full width.
    EXPECT_EQ(item("usageCard_codex")->width(), PanelWindow::panelWidth - 32);
}

TEST_F(PanelFrameTest, TheOutlineIsDrawnOverTheDashboardsEdge) {
    open();
    QQuickItem* panelItem = item("panel");
    QQuickItem* outline = item("panelOutline");
    QQuickItem* dashboard = item("dashboardView");
    // The background has no outline of its own that would take room from the dashboard.
    EXPECT_EQ(panelItem->property("border").value<QObject*>()->property("width").toReal(), 0);
    // The outline covers the panel exactly, on top of the dashboard, and fills nothing.
    EXPECT_EQ(outline->parentItem(), panelItem);
    EXPECT_EQ(outline->position(), QPointF(0, 0));
    EXPECT_EQ(outline->size(), panelItem->size());
    EXPECT_EQ(outline->property("radius").toReal(), panelItem->property("radius").toReal());
    EXPECT_EQ(outline->property("border").value<QObject*>()->property("width").toReal(), 1);
    EXPECT_EQ(outline->property("color").value<QColor>().alpha(), 0);
    EXPECT_GT(outline->z(), dashboard->z());
}

} // namespace
} // namespace quillon
