#include "tray/tray_icon_fixture.h"

namespace quillon {
namespace {

using test::callAndWait;
using test::TrayIconTest;
using test::usage;
using test::waitUntil;

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
    // Idle: the symbolic gauge by name, found through the item's own theme folder.
    EXPECT_EQ(itemValue(tray, "IconName").toString(), "quillon-symbolic");
    EXPECT_EQ(toolTip(tray).iconName, "quillon-symbolic");
    const QDir folder(itemValue(tray, "IconThemePath").toString());
    for (const char* file :
         {"hicolor/scalable/apps/quillon-symbolic.svg", "quillon-symbolic.svg"}) {
        QFile svg(folder.filePath(QString::fromLatin1(file)));
        ASSERT_TRUE(svg.open(QIODevice::ReadOnly)) << file;
        EXPECT_TRUE(svg.readAll().contains("ColorScheme-Text")) << file;
    }

    EXPECT_EQ(itemValue(tray, "IconPixmap").value<QDBusArgument>().currentSignature(), "a(iiay)");
    EXPECT_EQ(itemValue(tray, "AttentionIconPixmap").value<QDBusArgument>().currentSignature(),
              "a(iiay)");
    EXPECT_EQ(itemValue(tray, "ToolTip").value<QDBusArgument>().currentSignature(), "(sa(iiay)ss)");
    EXPECT_EQ(toolTip(tray).title, "Quillon");
}

TEST_F(TrayIconTest, IdlePixmapsAreTheGreyGaugeInTheBarSizes) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    SniIconPixmaps pixmaps;
    itemValue(tray, "IconPixmap").value<QDBusArgument>() >> pixmaps;
    QList<int> sides;
    for (const auto& pixmap : pixmaps) {
        EXPECT_EQ(pixmap.bytes.size(), pixmap.width * pixmap.height * 4);
        sides.append(pixmap.width);
    }
    EXPECT_EQ(sides, (QList<int>{16, 22, 24, 32, 48}));
    const auto& big = pixmaps.back();
    const auto pixel = [&](int x, int y) { return big.bytes.mid((qsizetype{y} * 48 + x) * 4, 4); };
    // A, R, G, B: the hub in the middle, a transparent corner.
    EXPECT_EQ(pixel(24, 24), QByteArray::fromHex("ffbebebe"));
    EXPECT_EQ(uchar(pixel(0, 0).at(0)), 0);
}

TEST_F(TrayIconTest, FiguresReplaceTheIdleIconAndGoBackWhenBothAreAbsent) {
    ASSERT_TRUE(watcher.start());
    TrayIcon tray(actions());
    test::SignalRecorder icons;
    ASSERT_TRUE(follow(tray, "org.kde.StatusNotifierItem", "NewIcon", icons));
    tray.updateMenuBarTitle(usage(Provider::claude, 42), usage(Provider::codex, 17));
    ASSERT_TRUE(waitUntil([&] { return icons.messages.size() == 1; }));
    // The same picture by name, in the icon theme path, for hosts that draw named icons only.
    EXPECT_EQ(itemValue(tray, "IconName").toString(), "quillon_figures_42_17");
    const QString themePath = itemValue(tray, "IconThemePath").toString();
    EXPECT_EQ(QImage(themePath + "/hicolor/16x16/apps/quillon_figures_42_17.png")
                  .convertToFormat(QImage::Format_ARGB32),
              trayFiguresImage(TrayFigures{42, 17}, 16).convertToFormat(QImage::Format_ARGB32));
    SniIconPixmaps pixmaps;
    itemValue(tray, "IconPixmap").value<QDBusArgument>() >> pixmaps;
    ASSERT_FALSE(pixmaps.isEmpty());
    ASSERT_EQ(pixmaps.front().width, 16);
    EXPECT_EQ(toSniIconPixmap(trayFiguresImage(TrayFigures{42, 17}, 16)).bytes,
              pixmaps.front().bytes);

    tray.updateMenuBarTitle(std::nullopt, std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return icons.messages.size() == 2; }));
    EXPECT_EQ(itemValue(tray, "IconName").toString(), "quillon-symbolic");
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
    // The label keeps its leading blank; the tooltip has no icon beside its text to keep apart.
    EXPECT_EQ(toolTip(tray).text, "X:7%");
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
    EXPECT_EQ(toolTip(tray).text, "C:42% X:17%");
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
    // Not counting the full announcements that follow a registration.
    const auto announcements = std::count_if(
        changes.messages.begin(), changes.messages.end(), [](const QDBusMessage& message) {
            return qdbus_cast<QVariantMap>(message.arguments().value(1))
                .contains(QStringLiteral("Id"));
        });
    EXPECT_EQ(changes.messages.size() - static_cast<std::size_t>(announcements), 1u);
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

TEST_F(TrayIconTest, WithoutAWatcherTheSystemTrayIconIsUsed) {
    TrayIcon tray(actions());
    ASSERT_TRUE(waitUntil([&] { return tray.mode() == TrayIcon::Mode::fallback; }));
    QSystemTrayIcon* icon = tray.fallbackIcon();
    ASSERT_NE(icon, nullptr);
    EXPECT_TRUE(icon->isVisible());
    EXPECT_FALSE(icon->icon().isNull());
    const qint64 idleKey = icon->icon().cacheKey();
    tray.updateMenuBarTitle(usage(Provider::claude, 42), usage(Provider::codex, 17));
    EXPECT_EQ(icon->toolTip(), "C:42% X:17%");
    EXPECT_EQ(tray.title(), " C:42% X:17%");
    EXPECT_NE(icon->icon().cacheKey(), idleKey);
    EXPECT_EQ(icon->icon().pixmap(22, 22).toImage().convertToFormat(QImage::Format_ARGB32),
              trayFiguresImage(TrayFigures{42, 17}, 22).convertToFormat(QImage::Format_ARGB32));

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
