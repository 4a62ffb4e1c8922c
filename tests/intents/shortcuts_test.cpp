#include "intents/shortcuts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace quillon {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> filledPhrases(const AppShortcut& shortcut) {
    std::vector<std::string> phrases;
    for (const auto phrase : shortcut.phrases) {
        phrases.push_back(fillApplicationName(phrase));
    }
    return phrases;
}

TEST(ShortcutsTest, FourIntentsInOrder) {
    const auto shortcuts = appShortcuts();
    ASSERT_EQ(shortcuts.size(), 4U);
    EXPECT_EQ(shortcuts[0].intent, "GetUsageIntent");
    EXPECT_EQ(shortcuts[1].intent, "GetClaudeUsageIntent");
    EXPECT_EQ(shortcuts[2].intent, "GetCodexUsageIntent");
    EXPECT_EQ(shortcuts[3].intent, "RefreshUsageIntent");
}

TEST(ShortcutsTest, TitlesCommandsShortTitlesAndSymbols) {
    const auto s = appShortcuts();
    EXPECT_EQ(s[0].title, "Get Usage");
    EXPECT_EQ(s[1].title, "Get Claude Usage");
    EXPECT_EQ(s[2].title, "Get Codex Usage");
    EXPECT_EQ(s[3].title, "Refresh Usage");
    EXPECT_EQ(s[0].command, "get-usage");
    EXPECT_EQ(s[1].command, "get-claude-usage");
    EXPECT_EQ(s[2].command, "get-codex-usage");
    EXPECT_EQ(s[3].command, "refresh-usage");
    EXPECT_EQ(s[0].shortTitle, "Check Usage");
    EXPECT_EQ(s[1].shortTitle, "Check Claude");
    EXPECT_EQ(s[2].shortTitle, "Check Codex");
    EXPECT_EQ(s[3].shortTitle, "Refresh Usage");
    EXPECT_EQ(s[0].systemImageName, "gauge.with.dots.needle.33percent");
    EXPECT_EQ(s[1].systemImageName, "c.circle.fill");
    EXPECT_EQ(s[2].systemImageName, "x.circle.fill");
    EXPECT_EQ(s[3].systemImageName, "arrow.clockwise");
}

TEST(ShortcutsTest, PhrasesWithTheApplicationNameFilledIn) {
    const auto s = appShortcuts();
    EXPECT_THAT(filledPhrases(s[0]),
                ElementsAre("Check my Quillon usage", "What's my API usage in Quillon",
                            "Show my usage in Quillon"));
    EXPECT_THAT(filledPhrases(s[1]), ElementsAre("Check my Claude usage in Quillon",
                                                 "What's my Claude percentage in Quillon",
                                                 "How much Claude have I used in Quillon"));
    EXPECT_THAT(filledPhrases(s[2]), ElementsAre("Check my Codex usage in Quillon",
                                                 "What's my Codex percentage in Quillon",
                                                 "How much Codex have I used in Quillon"));
    EXPECT_THAT(filledPhrases(s[3]),
                ElementsAre("Refresh my usage in Quillon", "Update my API usage in Quillon"));
}

TEST(ShortcutsTest, EveryPhraseNamesTheApplicationExactlyOnce) {
    for (const auto& shortcut : appShortcuts()) {
        for (const auto phrase : shortcut.phrases) {
            const auto first = phrase.find(applicationNameToken);
            ASSERT_NE(first, std::string_view::npos) << phrase;
            EXPECT_EQ(phrase.find(applicationNameToken, first + 1), std::string_view::npos)
                << phrase;
        }
    }
}

TEST(ShortcutsTest, FillingReplacesEveryTokenAndLeavesOtherTextAlone) {
    EXPECT_EQ(fillApplicationName("${applicationName} and ${applicationName}", "X"), "X and X");
    EXPECT_EQ(fillApplicationName("no token", "X"), "no token");
    EXPECT_EQ(fillApplicationName("${applicationName}", "${applicationName}"),
              "${applicationName}");
}

TEST(ShortcutsTest, TableListsEveryIntentWithItsPhrases) {
    const std::string table = shortcutTable();
    EXPECT_THAT(table, ::testing::StartsWith("Get Usage (quillon get-usage)\n"
                                             "  Short title: Check Usage\n"
                                             "  Icon: gauge.with.dots.needle.33percent\n"
                                             "  Phrases:\n"
                                             "    \"Check my Quillon usage\"\n"));
    EXPECT_THAT(table, ::testing::EndsWith("Refresh Usage (quillon refresh-usage)\n"
                                           "  Short title: Refresh Usage\n"
                                           "  Icon: arrow.clockwise\n"
                                           "  Phrases:\n"
                                           "    \"Refresh my usage in Quillon\"\n"
                                           "    \"Update my API usage in Quillon\"\n"));
    EXPECT_EQ(table.find("${"), std::string::npos);
}

TEST(ShortcutsTest, DesktopActionsRunEachCommandWithNotifyWithoutThemeIcons) {
    EXPECT_EQ(
        desktopActions("/usr/bin/quillon"),
        "Actions=GetUsageIntent;GetClaudeUsageIntent;GetCodexUsageIntent;RefreshUsageIntent;\n"
        "\n[Desktop Action GetUsageIntent]\nName=Check Usage\n"
        "Exec=/usr/bin/quillon get-usage --notify\n"
        "\n[Desktop Action GetClaudeUsageIntent]\nName=Check Claude\n"
        "Exec=/usr/bin/quillon get-claude-usage --notify\n"
        "\n[Desktop Action GetCodexUsageIntent]\nName=Check Codex\n"
        "Exec=/usr/bin/quillon get-codex-usage --notify\n"
        "\n[Desktop Action RefreshUsageIntent]\nName=Refresh Usage\n"
        "Exec=/usr/bin/quillon refresh-usage --notify\n");
}

} // namespace
} // namespace quillon
