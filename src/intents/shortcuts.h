#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// One intent as offered to the desktop: the subcommand that performs it, its title, the phrases
// that ask for it (with "${applicationName}" standing for the program's name), the short title of
// its shortcut and the name of its symbol.
struct AppShortcut {
    std::string_view intent;
    std::string_view command;
    std::string_view title;
    std::vector<std::string_view> phrases;
    std::string_view shortTitle;
    std::string_view systemImageName;
};

inline constexpr std::string_view applicationNameToken = "${applicationName}";
inline constexpr std::string_view applicationName = "Quillon";

// The four intents, in the order they are offered. The one source of the shortcut list and of
// the desktop entry's actions.
std::span<const AppShortcut> appShortcuts();

// `phrase` with the application-name token replaced by `name`.
std::string fillApplicationName(std::string_view phrase, std::string_view name = applicationName);

// The shortcut table for people: per intent its command, title, short title, symbol and
// phrases, the application name filled in.
std::string shortcutTable();

// The desktop entry's "Actions=" line and one "[Desktop Action ...]" group per intent, running
// `<executable> <command> --notify`.
std::string desktopActions(std::string_view executable = "quillon");

} // namespace quillon
