#include "providers/child_output.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace quillon {
namespace {

using SteadyClock = std::chrono::steady_clock;

// Waiting is done in short slices so that a cancellation is noticed promptly.
constexpr std::chrono::milliseconds pollSlice{50};

class SpawnSetup {
public:
    SpawnSetup() {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

bool prepare(SpawnSetup& setup, int outputFd) {
    // The child starts with default signal handling and nothing blocked, whatever the calling
    // thread had set up for itself (an ignored SIGPIPE, a blocked SIGTERM...).
    sigset_t none;
    sigset_t defaults;
    ::sigemptyset(&none);
    ::sigemptyset(&defaults);
    ::sigaddset(&defaults, SIGPIPE);
    ::sigaddset(&defaults, SIGTERM);
    ::sigaddset(&defaults, SIGINT);
    return ::posix_spawnattr_setsigmask(&setup.attributes, &none) == 0 &&
           ::posix_spawnattr_setsigdefault(&setup.attributes, &defaults) == 0 &&
           ::posix_spawnattr_setflags(&setup.attributes,
                                      POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0 &&
           ::posix_spawn_file_actions_addopen(&setup.actions, STDIN_FILENO, "/dev/null", O_RDONLY,
                                              0) == 0 &&
           ::posix_spawn_file_actions_adddup2(&setup.actions, outputFd, STDOUT_FILENO) == 0 &&
           ::posix_spawn_file_actions_addopen(&setup.actions, STDERR_FILENO, "/dev/null", O_WRONLY,
                                              0) == 0 &&
           // Whatever else this process has open (sockets, the settings file, descriptors a
           // library opened without O_CLOEXEC) stays out of the child.
           ::posix_spawn_file_actions_addclosefrom_np(&setup.actions, STDERR_FILENO + 1) == 0;
}

bool cancelled(const ChildOutputLimits& limits) {
    return limits.cancellation != nullptr && limits.cancellation->isCancelled();
}

int millisecondsUntil(SteadyClock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now());
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), pollSlice).count());
}

// Reads the child's output until it closes its end. False when the output had to be abandoned
// (too long, too late, cancelled, unreadable).
bool readAll(int fd, std::string& output, SteadyClock::time_point deadline,
             const ChildOutputLimits& limits) {
    char buffer[16384];
    for (;;) {
        if (cancelled(limits) || SteadyClock::now() >= deadline) {
            return false;
        }
        pollfd waiting{fd, POLLIN, 0};
        const int ready = ::poll(&waiting, 1, millisecondsUntil(deadline));
        if (ready < 0 && errno != EINTR) {
            return false;
        }
        if (ready <= 0) {
            continue;
        }
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR || errno == EAGAIN) {
                continue;
            }
            return false;
        }
        if (got == 0) {
            return true;
        }
        if (static_cast<std::size_t>(got) > limits.maxOutputBytes - output.size()) {
            return false;
        }
        output.append(buffer, static_cast<std::size_t>(got));
    }
}

// Waits for the child's exit until the deadline; a child still running then is killed. Always
// reaps it, so no zombie is left behind.
std::optional<int> reap(pid_t child, SteadyClock::time_point deadline,
                        const ChildOutputLimits& limits) {
    for (;;) {
        int status = 0;
        const pid_t done = ::waitpid(child, &status, WNOHANG);
        if (done == child) {
            return status;
        }
        if (done < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (cancelled(limits) || SteadyClock::now() >= deadline) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ::kill(child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> childOutput(const std::string& program,
                                       const std::vector<std::string>& arguments,
                                       const ChildOutputLimits& limits) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    const int readFd = pipeFds[0];
    const int writeFd = pipeFds[1];

    std::vector<std::string> argvStorage;
    argvStorage.reserve(arguments.size() + 1);
    argvStorage.push_back(program);
    argvStorage.insert(argvStorage.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(argvStorage.size() + 1);
    for (auto& argument : argvStorage) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);

    pid_t child = -1;
    bool started = false;
    {
        SpawnSetup setup;
        started =
            prepare(setup, writeFd) && ::posix_spawn(&child, program.c_str(), &setup.actions,
                                                     &setup.attributes, argv.data(), environ) == 0;
    }
    ::close(writeFd);
    if (!started) {
        ::close(readFd);
        return std::nullopt;
    }

    const auto deadline = SteadyClock::now() + limits.timeout;
    std::string output;
    const bool complete = readAll(readFd, output, deadline, limits);
    ::close(readFd);
    if (!complete) {
        ::kill(child, SIGKILL);
    }
    const auto status = reap(child, deadline, limits);
    if (!complete || !status || !WIFEXITED(*status) || WEXITSTATUS(*status) != 0) {
        return std::nullopt;
    }
    return output;
}

} // namespace quillon
