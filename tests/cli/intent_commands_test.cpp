#include "app/settings_file.h"
#include "intents/shared_usage_data.h"
#include "providers/window_labels.h"
#include "support/fake_notification_server.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"

#include <QFile>
#include <QImage>
#include <QProcess>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the real binary with a settings folder of its own, a PATH of the test's choosing and no
// display, spinning the event loop meanwhile so that a service on this thread can answer it.
class IntentCommandsTest : public ::testing::Test {
protected:
    Outcome run(const QStringList& args) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", QString::fromStdString(config.path().string()));
        env.insert("XDG_DATA_HOME", QString::fromStdString(config.path().string()));
        env.insert("PATH", path);
        env.remove("DISPLAY");
        env.remove("WAYLAND_DISPLAY");
        env.remove("QT_QPA_PLATFORM");
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(QUILLON_BINARY), args);
        EXPECT_TRUE(process.waitForStarted());
        EXPECT_TRUE(
            test::waitUntil([&] { return process.state() == QProcess::NotRunning; }, 20000));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    SettingsFile settingsFile() const {
        return SettingsFile(
            QString::fromStdString((config.path() / "quillon/quillon.conf").string()));
    }

    void save(const SharedUsageData& data) {
        auto file = settingsFile();
        data.save(file);
    }

    void store(const std::string& json) {
        auto file = settingsFile();
        file.writeBytes("sharedUsageData", json);
    }

    static SharedUsageData snapshot(std::optional<std::int64_t> claude,
                                    std::optional<std::int64_t> codex) {
        SharedUsageData data;
        data.claudePercent = claude;
        data.codexPercent = codex;
        // The reset texts a refresh saves: the providers' own five-hour countdowns.
        using namespace std::chrono;
        const Instant now = system_clock::now();
        if (claude) {
            data.claudeResetTime = countdownLabel(now + hours(2) + minutes(5) + seconds(30), now);
        }
        if (codex) {
            data.codexResetTime = countdownLabel(now + minutes(12) + seconds(30), now);
        }
        data.lastUpdated = now - seconds(200);
        return data;
    }

    test::TempDir config;
    test::TempDir bin;
    QString path = QString::fromStdString(bin.path().string());
};

TEST_F(IntentCommandsTest, GetUsageWithoutSnapshotSaysNoData) {
    const Outcome result = run({"get-usage"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "No usage data available. Please open Quillon to sync your data.\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(IntentCommandsTest, GetUsageReadsTheSnapshotTheAppSaved) {
    save(snapshot(42, 17));
    const Outcome result = run({"get-usage"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Claude is at 42 percent and Codex is at 17 percent\n");
}

TEST_F(IntentCommandsTest, GetClaudeUsageWithResetTextAndWarning) {
    save(snapshot(92, 17));
    EXPECT_EQ(run({"get-claude-usage"}).out,
              "Your Claude usage is at 92 percent. Resets in 2h 05m. Warning: You're approaching "
              "your limit!\n");
}

TEST_F(IntentCommandsTest, GetCodexUsageWithoutCodexSaysNotConnected) {
    save(snapshot(42, std::nullopt));
    const Outcome result = run({"get-codex-usage"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Codex is not connected. Please check your settings.\n");
}

TEST_F(IntentCommandsTest, SnapshotWithOnlyCodexSaysCodexIsAt) {
    save(snapshot(std::nullopt, 17));
    EXPECT_EQ(run({"get-usage"}).out, "Codex is at 17 percent\n");
}

TEST_F(IntentCommandsTest, HandWrittenValueWithUnknownKeysAndNullsIsRead) {
    store(
        R"({"claudePercent":89,"codexPercent":null,"futureField":{"x":1},"lastUpdated":784000000.5,)"
        R"("claudeResetTime":"Resets in 5m","codexResetTime":null})");
    EXPECT_EQ(run({"get-claude-usage"}).out,
              "Your Claude usage is at 89 percent. Resets in 5m. You're getting close to your "
              "limit.\n");
    EXPECT_EQ(run({"get-usage"}).out, "Claude is at 89 percent\n");
}

TEST_F(IntentCommandsTest, HandWrittenValueWithoutLastUpdatedReadsAsNoDataAndStays) {
    const std::string stored = R"({"claudePercent":42,"codexPercent":17})";
    store(stored);
    EXPECT_EQ(run({"get-usage"}).out,
              "No usage data available. Please open Quillon to sync your data.\n");
    EXPECT_EQ(run({"get-claude-usage"}).out,
              "Claude is not connected. Please check your settings.\n");
    EXPECT_EQ(settingsFile().readBytes("sharedUsageData"), stored);
}

TEST_F(IntentCommandsTest, HandWrittenPercentAsTextReadsAsNoData) {
    store(R"({"claudePercent":"42","lastUpdated":1})");
    EXPECT_EQ(run({"get-usage"}).out,
              "No usage data available. Please open Quillon to sync your data.\n");
}

TEST_F(IntentCommandsTest, RefreshUsageReplies) {
    const Outcome result = run({"refresh-usage"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Refreshing your usage data...\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(IntentCommandsTest, UnknownSubcommandPrintsUsageOnStderrAndExitsTwo) {
    const Outcome result = run({"get-usgae"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("quillon: unknown command 'get-usgae'\n\nUsage: quillon"));
    EXPECT_THAT(result.err, HasSubstr("get-usage [--card FILE.png] [--notify] [--speak]"));
}

TEST_F(IntentCommandsTest, UnknownOptionIsAUsageError) {
    const Outcome result = run({"get-claude-usage", "--card", "x.png"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Usage: quillon get-claude-usage [--notify] [--speak]\n");
}

TEST_F(IntentCommandsTest, HelpListsEveryIntent) {
    const Outcome result = run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* command :
         {"get-usage [--card FILE.png] [--notify] [--speak]",
          "get-claude-usage [--notify] [--speak]", "get-codex-usage [--notify] [--speak]",
          "refresh-usage [--notify] [--speak]", "shortcuts [--desktop-actions]"}) {
        EXPECT_THAT(result.out, HasSubstr(command));
    }
}

TEST_F(IntentCommandsTest, VersionPrintsTheVersion) {
    const Outcome result = run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "quillon " QUILLON_VERSION "\n");
}

TEST_F(IntentCommandsTest, ShortcutsPrintsTheTable) {
    const Outcome result = run({"shortcuts"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out,
                StartsWith("Get Usage (quillon get-usage)\n  Short title: Check Usage\n"));
    EXPECT_THAT(result.out, HasSubstr("    \"How much Codex have I used in Quillon\"\n"));
}

TEST_F(IntentCommandsTest, ShortcutsPrintsDesktopActions) {
    const Outcome result = run({"shortcuts", "--desktop-actions"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, StartsWith("Actions=GetUsageIntent;GetClaudeUsageIntent;"));
    EXPECT_THAT(result.out, HasSubstr("[Desktop Action GetCodexUsageIntent]\nName=Check Codex\n"
                                      "Exec=quillon get-codex-usage --notify\n"));
}

TEST_F(IntentCommandsTest, NotifyShowsTheReplyAsADesktopNotification) {
    test::FakeNotificationServer server;
    ASSERT_TRUE(server.start());
    save(snapshot(42, 17));
    const Outcome result = run({"get-usage", "--notify"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Claude is at 42 percent and Codex is at 17 percent\n");
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(server.calls.size(), 1U);
    const auto& call = server.calls.front();
    EXPECT_EQ(call.appName, "Quillon");
    EXPECT_EQ(call.replacesId, 0U);
    EXPECT_EQ(call.summary, "Quillon");
    EXPECT_EQ(call.body, "Claude is at 42 percent and Codex is at 17 percent");
    EXPECT_TRUE(call.actions.isEmpty());
    EXPECT_EQ(call.hints.value("sound-name").toString(), "message-new-instant");
    EXPECT_EQ(call.expireTimeout, -1);
}

TEST_F(IntentCommandsTest, NotifyWithoutAServiceStillAnswers) {
    const Outcome result = run({"refresh-usage", "--notify"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Refreshing your usage data...\n");
    EXPECT_EQ(result.err, "quillon: no desktop notification service answered\n");
}

TEST_F(IntentCommandsTest, SpeakWithoutSpeechDispatcherSaysSoOnStderr) {
    save(snapshot(42, std::nullopt));
    const Outcome result = run({"get-claude-usage", "--speak"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Your Claude usage is at 42 percent. Resets in 2h 05m\n");
    EXPECT_EQ(result.err,
              "quillon: cannot speak the reply: spd-say (speech-dispatcher) is not installed\n");
}

TEST_F(IntentCommandsTest, SpeakHandsTheReplyToSpdSay) {
    // A stand-in for speech-dispatcher's client that records how it was called.
    const auto record = bin.path() / "spoken.txt";
    const auto speaker =
        bin.write("spd-say", "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + record.string() + "'\n");
    QFile::setPermissions(QString::fromStdString(speaker.string()),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    path += ":/usr/bin:/bin";
    const Outcome result = run({"refresh-usage", "--speak"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    QFile spoken(QString::fromStdString(record.string()));
    ASSERT_TRUE(spoken.open(QIODevice::ReadOnly));
    EXPECT_EQ(spoken.readAll().toStdString(), "-w\nRefreshing your usage data...\n");
}

TEST_F(IntentCommandsTest, CardIsDrawnWithoutADisplay) {
    save(snapshot(95, 17));
    const auto png = config.path() / "card.png";
    const Outcome result = run({"get-usage", "--card", QString::fromStdString(png.string())});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Claude is at 95 percent and Codex is at 17 percent\n");
    EXPECT_EQ(result.err, "");
    const QImage card(QString::fromStdString(png.string()));
    ASSERT_FALSE(card.isNull());
    EXPECT_GE(card.width(), 2 * 100 + 20 + 2 * 16);
    EXPECT_LT(card.width(), 400);
    EXPECT_GE(card.height(), 150);
    EXPECT_LT(card.height(), 300);
    // Claude's ring is red, Codex's green, each somewhere on the card.
    int red = 0;
    int green = 0;
    for (int y = 0; y < card.height(); ++y) {
        for (int x = 0; x < card.width(); ++x) {
            const QColor c = card.pixelColor(x, y);
            red += (c.red() > 200 && c.green() < 90 && c.blue() < 90) ? 1 : 0;
            green += (c.green() > 150 && c.red() < 90 && c.blue() < 120) ? 1 : 0;
        }
    }
    EXPECT_GT(red, 500);
    EXPECT_GT(green, 50);
}

TEST_F(IntentCommandsTest, NoDataCardIsDrawnWithoutASnapshot) {
    const auto png = config.path() / "none.png";
    const Outcome result = run({"get-usage", "--card", QString::fromStdString(png.string())});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_FALSE(QImage(QString::fromStdString(png.string())).isNull());
}

TEST_F(IntentCommandsTest, UnwritableCardFailsAfterTheReply) {
    const Outcome result = run({"get-usage", "--card", "/nonexistent/folder/card.png"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "No usage data available. Please open Quillon to sync your data.\n");
    EXPECT_EQ(result.err, "quillon: cannot write the card to /nonexistent/folder/card.png\n");
}

} // namespace
} // namespace quillon
