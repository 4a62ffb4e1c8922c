#include "app/app_state.h"
#include "app/bus_figures.h"
#include "app/bus_names.h"
#include "app/provider_fetches.h"
#include "bus/quillon_bus.h"
#include "cli/status_client.h"
#include "providers/formatters.h"
#include "support/memory_stores.h"
#include "support/qt_wait.h"
#include "usage_servers.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <atomic>
#include <map>

namespace quillon {
namespace {

// Collects the bus signals it is connected to.
class Recorder : public QObject {
    Q_OBJECT

public:
    std::vector<QDBusMessage> messages;

public slots:
    void record(const QDBusMessage& message) { messages.push_back(message); }
};

QString name(const char* text) {
    return QString::fromLatin1(text);
}

// The state with the real providers fetching from local servers, its interface on this
// process's session bus connection, and a client on a second connection, so that every call
// and signal really crosses the (private) bus.
class QuillonBusTest : public ::testing::Test {
protected:
    QuillonBusTest() {
        services.fetchClaude = claudeFetch(servers.environment());
        services.fetchCodex = codexFetch(servers.environment());
        // Every reading of the clock is a second later: the bus carries whole seconds, and each
        // refresh has a moment of its own.
        services.clock = [this] {
            return std::chrono::system_clock::now() + std::chrono::seconds(ticks.fetch_add(1));
        };
    }

    ~QuillonBusTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("quillon-bus-test-client"));
    }

    void start() {
        state = std::make_unique<AppState>(credentials, services);
        bus = std::make_unique<QuillonBus>(*state, actions);
        ASSERT_TRUE(bus->isPublished());
        waitForRefresh(std::nullopt);
    }

    void waitForRefresh(std::optional<Instant> after) {
        ASSERT_TRUE(test::waitUntil(
            [&] {
                return !state->isRefreshing() && state->lastUpdated() &&
                       state->lastUpdated() != after;
            },
            20000));
        // The interface compares and announces once the state's step has run.
        test::spin(50);
    }

    QDBusMessage call(const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) {
        auto message = QDBusMessage::createMethodCall(
            name(busNames::service), name(busNames::objectPath), interface, method);
        message.setArguments(arguments);
        QDBusPendingCall pending = client.asyncCall(message);
        test::waitUntil([&] { return pending.isFinished(); }, 10000);
        return pending.reply();
    }

    QDBusMessage getAll() {
        return call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"),
                    {name(busNames::interface)});
    }

    QVariantMap properties() {
        const QDBusMessage reply = getAll();
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        return StatusClient::plainValue(reply.arguments().value(0)).toMap();
    }

    // The signature the bus carries for one property, as a client sees it.
    QString signatureOf(const QString& property) {
        const QDBusMessage reply =
            call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                 {name(busNames::interface), property});
        const QVariant value = reply.arguments().value(0).value<QDBusVariant>().variant();
        if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
            return value.value<QDBusArgument>().currentSignature();
        }
        return QString::fromLatin1(QDBusMetaType::typeToSignature(value.metaType()));
    }

    void listen() {
        ASSERT_TRUE(client.connect(name(busNames::service), name(busNames::objectPath),
                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("PropertiesChanged"), &recorder,
                                   SLOT(record(QDBusMessage))));
        // The match rule is in place once a round trip has been made after it.
        getAll();
    }

    // Listens from now on, once whatever the first refresh announced is behind us (a change of
    // our own has come).
    void listenFromNowOn() {
        listen();
        fence(true);
        recorder.messages.clear();
    }

    // Refreshes, waits for the first announcement after it and gives what it carried.
    QVariantMap refreshAndFirstAnnouncement() {
        const auto before = state->lastUpdated();
        state->refreshAll();
        waitForRefresh(before);
        if (!test::waitUntil([&] { return !changes().empty(); }, 20000)) {
            ADD_FAILURE() << "no announcement";
            return {};
        }
        return StatusClient::plainValue(recorder.messages[0].arguments().value(1)).toMap();
    }

    // Turns the 60 % threshold on or off and waits for its announcement. Signals from one
    // sender arrive in the order they were sent, and changes not yet announced go out with it:
    // once it is here, every signal the state's earlier changes caused is here too, however
    // slow the machine.
    void fence(bool thresholdOn) {
        const std::size_t before = recorder.messages.size();
        state->setThreshold(60, thresholdOn);
        ASSERT_TRUE(test::waitUntil(
            [&] {
                return recorder.messages.size() > before &&
                       changes().back().find("AlertThresholds") != std::string::npos;
            },
            20000));
    }

    // The names of the properties each recorded PropertiesChanged named, in order.
    std::vector<std::string> changes() {
        std::vector<std::string> names;
        for (const auto& message : recorder.messages) {
            EXPECT_EQ(message.arguments().value(0).toString(), name(busNames::interface));
            QStringList keys =
                StatusClient::plainValue(message.arguments().value(1)).toMap().keys();
            keys.sort();
            names.push_back(keys.join(',').toStdString());
        }
        return names;
    }

    test::UsageServers servers;
    AppServices services;
    test::MemoryCredentialStore credentials;
    std::unique_ptr<AppState> state;
    std::unique_ptr<QuillonBus> bus;
    int panelsShown = 0;
    BusActions actions{.showPanel = [this] { ++panelsShown; }};
    std::atomic<int> ticks{0};
    QDBusConnection client = QDBusConnection::connectToBus(
        QDBusConnection::SessionBus, QStringLiteral("quillon-bus-test-client"));
    Recorder recorder;
};

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

TEST_F(QuillonBusTest, ShowPanelOpensThePanel) {
    start();
    EXPECT_EQ(call(name(busNames::interface), QStringLiteral("ShowPanel")).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(panelsShown, 1);
}

TEST_F(QuillonBusTest, AShellButtonPlacesTogglesAndHidesThePanelAndReportsPresses) {
    std::vector<std::string> requests;
    const auto note = [&](const char* what, QRect rect) {
        requests.push_back(QStringLiteral("%1 %2,%3 %4x%5")
                               .arg(QLatin1String(what))
                               .arg(rect.x())
                               .arg(rect.y())
                               .arg(rect.width())
                               .arg(rect.height())
                               .toStdString());
    };
    actions.showPanelUnder = [&](QRect rect) { note("show", rect); };
    actions.togglePanelUnder = [&](QRect rect) { note("toggle", rect); };
    actions.hidePanel = [&] { requests.emplace_back("hide"); };
    actions.pressedAt = [&](QPoint at) {
        requests.push_back(QStringLiteral("press %1,%2").arg(at.x()).arg(at.y()).toStdString());
    };
    actions.quit = [&] { requests.emplace_back("quit"); };
    start();
    const QString interface = name(busNames::interface);
    EXPECT_EQ(call(interface, QStringLiteral("ShowPanelAt"), {1000, 0, 90, 32}).type(),
              QDBusMessage::ReplyMessage);
    call(interface, QStringLiteral("TogglePanelAt"), {12, 0, 0, 0});
    call(interface, QStringLiteral("HidePanel"));
    call(interface, QStringLiteral("PressedAt"), {300, 10});
    call(interface, QStringLiteral("Quit"));
    // A rectangle of no size stands for its corner.
    EXPECT_EQ(requests, (std::vector<std::string>{"show 1000,0 90x32", "toggle 12,0 1x1", "hide",
                                                  "press 300,10", "quit"}));
    // Arguments of the wrong types are refused, and nothing is done.
    EXPECT_EQ(call(interface, QStringLiteral("ShowPanelAt"), {QStringLiteral("x"), 0}).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(requests.size(), 5u);
    EXPECT_EQ(panelsShown, 0);
}

TEST_F(QuillonBusTest, WithoutTheApplicationsActionsRequestsDoNothing) {
    actions = BusActions{};
    start();
    const QString interface = name(busNames::interface);
    EXPECT_EQ(call(interface, QStringLiteral("ShowPanel")).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call(interface, QStringLiteral("Quit")).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(properties().value("MenuRows").toStringList(), QStringList());
    EXPECT_EQ(properties().value("PanelVisible").toBool(), false);
}

TEST_F(QuillonBusTest, TheMenuRowsAndThePanelsVisibilityAreAnnouncedWhenTheyChange) {
    bool visible = false;
    actions.panelVisible = [&] { return visible; };
    actions.menuRows = [this] {
        return QStringList{
            QStringLiteral("Claude  %1%")
                .arg(state->claudeUsage() ? state->claudeUsage()->fiveHour.percent : 0)};
    };
    start();
    listen();
    EXPECT_EQ(signatureOf("MenuRows"), "as");
    EXPECT_EQ(signatureOf("PanelVisible"), "b");
    EXPECT_EQ(properties().value("MenuRows").toStringList(), QStringList{"Claude  42%"});
    EXPECT_FALSE(properties().value("PanelVisible").toBool());

    visible = true;
    bus->announce();
    ASSERT_TRUE(test::waitUntil([&] { return changes().size() == 1; }));
    EXPECT_EQ(changes()[0], "PanelVisible");
    // Nothing new: nothing announced.
    bus->announce();
    test::spin(200);
    EXPECT_EQ(changes().size(), 1u);

    servers.setFigures(55, 17);
    const auto first = state->lastUpdated();
    state->refreshAll();
    waitForRefresh(first);
    ASSERT_TRUE(test::waitUntil([&] { return changes().size() == 2; }));
    EXPECT_EQ(changes()[1], "Claude,LastUpdated,MenuRows,Title");
    EXPECT_EQ(properties().value("MenuRows").toStringList(), QStringList{"Claude  55%"});
}

TEST_F(QuillonBusTest, TheNameIsTakenAndGivenBack) {
    start();
    auto* names = client.interface();
    EXPECT_TRUE(names->isServiceRegistered(name(busNames::service)).value());
    bus.reset();
    EXPECT_FALSE(names->isServiceRegistered(name(busNames::service)).value());
}

TEST_F(QuillonBusTest, ASecondInterfaceLeavesTheNameToTheFirst) {
    start();
    const QuillonBus second(*state, BusActions{}, client);
    EXPECT_FALSE(second.isPublished());
    EXPECT_EQ(call(name(busNames::interface), QStringLiteral("ShowPanel")).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(panelsShown, 1);
}

} // namespace
} // namespace quillon

#include "quillon_bus_test.moc"
