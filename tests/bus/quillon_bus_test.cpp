#include "quillon_bus_fixture.h"

namespace quillon {
namespace {

using test::name;
using test::QuillonBusTest;
using test::Recorder;

TEST_F(QuillonBusTest, IntrospectionDescribesTheInterface) {
    start();
    const QDBusMessage reply =
        call(QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"));
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    QXmlStreamReader xml(reply.arguments().value(0).toString());
    bool inInterface = false;
    std::map<QString, QString> properties;
    QStringList methods;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("interface")) {
            inInterface = xml.attributes().value(QLatin1String("name")) ==
                          QLatin1String("org.quillon.Quillon1");
        } else if (inInterface && xml.isStartElement() && xml.name() == QLatin1String("property")) {
            EXPECT_EQ(xml.attributes().value(QLatin1String("access")), QLatin1String("read"));
            properties[xml.attributes().value(QLatin1String("name")).toString()] =
                xml.attributes().value(QLatin1String("type")).toString();
        } else if (inInterface && xml.isStartElement() && xml.name() == QLatin1String("method")) {
            methods.append(xml.attributes().value(QLatin1String("name")).toString());
        } else if (xml.isEndElement() && xml.name() == QLatin1String("interface")) {
            inInterface = false;
        }
    }
    ASSERT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    const std::map<QString, QString> expected{
        {"Title", "s"},        {"LastUpdated", "x"},      {"Claude", "a{sv}"},
        {"Codex", "a{sv}"},    {"AlertThresholds", "ax"}, {"MenuRows", "as"},
        {"PanelVisible", "b"},
    };
    EXPECT_EQ(properties, expected);
    EXPECT_EQ(methods, (QStringList{"Refresh", "RefreshAndWait", "ShowPanel", "ShowPanelAt",
                                    "TogglePanelAt", "HidePanel", "PressedAt", "Quit"}));
}

TEST_F(QuillonBusTest, PropertiesCarryTheFiguresAsTypedValues) {
    start();
    EXPECT_EQ(signatureOf("Title"), "s");
    EXPECT_EQ(signatureOf("LastUpdated"), "x");
    EXPECT_EQ(signatureOf("Claude"), "a{sv}");
    EXPECT_EQ(signatureOf("Codex"), "a{sv}");
    EXPECT_EQ(signatureOf("AlertThresholds"), "ax");

    const QVariantMap all = properties();
    EXPECT_EQ(all.value("Title").toString(), " C:42% X:17%");
    EXPECT_EQ(all.value("LastUpdated").toLongLong(), instantToBus(state->lastUpdated()));
    EXPECT_EQ(all.value("AlertThresholds").value<QList<qlonglong>>(),
              (QList<qlonglong>{50, 75, 90}));

    const QVariantMap claude = all.value("Claude").toMap();
    EXPECT_EQ(claude.value("Connected").metaType(), QMetaType::fromType<bool>());
    EXPECT_EQ(claude.value("Plan").toString(), "max");
    const QVariantMap fiveHour = claude.value("FiveHour").toMap();
    EXPECT_EQ(fiveHour.value("Percent").metaType(), QMetaType::fromType<qlonglong>());
    EXPECT_EQ(fiveHour.value("Percent").toLongLong(), 42);
    EXPECT_EQ(fiveHour.value("ResetsAt").metaType(), QMetaType::fromType<qlonglong>());
    EXPECT_EQ(fiveHour.value("ResetsAt").toLongLong(),
              instantToBus(state->claudeUsage()->fiveHour.resetsAt));
    EXPECT_EQ(fiveHour.value("ResetLabel").toString().toStdString(),
              state->claudeUsage()->fiveHour.resetLabel);
    EXPECT_FALSE(claude.value("Weekly").toMap().contains("ResetsAt"));
    EXPECT_EQ(claude.value("Today").toMap().value("Messages").toLongLong(), 3);

    // Everything the state holds comes back from the bus, reset instants to the second.
    auto expectedClaude = *state->claudeUsage();
    expectedClaude.fiveHour.resetsAt =
        instantFromBus(instantToBus(expectedClaude.fiveHour.resetsAt));
    EXPECT_EQ(usageFromBus(Provider::claude, claude), expectedClaude);
    auto expectedCodex = *state->codexUsage();
    expectedCodex.fiveHour.resetsAt = instantFromBus(instantToBus(expectedCodex.fiveHour.resetsAt));
    EXPECT_EQ(usageFromBus(Provider::codex, all.value("Codex").toMap()), expectedCodex);
}

TEST_F(QuillonBusTest, WindowsTheServicesAddAreCarriedByTheirKeys) {
    servers.addWindows();
    start();
    const QVariantMap all = properties();
    const QVariantMap claude = all.value("Claude").toMap();
    const QVariantMap opus = claude.value("Extra").toMap().value("seven_day_opus_max").toMap();
    EXPECT_EQ(opus.value("Percent").metaType(), QMetaType::fromType<qlonglong>());
    EXPECT_EQ(opus.value("Percent").toLongLong(), 12);
    const Instant opusResets = servers.started + std::chrono::hours(50);
    EXPECT_EQ(opus.value("ResetsAt").toLongLong(), instantToBus(opusResets));
    EXPECT_EQ(opus.value("ResetLabel").toString().toStdString(),
              Formatters::displayDate(*instantFromBus(instantToBus(opusResets))));
    // The state's windows come back from the bus, reset instants to the second.
    ExtraWindows expectedExtra = state->claudeExtraWindows();
    for (auto& extra : expectedExtra) {
        extra.window.resetsAt = instantFromBus(instantToBus(extra.window.resetsAt));
    }
    EXPECT_EQ(extraWindowsFromBus(claude), expectedExtra);
    const QVariantMap codexExtra = all.value("Codex").toMap().value("Extra").toMap();
    EXPECT_EQ(codexExtra.keys(), QStringList{"rate_limit.tertiary_window"});
    EXPECT_EQ(codexExtra.value("rate_limit.tertiary_window"),
              (QVariantMap{{"Percent", qlonglong{4}}, {"ResetLabel", QString()}}));

    // The named figures, the title and the records are what they are without the added windows.
    EXPECT_EQ(all.value("Title").toString(), " C:42% X:17%");
    EXPECT_EQ(state->claudeUsage()->sonnet, std::nullopt);
    EXPECT_EQ(state->claudeUsage()->weekly, (UsageWindow{7, std::nullopt, ""}));
    auto expectedClaude = *state->claudeUsage();
    expectedClaude.fiveHour.resetsAt =
        instantFromBus(instantToBus(expectedClaude.fiveHour.resetsAt));
    EXPECT_EQ(usageFromBus(Provider::claude, claude), expectedClaude);
}

TEST_F(QuillonBusTest, AWindowAddedLaterIsAnnounced) {
    start();
    EXPECT_FALSE(properties().value("Claude").toMap().contains("Extra"));
    listenFromNowOn();
    servers.addWindows();
    const QVariantMap announced = refreshAndFirstAnnouncement();
    ASSERT_FALSE(changes().empty());
    EXPECT_EQ(changes()[0], "Claude,Codex,LastUpdated");
    EXPECT_TRUE(
        announced.value("Claude").toMap().value("Extra").toMap().contains("seven_day_opus_max"));
}

TEST_F(QuillonBusTest, AProviderWithoutFiguresIsNotConnected) {
    services.fetchCodex = nullptr;
    start();
    const QVariantMap codex = properties().value("Codex").toMap();
    EXPECT_EQ(codex, (QVariantMap{{"Connected", false}}));
    EXPECT_EQ(properties().value("Title").toString(), " C:42%");
}

TEST_F(QuillonBusTest, PropertiesChangedOnEveryChangeAndNotOtherwise) {
    start();
    listenFromNowOn();

    // New figures for Claude only: one signal naming what changed with them.
    servers.setFigures(55, 17);
    const QVariantMap announced = refreshAndFirstAnnouncement();
    ASSERT_FALSE(changes().empty());
    EXPECT_EQ(changes()[0], "Claude,LastUpdated,Title");
    EXPECT_EQ(announced.value("Title").toString(), " C:55% X:17%");
    EXPECT_EQ(announced.value("Claude").toMap().value("FiveHour").toMap().value("Percent"), 55);

    // State that the interface does not carry, or a write of the same value: no signal. The
    // interface compares in the next pass of the event loop (a zero-delay timer); the threshold
    // written after that is announced after anything these writes would have caused, so a next
    // signal that names the thresholds alone shows there was nothing.
    state->setQuietHours(true, 1, 2);
    state->setRefreshInterval(60);
    state->setNotificationsEnabled(true);
    QCoreApplication::processEvents();
    fence(false);
    ASSERT_EQ(changes().size(), 2u);
    EXPECT_EQ(changes()[1], "AlertThresholds");

    // Figures that came back the same: only the time of the update moved.
    const auto second = state->lastUpdated();
    state->refreshAll();
    waitForRefresh(second);
    ASSERT_TRUE(test::waitUntil([&] { return changes().size() >= 3; }, 20000));
    EXPECT_EQ(changes()[2], "LastUpdated");
    fence(true);
    ASSERT_EQ(changes().size(), 4u);
    EXPECT_EQ(changes()[3], "AlertThresholds");
}

TEST_F(QuillonBusTest, RefreshStartsARefreshAsTheButtonDoes) {
    start();
    const auto requests = servers.claudeApi.requestCount();
    const auto before = state->lastUpdated();
    servers.setFigures(64, 20);
    const QDBusMessage reply = call(name(busNames::interface), QStringLiteral("Refresh"));
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    waitForRefresh(before);
    EXPECT_EQ(servers.claudeApi.requestCount(), requests + 1);
    EXPECT_EQ(properties().value("Title").toString(), " C:64% X:20%");
}

} // namespace
} // namespace quillon
