#include "app/app_icon.h"
#include "app/app_state.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"
#include "support/usage_builders.h"
#include "tray/status_notifier_item.h"
#include "tray/title_subscription.h"
#include "tray/tray_icon.h"
#include "tray/tray_test_bus.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QMenu>
#include <QSystemTrayIcon>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <mutex>

namespace quillon {
namespace {

using test::callAndWait;
using test::waitUntil;

using test::usage;

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

TEST_F(TrayIconTest, RegistersWithAWatcherPresentAtStartUp) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    ASSERT_TRUE(tray.statusNotifierItem().isPublished());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));
    EXPECT_EQ(watcher.registeredItems(), QStringList{tray.statusNotifierItem().serviceName()});
    EXPECT_EQ(watcher.callers(), QStringList{QDBusConnection::sessionBus().baseService()});
    EXPECT_EQ(
        tray.statusNotifierItem().serviceName(),
        QStringLiteral("org.kde.StatusNotifierItem-%1-").arg(QCoreApplication::applicationPid()) +
            tray.statusNotifierItem().serviceName().section(QLatin1Char('-'), -1));
    EXPECT_EQ(tray.fallbackIcon(), nullptr);
}

TEST_F(TrayIconTest, PublishesTheItemPropertiesWithTheProtocolsTypes) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));

    EXPECT_EQ(itemValue(tray, "Id").toString(), "quillon");
    EXPECT_EQ(itemValue(tray, "Category").toString(), "ApplicationStatus");
    EXPECT_EQ(itemValue(tray, "Status").toString(), "Active");
    EXPECT_EQ(itemValue(tray, "Title").toString(), "Quillon");
    EXPECT_EQ(itemValue(tray, "ItemIsMenu").metaType(), QMetaType::fromType<bool>());
    EXPECT_FALSE(itemValue(tray, "ItemIsMenu").toBool());
    EXPECT_EQ(itemValue(tray, "WindowId").metaType(), QMetaType::fromType<int>());
    EXPECT_EQ(itemValue(tray, "Menu").value<QDBusObjectPath>().path(), "/MenuBar");
    EXPECT_EQ(itemValue(tray, "XAyatanaLabelGuide").toString(), " C:100% X:100%");
    EXPECT_EQ(itemValue(tray, "AttentionIconName").toString(), "");
    EXPECT_EQ(itemValue(tray, "OverlayIconName").toString(), "");
    // No icon named "quillon" is installed where the tests run.
    EXPECT_EQ(itemValue(tray, "IconName").toString(), "");

    EXPECT_EQ(itemValue(tray, "IconPixmap").value<QDBusArgument>().currentSignature(), "a(iiay)");
    EXPECT_EQ(itemValue(tray, "AttentionIconPixmap").value<QDBusArgument>().currentSignature(),
              "a(iiay)");
    EXPECT_EQ(itemValue(tray, "ToolTip").value<QDBusArgument>().currentSignature(), "(sa(iiay)ss)");
    EXPECT_EQ(toolTip(tray).title, "Quillon");
}

TEST_F(TrayIconTest, AnInstalledThemedIconIsNamed) {
    const test::TempDir dir;
    dir.write("icons/hicolor/index.theme", "[Icon Theme]\nName=Hicolor\nDirectories=48x48/apps\n\n"
                                           "[48x48/apps]\nSize=48\nType=Fixed\n");
    const auto folder = dir.path() / "icons/hicolor/48x48/apps";
    std::filesystem::create_directories(folder);
    ASSERT_TRUE(generatePlaceholderAppIcon(48).save(
        QString::fromStdString((folder / "quillon.png").string()), "PNG"));
    const QStringList oldPaths = QIcon::themeSearchPaths();
    const QString oldTheme = QIcon::themeName();
    QIcon::setThemeSearchPaths({QString::fromStdString((dir.path() / "icons").string())});
    QIcon::setThemeName(QStringLiteral("hicolor"));

    ASSERT_TRUE(watcher.start());
    {
        TrayIcon tray(actions());
        EXPECT_EQ(itemValue(tray, "IconName").toString(), "quillon");
        EXPECT_EQ(toolTip(tray).iconName, "quillon");
    }
    QIcon::setThemeSearchPaths(oldPaths);
    QIcon::setThemeName(oldTheme);
}

TEST_F(TrayIconTest, IconPixmapsAreArgbInNetworkByteOrderInSeveralSizes) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    SniIconPixmaps pixmaps;
    itemValue(tray, "IconPixmap").value<QDBusArgument>() >> pixmaps;
    ASSERT_GE(pixmaps.size(), 3);
    const auto big = std::find_if(pixmaps.begin(), pixmaps.end(),
                                  [](const SniIconPixmap& p) { return p.width == 64; });
    ASSERT_NE(big, pixmaps.end());
    ASSERT_EQ(big->height, 64);
    ASSERT_EQ(big->bytes.size(), 64 * 64 * 4);
    const auto pixel = [&](int x, int y) { return big->bytes.mid((y * 64 + x) * 4, 4); };
    // A, R, G, B: the red disc just below the top edge, a transparent corner, the white hub.
    EXPECT_EQ(pixel(32, 5), QByteArray::fromHex("ffff3b30"));
    EXPECT_EQ(uchar(pixel(0, 0).at(0)), 0);
    EXPECT_EQ(pixel(32, 32), QByteArray::fromHex("ffffffff"));
}

TEST_F(TrayIconTest, IntrospectionShowsTheProtocolsSignatures) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    auto call = QDBusMessage::createMethodCall(
        tray.statusNotifierItem().serviceName(), QStringLiteral("/StatusNotifierItem"),
        QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"));
    const QString xml = callAndWait(client, call).arguments().value(0).toString();
    for (const char* expected : {
             R"x(<property name="IconPixmap" type="a(iiay)" access="read"/>)x",
             R"x(<property name="ToolTip" type="(sa(iiay)ss)" access="read"/>)x",
             R"x(<property name="Menu" type="o" access="read"/>)x",
             R"x(<property name="XAyatanaLabel" type="s" access="read"/>)x",
             R"x(<method name="Activate">)x",
             R"x(<method name="ProvideXdgActivationToken">)x",
             R"x(<signal name="XAyatanaNewLabel">)x",
         }) {
        EXPECT_TRUE(xml.contains(QString::fromLatin1(expected))) << expected;
    }
}

TEST_F(TrayIconTest, BothUsagesAbsentGiveAnEmptyLabelAndTooltip) {
    ASSERT_TRUE(watcher.start());
    TitledTray titled(actions(), credentials, scripted.services());
    TrayIcon& tray = titled.tray;
    AppState& state = titled.state;
    refreshWith(state, std::nullopt, std::nullopt);
    EXPECT_EQ(itemValue(tray, "XAyatanaLabel").toString(), "");
    EXPECT_EQ(toolTip(tray).text, "");
}

TEST_F(TrayIconTest, OnlyCodexAtSevenPercentShowsXSevenPercent) {
    ASSERT_TRUE(watcher.start());
    TitledTray titled(actions(), credentials, scripted.services());
    TrayIcon& tray = titled.tray;
    AppState& state = titled.state;
    refreshWith(state, std::nullopt, usage(Provider::codex, 7));
    EXPECT_EQ(itemValue(tray, "XAyatanaLabel").toString(), " X:7%");
    EXPECT_EQ(toolTip(tray).text, " X:7%");
    EXPECT_EQ(toolTip(tray).title, "Quillon");
}

TEST_F(TrayIconTest, BothProvidersShowClaudeFirst) {
    ASSERT_TRUE(watcher.start());
    TitledTray titled(actions(), credentials, scripted.services());
    TrayIcon& tray = titled.tray;
    AppState& state = titled.state;
    test::SignalRecorder labels;
    test::SignalRecorder changes;
    ASSERT_TRUE(follow(tray, "org.kde.StatusNotifierItem", "XAyatanaNewLabel", labels));
    ASSERT_TRUE(follow(tray, "org.freedesktop.DBus.Properties", "PropertiesChanged", changes));
    refreshWith(state, usage(Provider::claude, 42), usage(Provider::codex, 17));
    EXPECT_EQ(itemValue(tray, "XAyatanaLabel").toString(), " C:42% X:17%");
    EXPECT_EQ(toolTip(tray).text, " C:42% X:17%");
    ASSERT_TRUE(waitUntil([&] { return !labels.messages.empty() && !changes.messages.empty(); }));
    EXPECT_EQ(labels.messages.back().arguments(),
              (QVariantList{QStringLiteral(" C:42% X:17%"), QStringLiteral(" C:100% X:100%")}));
    const auto changed = changes.messages.back().arguments();
    EXPECT_EQ(changed.value(0).toString(), "org.kde.StatusNotifierItem");
    const auto map = qdbus_cast<QVariantMap>(changed.value(1));
    EXPECT_EQ(map.value(QStringLiteral("XAyatanaLabel")).toString(), " C:42% X:17%");
    EXPECT_TRUE(map.contains(QStringLiteral("ToolTip")));
}

TEST_F(TrayIconTest, AChangeOfOnlyTheWeeklyPercentSendsNoUpdate) {
    ASSERT_TRUE(watcher.start());
    TitledTray titled(actions(), credentials, scripted.services());
    TrayIcon& tray = titled.tray;
    AppState& state = titled.state;
    refreshWith(state, usage(Provider::claude, 42, 10), usage(Provider::codex, 17, 20));
    ASSERT_EQ(itemValue(tray, "XAyatanaLabel").toString(), " C:42% X:17%");

    test::SignalRecorder labels;
    test::SignalRecorder toolTips;
    test::SignalRecorder changes;
    ASSERT_TRUE(follow(tray, "org.kde.StatusNotifierItem", "XAyatanaNewLabel", labels));
    ASSERT_TRUE(follow(tray, "org.kde.StatusNotifierItem", "NewToolTip", toolTips));
    ASSERT_TRUE(follow(tray, "org.freedesktop.DBus.Properties", "PropertiesChanged", changes));
    refreshWith(state, usage(Provider::claude, 42, 55), usage(Provider::codex, 17, 66));
    // A change that does reach the bus, to be sure the followers are listening.
    tray.updateMenuBarTitle(usage(Provider::claude, 1), std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return !labels.messages.empty(); }));
    test::spin(100);
    ASSERT_EQ(labels.messages.size(), 1u);
    EXPECT_EQ(labels.messages.front().arguments().value(0).toString(), " C:1%");
    EXPECT_EQ(toolTips.messages.size(), 1u);
    EXPECT_EQ(changes.messages.size(), 1u);
}

TEST_F(TrayIconTest, ThreeChangesWithinTheDebounceGiveOneUpdateWithTheLastValues) {
    ASSERT_TRUE(watcher.start());
    TitledTray titled(actions(), credentials, scripted.services());
    TrayIcon& tray = titled.tray;
    AppState& state = titled.state;
    refreshWith(state, std::nullopt, std::nullopt);
    test::SignalRecorder labels;
    ASSERT_TRUE(follow(tray, "org.kde.StatusNotifierItem", "XAyatanaNewLabel", labels));

    titled.titles.offer(usage(Provider::claude, 10), usage(Provider::codex, 1));
    titled.titles.offer(usage(Provider::claude, 20), usage(Provider::codex, 2));
    titled.titles.offer(usage(Provider::claude, 30), usage(Provider::codex, 3));
    ASSERT_TRUE(waitUntil([&] { return !labels.messages.empty(); }));
    test::spin(TitleSubscription::debounceMs * 3);
    ASSERT_EQ(labels.messages.size(), 1u);
    EXPECT_EQ(labels.messages.front().arguments().value(0).toString(), " C:30% X:3%");
    EXPECT_EQ(itemValue(tray, "XAyatanaLabel").toString(), " C:30% X:3%");
}

TEST_F(TrayIconTest, AWatcherThatAppearsLaterGetsARegistration) {
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    ASSERT_TRUE(watcher.start());
    ASSERT_TRUE(waitUntil([&] { return !watcher.registeredItems().isEmpty(); }));
    EXPECT_EQ(watcher.registeredItems(), QStringList{tray.statusNotifierItem().serviceName()});
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));
    ASSERT_NE(tray.fallbackIcon(), nullptr);
    EXPECT_FALSE(tray.fallbackIcon()->isVisible());
}

TEST_F(TrayIconTest, AWatcherThatGoesAwayBringsTheFallbackBack) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::statusNotifierItem; }));
    watcher.stop();
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    ASSERT_NE(tray.fallbackIcon(), nullptr);
    EXPECT_TRUE(tray.fallbackIcon()->isVisible());
}

TEST_F(TrayIconTest, ActivateOverTheBusTogglesThePanelAtThatPoint) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    auto call = QDBusMessage::createMethodCall(
        tray.statusNotifierItem().serviceName(), QStringLiteral("/StatusNotifierItem"),
        QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
    call << 640 << 12;
    const auto reply = callAndWait(client, call);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    ASSERT_TRUE(waitUntil([&] { return !toggles.empty(); }));
    EXPECT_EQ(toggles, std::vector<QPoint>{QPoint(640, 12)});
    EXPECT_TRUE(shows.empty());
}

TEST_F(TrayIconTest, OtherItemMethodsAnswerAndChangeNothing) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    const auto send = [&](const char* method, QVariantList args) {
        auto call = QDBusMessage::createMethodCall(
            tray.statusNotifierItem().serviceName(), QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QString::fromLatin1(method));
        call.setArguments(args);
        return callAndWait(client, call).type();
    };
    EXPECT_EQ(send("SecondaryActivate", {1, 2}), QDBusMessage::ReplyMessage);
    EXPECT_EQ(send("Scroll", {3, QStringLiteral("vertical")}), QDBusMessage::ReplyMessage);
    EXPECT_EQ(send("ProvideXdgActivationToken", {QStringLiteral("token")}),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(send("Activate", {QStringLiteral("not a number"), 2}), QDBusMessage::ErrorMessage);
    test::spin(50);
    EXPECT_TRUE(toggles.empty());
    EXPECT_EQ(refreshes, 0);
    EXPECT_EQ(quits, 0);
}

TEST_F(TrayIconTest, WithoutAWatcherTheSystemTrayIconIsUsed) {
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    QSystemTrayIcon* icon = tray.fallbackIcon();
    ASSERT_NE(icon, nullptr);
    EXPECT_TRUE(icon->isVisible());
    EXPECT_FALSE(icon->icon().isNull());
    tray.updateMenuBarTitle(usage(Provider::claude, 42), usage(Provider::codex, 17));
    EXPECT_EQ(icon->toolTip(), " C:42% X:17%");
    EXPECT_EQ(tray.title(), " C:42% X:17%");

    ASSERT_NE(icon->contextMenu(), nullptr);
    const auto entries = icon->contextMenu()->actions();
    ASSERT_EQ(entries.size(), 4);
    EXPECT_EQ(entries[0]->text(), "Open Quillon");
    EXPECT_EQ(entries[1]->text(), "Refresh Usage");
    EXPECT_TRUE(entries[2]->isSeparator());
    EXPECT_EQ(entries[3]->text(), "Quit");
    entries[1]->trigger();
    EXPECT_EQ(refreshes, 1);
    entries[0]->trigger();
    EXPECT_EQ(shows.size(), 1u);
    entries[3]->trigger();
    EXPECT_EQ(quits, 1);

    emit icon->activated(QSystemTrayIcon::Trigger);
    EXPECT_EQ(toggles.size(), 1u);
    emit icon->activated(QSystemTrayIcon::Context);
    EXPECT_EQ(toggles.size(), 1u);
}

} // namespace
} // namespace quillon
