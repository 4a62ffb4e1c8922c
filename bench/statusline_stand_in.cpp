// Quillon's bus interface with fixed figures and no network, for timing its clients:
//   statusline_stand_in [CLAUDE_PERCENT CODEX_PERCENT]
// Publishes the real state's interface on the session bus, refreshes once (five-hour windows at
// Claude 42 % and Codex 17 % unless given), prints "ready" and runs until SIGTERM.
#include "app/app_state.h"
#include "app/termination_signals.h"
#include "bus/quillon_bus.h"
#include "support/memory_stores.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    using namespace quillon;
    using namespace std::chrono_literals;
    QCoreApplication app(argc, argv);
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &app,
                     &QCoreApplication::quit);
    const auto figures = [](Provider provider, std::int64_t fiveHour, std::int64_t weekly) {
        return [=](CredentialStore&, const Cancellation&) {
            const Instant now = std::chrono::system_clock::now();
            UsageData usage;
            usage.provider = provider;
            usage.plan = "max";
            usage.fiveHour = UsageWindow{fiveHour, now + 2h + 5min, "Resets in 2h 05m"};
            usage.weekly = UsageWindow{weekly, now + 72h, "Resets Thursday 9:00 AM"};
            return std::optional(usage);
        };
    };
    AppServices services;
    const bool given = argc == 3;
    services.fetchClaude = figures(Provider::claude, given ? std::atoll(argv[1]) : 42, 23);
    services.fetchCodex = figures(Provider::codex, given ? std::atoll(argv[2]) : 17, 31);
    test::MemoryCredentialStore credentials;
    AppState state(credentials, services);
    const QuillonBus bus(state, BusActions{});
    if (!bus.isPublished()) {
        std::fputs("the name is taken\n", stderr);
        return 1;
    }
    QObject::connect(&state, &AppState::isRefreshingChanged, &app, [&state] {
        if (!state.isRefreshing()) {
            std::puts("ready");
            std::fflush(stdout);
        }
    });
    state.refreshAll();
    return QCoreApplication::exec();
}
