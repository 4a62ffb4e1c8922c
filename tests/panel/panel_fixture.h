#pragma once

#include "app/app_state.h"
#include "app/auth_store.h"
#include "panel/panel_window.h"
#include "support/qt_wait.h"
#include "support/screenshot_folder.h"
#include "support/temp_dir.h"

#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPalette>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <memory>
#include <optional>

namespace quillon::test {

inline UsageWindow window(std::int64_t percent, std::string label) {
    UsageWindow result;
    result.percent = percent;
    result.resetLabel = std::move(label);
    return result;
}

// Claude with every block filled: Sonnet, context and today.
inline UsageData fullClaude() {
    UsageData data;
    data.provider = Provider::claude;
    data.plan = "Max 5x";
    data.fiveHour = window(42, "in 2h 05m");
    data.weekly = window(63, "Thu 9:00 AM");
    data.sonnet = window(18, "Thu 9:00 AM");
    data.contextUsage = ContextUsage{"quillon", 45200, 200000, 154800, 23};
    data.today = TodayUsage{128, "1.4M"};
    return data;
}

inline UsageData plainCodex() {
    UsageData data;
    data.provider = Provider::codex;
    data.plan = "Plus";
    data.fiveHour = window(81, "in 37m");
    data.weekly = window(94, "Sat 4:30 PM");
    return data;
}

// A real state and a real panel window, with the providers' answers scripted by the test.
class PanelTest : public ::testing::Test {
protected:
    void SetUp() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US"), status);
        savedPalette_ = QGuiApplication::palette();
    }

    void TearDown() override {
        panel.reset();
        state.reset();
        QGuiApplication::setPalette(savedPalette_);
    }

    // Builds the state, waits for its first refresh to publish the scripted answers, and builds
    // the panel (its window is created on first use).
    void start() {
        AppServices services;
        services.fetchClaude = [this](CredentialStore&, const Cancellation&) { return claude; };
        services.fetchCodex = [this](CredentialStore&, const Cancellation&) { return codex; };
        state = std::make_unique<AppState>(authStore, std::move(services));
        ASSERT_TRUE(waitUntil([&] { return !state->isRefreshing(); }));
        panel = std::make_unique<PanelWindow>(*state, authStore);
    }

    // Starts and opens the panel near the top of the screen, animations settled.
    void open() {
        start();
        panel->showAt(QPoint(960, 30));
        ASSERT_TRUE(waitUntil([&] { return panel->window()->isExposed(); }));
        spin(450);
    }

    // The item of that name in the panel's visual tree, or null.
    QQuickItem* find(const char* name, QQuickItem* under = nullptr) const {
        const auto all = items(name, under);
        return all.isEmpty() ? nullptr : all.first();
    }

    // The item of that name; a missing one fails the test and stands in as a blank item.
    QQuickItem* item(const char* name) {
        if (QQuickItem* found = find(name)) {
            return found;
        }
        ADD_FAILURE() << "no item named " << name;
        return &missing_;
    }

    // All items of that name under `under` (the whole panel by default), visible or not, in
    // the order they are laid out.
    QList<QQuickItem*> items(const char* name, QQuickItem* under = nullptr) const {
        QList<QQuickItem*> found;
        collect(under != nullptr ? under : panel->window()->contentItem(), QString::fromUtf8(name),
                found);
        return found;
    }

    static QString text(const QQuickItem* item) {
        return item == nullptr ? QString() : item->property("text").toString();
    }

    // Whether the item shows on screen: it and every ancestor are visible.
    static bool shown(const QQuickItem* item) { return item != nullptr && item->isVisible(); }

    // Clicks the middle of an item, as a person would.
    void click(QQuickItem* target) {
        ASSERT_NE(target, nullptr);
        scrollTo(target);
        const QPointF centre =
            target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
        QTest::mouseClick(panel->window(), Qt::LeftButton, {}, centre.toPoint());
        spin(350);
    }

    // Scrolls the content so that the item is in view.
    void scrollTo(QQuickItem* target) {
        auto* scroller = item("contentScroller");
        if (scroller == nullptr || !scroller->isAncestorOf(target)) {
            return;
        }
        const QPointF top = target->mapToItem(scroller, QPointF(0, 0));
        const qreal contentY = scroller->property("contentY").toReal();
        const qreal height = scroller->height();
        if (top.y() < 0 || top.y() + target->height() > height) {
            const qreal maxY = scroller->property("contentHeight").toReal() - height;
            scroller->setProperty("contentY",
                                  std::clamp(contentY + top.y() - 12, 0.0, std::max(0.0, maxY)));
            spin(50);
        }
    }

    void openSettings() {
        click(item("settingsButton"));
        ASSERT_TRUE(waitUntil([&] { return find("inlineSettingsView") != nullptr; }));
        spin(300);
    }

    static void useDarkAppearance() {
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2e));
        dark.setColor(QPalette::WindowText, QColor(0xf2, 0xf2, 0xf5));
        dark.setColor(QPalette::Base, QColor(0x3a, 0x3a, 0x3e));
        dark.setColor(QPalette::Text, QColor(0xf2, 0xf2, 0xf5));
        dark.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3e));
        dark.setColor(QPalette::ButtonText, QColor(0xf2, 0xf2, 0xf5));
        dark.setColor(QPalette::Highlight, QColor(0x3d, 0x8b, 0xf7));
        dark.setColor(QPalette::HighlightedText, Qt::white);
        QGuiApplication::setPalette(dark);
    }

    // The panel as it appears on a desktop: the window, shadow included, over a plain backdrop.
    // Written to the screenshot folder and returned.
    QImage screenshot(const QString& name) {
        const QImage grabbed = panel->window()->grabWindow();
        QImage shot(grabbed.size(), QImage::Format_ARGB32_Premultiplied);
        const bool dark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
        QPainter painter(&shot);
        QLinearGradient backdrop(0, 0, shot.width(), shot.height());
        backdrop.setColorAt(0, dark ? QColor(0x1d, 0x24, 0x33) : QColor(0xc9, 0xd6, 0xe8));
        backdrop.setColorAt(1, dark ? QColor(0x2c, 0x1f, 0x33) : QColor(0xe6, 0xd5, 0xe3));
        painter.fillRect(shot.rect(), backdrop);
        painter.drawImage(0, 0, grabbed);
        painter.end();
        shot.save(test::screenshotFolder() + QStringLiteral("/%1.png").arg(name));
        return shot;
    }

    TempDir home;
    AuthStore authStore{
        SettingsFile(QString::fromStdString((home.path() / "quillon.conf").string()))};
    std::optional<UsageData> claude;
    std::optional<UsageData> codex;
    std::unique_ptr<AppState> state;
    std::unique_ptr<PanelWindow> panel;

private:
    static void collect(QQuickItem* from, const QString& name, QList<QQuickItem*>& found) {
        for (QQuickItem* child : from->childItems()) {
            if (child->objectName() == name) {
                found.append(child);
            }
            collect(child, name, found);
        }
    }

    QPalette savedPalette_;
    QQuickItem missing_;
};

} // namespace quillon::test
