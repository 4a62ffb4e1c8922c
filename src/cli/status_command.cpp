#include "cli/status_command.h"

#include "app/termination_signals.h"
#include "cli/command_application.h"
#include "cli/status_client.h"
#include "cli/status_fetch.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QSocketNotifier>

#include <csignal>
#include <ostream>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon {
namespace {

struct StatusOptions {
    StatusFormat format = StatusFormat::text;
    bool watch = false;
    bool once = false;
};

std::optional<StatusOptions> parseOptions(std::span<const std::string> args) {
    StatusOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::optional<std::string> formatName;
        if (args[i] == "--watch") {
            options.watch = true;
        } else if (args[i] == "--once") {
            options.once = true;
        } else if (args[i] == "--format" && i + 1 < args.size()) {
            formatName = args[++i];
        } else if (args[i].starts_with("--format=")) {
            formatName = args[i].substr(9);
        } else {
            return std::nullopt;
        }
        if (formatName) {
            const auto format = parseStatusFormat(*formatName);
            if (!format) {
                return std::nullopt;
            }
            options.format = *format;
        }
    }
    if (options.watch && options.once) {
        return std::nullopt;
    }
    return options;
}

// The figures as the format writes them once: a block of lines for text, one line otherwise.
std::string render(StatusFormat format, const StatusFigures& figures, Instant now) {
    switch (format) {
    case StatusFormat::text:
        return statusText(figures, now);
    case StatusFormat::json:
        return jsonLine(statusDocument(figures, now)) + "\n";
    case StatusFormat::waybar:
        return jsonLine(waybarModule(figures, now)) + "\n";
    case StatusFormat::i3bar:
        return jsonLine(i3barBlock(figures)) + "\n";
    }
    return {};
}

// Ends the loop once nobody can read what the command writes: a status bar that went away
// closes its end of the pipe, which shows on ours as an error, before any further write.
void quitWhenTheReaderGoes(QObject* owner) {
    struct stat info {};
    if (::fstat(STDOUT_FILENO, &info) != 0 || !S_ISFIFO(info.st_mode)) {
        return;
    }
    auto* notifier = new QSocketNotifier(STDOUT_FILENO, QSocketNotifier::Read, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, owner, [notifier] {
        pollfd out{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
        if (::poll(&out, 1, 0) == 1 && (out.revents & (POLLERR | POLLHUP)) != 0) {
            notifier->setEnabled(false);
            QCoreApplication::quit();
        }
    });
}

// Prints every change until the stream fails or its reader goes away, the session bus goes
// away, or a termination signal comes; each ends the command normally.
int watch(StatusFormat format, CommandStreams streams) {
    // A closed pipe shows up as a failed write instead of killing the process.
    std::signal(SIGPIPE, SIG_IGN);
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received,
                     QCoreApplication::instance(), &QCoreApplication::quit);
    StatusClient client(QDBusConnection::sessionBus());
    if (!QDBusConnection::sessionBus().isConnected()) {
        streams.err << "quillon: no session bus to reach Quillon on\n";
        return statusNotRunning;
    }
    // The end of the session: nothing more will ever change.
    QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                                          QStringLiteral("org.freedesktop.DBus.Local"),
                                          QStringLiteral("Disconnected"),
                                          QCoreApplication::instance(), SLOT(quit()));
    quitWhenTheReaderGoes(QCoreApplication::instance());
    bool first = true;
    const auto print = [&](const StatusFigures& figures) {
        const Instant now = std::chrono::system_clock::now();
        if (format == StatusFormat::i3bar) {
            streams.out << (first ? "" : ",") << '[' << jsonLine(i3barBlock(figures)) << "]\n";
        } else {
            streams.out << render(format, figures, now)
                        << (format == StatusFormat::text ? "\n" : "");
        }
        streams.out.flush();
        first = false;
        if (!figures.running) {
            streams.err << "quillon: Quillon is not running; waiting for it to start\n";
        }
        if (!streams.out) {
            QCoreApplication::quit();
        }
    };
    client.follow(print);
    if (format == StatusFormat::i3bar) {
        streams.out << i3barHeader() << "\n[\n";
    }
    print(client.read());
    if (!streams.out) {
        return 0;
    }
    QCoreApplication::exec();
    return 0;
}

} // namespace

int runStatus(std::span<const std::string> args, CommandStreams streams) {
    const auto options = parseOptions(args);
    if (!options) {
        streams.err
            << "Usage: quillon status [--format text|json|waybar|i3bar] [--watch | --once]\n";
        return 2;
    }
    const auto app = makeCommandApplication(false);
    if (options->watch) {
        return watch(options->format, streams);
    }
    const StatusFigures figures =
        options->once ? fetchFigures() : StatusClient(QDBusConnection::sessionBus()).read();
    if (!figures.running) {
        streams.err << "quillon: Quillon is not running (start it, or use status --once)\n";
        return statusNotRunning;
    }
    streams.out << render(options->format, figures, std::chrono::system_clock::now());
    streams.out.flush();
    return 0;
}

} // namespace quillon
