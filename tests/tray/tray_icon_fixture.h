#pragma once

// A tray icon on a private bus with a fake watcher, and the actions it calls, for the tray icon
// tests.
#include "app/app_state.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "support/usage_builders.h"
#include "tray/status_notifier_item.h"
#include "tray/title_subscription.h"
#include "tray/tray_icon.h"
#include "tray/tray_icon_image.h"
#include "tray/tray_test_bus.h"

#include <QCursor>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QSystemTrayIcon>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

namespace quillon::test {

// Fetch results the test sets before each refresh.
class ScriptedUsage {
public:
    void set(std::optional<UsageData> claude, std::optional<UsageData> codex) {
        const std::lock_guard lock(mutex_);
        claude_ = std::move(claude);
        codex_ = std::move(codex);
    }
    AppServices services() {
        AppServices services;
        services.fetchClaude = [this](CredentialStore&, const Cancellation&) {
            ++fetches;
            const std::lock_guard lock(mutex_);
            return claude_;
        };
        services.fetchCodex = [this](CredentialStore&, const Cancellation&) {
            const std::lock_guard lock(mutex_);
            return codex_;
        };
        return services;
    }
    std::atomic<int> fetches{0};

private:
    std::mutex mutex_;
    std::optional<UsageData> claude_;
    std::optional<UsageData> codex_;
};

class TrayIconTest : public ::testing::Test {
protected:
    // A tray item whose title follows a real state, wired as the application wires them.
    struct TitledTray {
        TitledTray(TrayActions actions, CredentialStore& credentials, AppServices services)
            : tray(std::move(actions)), state(credentials, std::move(services)),
              titles(state, [this](const auto& claude, const auto& codex) {
                  tray.updateMenuBarTitle(claude, codex);
              }) {}
        TrayIcon tray;
        AppState state;
        TitleSubscription titles;
    };

    ~TrayIconTest() override {
        watcher.stop();
        QDBusConnection::disconnectFromBus(QStringLiteral("tray-test-client"));
    }

    TrayActions actions() {
        return TrayActions{
            .togglePanel = [this](QPoint point) { toggles.push_back(point); },
            .showPanel = [this](QPoint point) { shows.push_back(point); },
            .hidePanel = {},
            .refresh = [this] { ++refreshes; },
            .quit = [this] { ++quits; },
        };
    }

    QDBusMessage itemProperty(TrayIcon& tray, const char* name) {
        return test::getProperty(client, tray.statusNotifierItem().serviceName(),
                                 QString::fromLatin1(StatusNotifierItem::objectPath),
                                 QString::fromLatin1(StatusNotifierItem::interfaceName),
                                 QString::fromLatin1(name));
    }

    void activate(TrayIcon& tray, int x, int y) {
        auto call = QDBusMessage::createMethodCall(
            tray.statusNotifierItem().serviceName(), QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
        call << x << y;
        const auto reply = callAndWait(client, call);
        ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    }

    QVariant itemValue(TrayIcon& tray, const char* name) {
        const auto reply = itemProperty(tray, name);
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    SniToolTip toolTip(TrayIcon& tray) {
        SniToolTip tip;
        itemValue(tray, "ToolTip").value<QDBusArgument>() >> tip;
        return tip;
    }

    // Follows one of the item's bus signals from the client connection.
    bool follow(TrayIcon& tray, const char* interface, const char* signal,
                test::SignalRecorder& recorder) {
        return client.connect(tray.statusNotifierItem().serviceName(),
                              QString::fromLatin1(StatusNotifierItem::objectPath),
                              QString::fromLatin1(interface), QString::fromLatin1(signal),
                              &recorder, SLOT(record(QDBusMessage)));
    }

    // Runs one refresh cycle of `state` with these results and lets the title settle.
    void refreshWith(AppState& state, std::optional<UsageData> claude,
                     std::optional<UsageData> codex) {
        scripted.set(std::move(claude), std::move(codex));
        ASSERT_TRUE(waitUntil([&] { return !state.isRefreshing(); }));
        const int before = scripted.fetches;
        state.refreshAll();
        ASSERT_TRUE(waitUntil([&] { return scripted.fetches > before && !state.isRefreshing(); }));
        test::spin(TitleSubscription::debounceMs * 3);
    }

    QDBusConnection client = test::otherBusConnection(QStringLiteral("tray-test-client"));
    test::FakeStatusNotifierWatcher watcher{client};
    ScriptedUsage scripted;
    test::MemoryCredentialStore credentials;
    std::vector<QPoint> toggles;
    std::vector<QPoint> shows;
    int refreshes = 0;
    int quits = 0;
};

} // namespace quillon::test
