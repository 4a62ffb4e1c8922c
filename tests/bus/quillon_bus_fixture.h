#pragma once

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

namespace quillon::test {

// Collects the bus signals it is connected to.
class Recorder : public QObject {
    Q_OBJECT

public:
    std::vector<QDBusMessage> messages;

public slots:
    void record(const QDBusMessage& message) { messages.push_back(message); }
};

inline QString name(const char* text) {
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

} // namespace quillon::test
