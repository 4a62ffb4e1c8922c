#pragma once

#include "app/auth_store.h"
#include "app/panel_application.h"
#include "app/production_services.h"
#include "intents/shared_usage_data.h"
#include "localstats/local_stats_reader.h"
#include "quillon_process.h"
#include "sample_home.h"
#include "sample_service.h"
#include "support/fake_notification_server.h"
#include "support/qt_wait.h"
#include "support/test_ca.h"
#include "temporary_home.h"
#include "tray/status_notifier_item.h"
#include "tray/title_subscription.h"
#include "tray/tray_dbus_types.h"
#include "tray/tray_test_bus.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>

namespace quillon::test {

using namespace std::chrono_literals;

// Generous: two cores may be busy with the rest of the suite.
inline constexpr int deadlineMs = 30000;

// The first item of that name in the visual tree below `under`, or null.
inline QQuickItem* findItem(const QString& name, QQuickItem* under) {
    for (QQuickItem* child : under->childItems()) {
        if (child->objectName() == name) {
            return child;
        }
        if (QQuickItem* found = findItem(name, child)) {
            return found;
        }
    }
    return nullptr;
}

// The application built as the shipped program builds it, with the real providers pointed at
// the sample service over HTTPS, a stand-in panel host and notification service on the
// private session bus, and a home folder of its own.
class WholeApplicationTest : public ::testing::Test {
protected:
    WholeApplicationTest() {
        demo::writeSampleHome(home.path(), std::chrono::system_clock::now());
        env.claudeApiBase = env.claudeWebBase = env.chatgptBase = service.baseUrl();
        env.home = home.path();
        env.securityTool = (home.path() / "no-keychain-tool").string();
        env.userName = "ada";
        env.fetch.caFile = testCertificates().caFile.string();
        env.fetch.timeout = 20s;
        env.readLocalStats = [reader = std::make_shared<LocalStatsReader>(home.path()),
                              clock = env.clock] { return reader->read(clock()); };
    }

    ~WholeApplicationTest() override {
        parts.reset();
        watcher.stop();
        QDBusConnection::disconnectFromBus(QStringLiteral("whole-application-client"));
    }

    // Claude through its web login (a stored cookie) instead of the Claude Code login.
    void useClaudeWebLogin() {
        std::filesystem::remove(home.path() / ".claude/.credentials.json");
        AuthStore(SettingsFile(home.settingsPath())).setClaudeCookieHeader("sessionKey=sk-web-1");
    }

    // Starts the application as the shipped program does and waits for its first refresh to
    // be published and for its item to be registered with the panel host.
    void start() {
        ASSERT_TRUE(watcher.start());
        ASSERT_TRUE(notifications.start());
        parts = std::make_unique<PanelApplication>([this](KeyValueStore& snapshotStore) {
            return productionServices(snapshotStore, env);
        });
        ASSERT_TRUE(waitUntil([&] { return state().lastUpdated().has_value(); }, deadlineMs));
        ASSERT_TRUE(waitUntil([&] { return !state().isRefreshing(); }, deadlineMs));
        // The item counts as shown once the watcher's answer to its registration is back.
        ASSERT_TRUE(
            waitUntil([&] { return parts->tray().mode() == TrayIcon::Mode::statusNotifierItem; },
                      deadlineMs));
        EXPECT_EQ(watcher.registeredItems(),
                  QStringList{parts->tray().statusNotifierItem().serviceName()});
    }

    AppState& state() { return parts->appState(); }

    // One refresh cycle, as the timer or the refresh button starts it, waited for to the end.
    void refresh() {
        ASSERT_TRUE(waitUntil([&] { return !state().isRefreshing(); }, deadlineMs));
        state().refreshAll();
        ASSERT_TRUE(state().isRefreshing());
        ASSERT_TRUE(waitUntil([&] { return !state().isRefreshing(); }, deadlineMs));
        // The title follows after its debounce.
        spin(TitleSubscription::debounceMs * 3);
    }

    QVariant itemProperty(const char* name) {
        const QDBusMessage reply = getProperty(
            client, parts->tray().statusNotifierItem().serviceName(),
            QString::fromLatin1(StatusNotifierItem::objectPath),
            QString::fromLatin1(StatusNotifierItem::interfaceName), QString::fromLatin1(name));
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    QString label() { return itemProperty("XAyatanaLabel").toString(); }

    SniToolTip toolTip() {
        SniToolTip tip;
        itemProperty("ToolTip").value<QDBusArgument>() >> tip;
        return tip;
    }

    // Waits for the label a panel host reads over the bus, then checks it and the tooltip, whose
    // first line is the title without the blank that keeps it apart from the icon (the pace of
    // each window follows on lines of its own).
    void expectShown(const QString& title) {
        waitUntil([&] { return label() == title; }, deadlineMs);
        EXPECT_EQ(label().toStdString(), title.toStdString());
        const SniToolTip tip = toolTip();
        EXPECT_EQ(tip.title.toStdString(), "Quillon");
        EXPECT_EQ(tip.text.section(QLatin1Char('\n'), 0, 0).toStdString(),
                  title.trimmed().toStdString());
    }

    // The bodies of the notifications received since the last call, once `count` have come;
    // waits a little longer so that a surplus one is caught too.
    std::multiset<std::string> newNotifications(std::size_t count) {
        waitUntil([&] { return notifications.calls.size() >= seen_ + count; }, deadlineMs);
        spin(300);
        std::multiset<std::string> bodies;
        for (; seen_ < notifications.calls.size(); ++seen_) {
            const auto& call = notifications.calls[seen_];
            EXPECT_EQ(call.appName.toStdString(), "Quillon");
            EXPECT_EQ(call.summary.toStdString(), "Quillon");
            bodies.insert(call.body.toStdString());
        }
        return bodies;
    }

    std::optional<SharedUsageData> savedSnapshot() const {
        return SharedUsageData::load(SettingsFile(home.settingsPath()));
    }

    // What the real binary answers for `command` from the saved snapshot.
    std::string answer(const char* command) {
        const ProcessOutcome outcome = runQuillon({QString::fromLatin1(command)});
        EXPECT_EQ(outcome.exitCode, 0) << command;
        EXPECT_EQ(outcome.err, "") << command;
        return outcome.out;
    }

    std::string codexReset() { return state().codexUsage()->fiveHour.resetLabel; }

    void setFigures(double claude, double codex) {
        demo::SampleFigures figures;
        figures.claudeFiveHour = claude;
        figures.codexFiveHour = codex;
        service.setFigures(figures);
    }

    TemporaryHome home;
    demo::SampleService service{
        demo::SampleFigures{},
        demo::SampleTls{testCertificates().certificateFile, testCertificates().keyFile}};
    ProviderEnvironment env;
    QDBusConnection client = otherBusConnection(QStringLiteral("whole-application-client"));
    FakeStatusNotifierWatcher watcher{client};
    FakeNotificationServer notifications;
    std::unique_ptr<PanelApplication> parts;

private:
    std::size_t seen_ = 0;
};

} // namespace quillon::test
