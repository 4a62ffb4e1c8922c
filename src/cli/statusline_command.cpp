#include "cli/statusline_command.h"

#include "app/settings_file.h"
#include "cli/command_application.h"
#include "cli/status_client.h"
#include "cli/statusline_format.h"

#include <QDBusConnection>

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ostream>

namespace quillon {
namespace {

// Claude Code's JSON is a few kilobytes; anything past this is not read.
constexpr std::size_t inputLimit = 1 << 20;
// Claude Code writes its JSON and closes the pipe at once. A caller that leaves the pipe open
// without writing is not waited for longer than this.
constexpr int inputWaitMs = 1000;
// The line is redrawn often: a Quillon that does not answer is taken for not running soon.
constexpr int busTimeoutMs = 1000;

// Standard input as far as it comes; nothing from a terminal, which would wait for a person.
std::string readStatusInput() {
    if (isatty(STDIN_FILENO) == 1) {
        return {};
    }
    std::string input;
    std::array<char, 8192> buffer{};
    while (input.size() < inputLimit) {
        pollfd descriptor{STDIN_FILENO, POLLIN, 0};
        const int ready = poll(&descriptor, 1, inputWaitMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            break;
        }
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        input.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return input;
}

} // namespace

int runStatusLine(std::span<const std::string> args, CommandStreams streams) {
    if (!args.empty()) {
        streams.err << "Usage: quillon statusline < claude-code-status.json\n";
        return 2;
    }
    const auto contextPercent = sessionContextPercent(readStatusInput());
    const auto app = makeCoreApplication();
    const StatusFigures figures = StatusClient(QDBusConnection::sessionBus(), busTimeoutMs).read();
    const Instant now = std::chrono::system_clock::now();
    streams.out << (figures.running ? statusLine(figures, contextPercent, now)
                                    : snapshotStatusLine(SharedUsageData::load(SettingsFile()),
                                                         contextPercent, now))
                << '\n';
    streams.out.flush();
    return 0;
}

} // namespace quillon
