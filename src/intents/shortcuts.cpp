#include "intents/shortcuts.h"

namespace quillon {
namespace {

// The action identifier of a desktop entry: letters and digits of the intent's name.
std::string actionId(std::string_view intent) {
    std::string id;
    for (const char c : intent) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            id += c;
        }
    }
    return id;
}

} // namespace

std::span<const AppShortcut> appShortcuts() {
    static const std::vector<AppShortcut> shortcuts{
        {"GetUsageIntent",
         "get-usage",
         "Get Usage",
         {"Check my ${applicationName} usage", "What's my API usage in ${applicationName}",
          "Show my usage in ${applicationName}"},
         "Check Usage",
         "gauge.with.dots.needle.33percent"},
        {"GetClaudeUsageIntent",
         "get-claude-usage",
         "Get Claude Usage",
         {"Check my Claude usage in ${applicationName}",
          "What's my Claude percentage in ${applicationName}",
          "How much Claude have I used in ${applicationName}"},
         "Check Claude",
         "c.circle.fill"},
        {"GetCodexUsageIntent",
         "get-codex-usage",
         "Get Codex Usage",
         {"Check my Codex usage in ${applicationName}",
          "What's my Codex percentage in ${applicationName}",
          "How much Codex have I used in ${applicationName}"},
         "Check Codex",
         "x.circle.fill"},
        {"RefreshUsageIntent",
         "refresh-usage",
         "Refresh Usage",
         {"Refresh my usage in ${applicationName}", "Update my API usage in ${applicationName}"},
         "Refresh Usage",
         "arrow.clockwise"},
    };
    return shortcuts;
}

std::string fillApplicationName(std::string_view phrase, std::string_view name) {
    std::string filled(phrase);
    for (auto at = filled.find(applicationNameToken); at != std::string::npos;
         at = filled.find(applicationNameToken, at + name.size())) {
        filled.replace(at, applicationNameToken.size(), name);
    }
    return filled;
}

std::string shortcutTable() {
    std::string table;
    for (const auto& shortcut : appShortcuts()) {
        if (!table.empty()) {
            table += '\n';
        }
        table += std::string(shortcut.title) + " (quillon " + std::string(shortcut.command) + ")\n";
        table += "  Short title: " + std::string(shortcut.shortTitle) + '\n';
        table += "  Icon: " + std::string(shortcut.systemImageName) + '\n';
        table += "  Phrases:\n";
        for (const auto phrase : shortcut.phrases) {
            table += "    \"" + fillApplicationName(phrase) + "\"\n";
        }
    }
    return table;
}

std::string desktopActions(std::string_view executable) {
    std::string text = "Actions=";
    for (const auto& shortcut : appShortcuts()) {
        text += actionId(shortcut.intent) + ';';
    }
    text += '\n';
    for (const auto& shortcut : appShortcuts()) {
        text += "\n[Desktop Action " + actionId(shortcut.intent) + "]\n";
        text += "Name=" + std::string(shortcut.shortTitle) + '\n';
        text +=
            "Exec=" + std::string(executable) + ' ' + std::string(shortcut.command) + " --notify\n";
        // No Icon key: the symbol names are our own, not names an icon theme knows, and the
        // desktop shows the application's icon for its actions anyway.
    }
    return text;
}

} // namespace quillon
