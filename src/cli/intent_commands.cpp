#include "cli/intent_commands.h"

#include "alerts/notification_center.h"
#include "alerts/threshold_alerts.h"
#include "app/settings_file.h"
#include "cli/command_application.h"
#include "intents/intent_replies.h"
#include "intents/shortcuts.h"

#include <QProcess>
#include <QStandardPaths>

#include <functional>
#include <memory>
#include <ostream>

namespace quillon {
namespace {

struct IntentOptions {
    std::optional<std::string> cardPath;
    bool notify = false;
    bool speak = false;
};

std::optional<IntentOptions> parseOptions(std::span<const std::string> args, bool allowCard) {
    IntentOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--notify") {
            options.notify = true;
        } else if (args[i] == "--speak") {
            options.speak = true;
        } else if (allowCard && args[i] == "--card" && i + 1 < args.size()) {
            options.cardPath = args[++i];
        } else {
            return std::nullopt;
        }
    }
    return options;
}

void speak(const std::string& reply, std::ostream& err) {
    const QString speaker = QStandardPaths::findExecutable(QStringLiteral("spd-say"));
    if (speaker.isEmpty()) {
        err << "quillon: cannot speak the reply: spd-say (speech-dispatcher) is not installed\n";
        return;
    }
    const int status =
        QProcess::execute(speaker, {QStringLiteral("-w"), QString::fromStdString(reply)});
    if (status != 0) {
        err << "quillon: spd-say could not speak the reply\n";
    }
}

// Prints the reply, then carries out the extras. The reply stands whatever the extras do; only
// a card that cannot be written makes the command fail.
int answer(const std::string& reply, const IntentOptions& options,
           const std::optional<SharedUsageData>& snapshot, CommandStreams streams,
           const CommandExtras& extras) {
    streams.out << reply << '\n';
    streams.out.flush();
    const auto app = options.cardPath || options.notify
                         ? makeCommandApplication(options.cardPath.has_value())
                         : nullptr;
    int status = 0;
    if (options.cardPath) {
        if (!extras.saveCard(snapshot, *options.cardPath)) {
            streams.err << "quillon: cannot write the card to " << *options.cardPath << '\n';
            status = 1;
        }
    }
    if (options.notify) {
        if (!extras.notify(std::string(alertTitle), reply)) {
            streams.err << "quillon: no desktop notification service answered\n";
        }
    }
    if (options.speak) {
        speak(reply, streams.err);
    }
    return status;
}

int usageError(std::string_view command, bool allowCard, std::ostream& err) {
    err << "Usage: quillon " << command << (allowCard ? " [--card FILE.png]" : "")
        << " [--notify] [--speak]\n";
    return 2;
}

using Reply = std::function<std::string(const std::optional<SharedUsageData>&)>;

int runReader(std::string_view command, const Reply& reply, bool allowCard,
              std::span<const std::string> args, CommandStreams streams,
              const CommandExtras& extras) {
    const auto options = parseOptions(args, allowCard);
    if (!options) {
        return usageError(command, allowCard, streams.err);
    }
    const auto snapshot = SharedUsageData::load(SettingsFile());
    return answer(reply(snapshot), *options, snapshot, streams, extras);
}

} // namespace

int runGetUsage(std::span<const std::string> args, CommandStreams streams,
                const CommandExtras& extras) {
    return runReader("get-usage", getUsageReply, true, args, streams, extras);
}

int runGetClaudeUsage(std::span<const std::string> args, CommandStreams streams,
                      const CommandExtras& extras) {
    return runReader("get-claude-usage", getClaudeUsageReply, false, args, streams, extras);
}

int runGetCodexUsage(std::span<const std::string> args, CommandStreams streams,
                     const CommandExtras& extras) {
    return runReader("get-codex-usage", getCodexUsageReply, false, args, streams, extras);
}

int runRefreshUsage(std::span<const std::string> args, CommandStreams streams,
                    const CommandExtras& extras) {
    const auto options = parseOptions(args, false);
    if (!options) {
        return usageError("refresh-usage", false, streams.err);
    }
    // Posted in this process only, where nothing listens: the running program refreshes on its
    // own timer.
    const std::string reply = performRefreshUsage(NotificationCenter::defaultCenter());
    return answer(reply, *options, std::nullopt, streams, extras);
}

int runShortcuts(std::span<const std::string> args, CommandStreams streams) {
    if (args.empty()) {
        streams.out << shortcutTable();
        return 0;
    }
    if (args.size() == 1 && args[0] == "--desktop-actions") {
        streams.out << desktopActions();
        return 0;
    }
    streams.err << "Usage: quillon shortcuts [--desktop-actions]\n";
    return 2;
}

} // namespace quillon
