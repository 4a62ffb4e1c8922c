// A stand-in for the running application on the session bus, for the tests of its clients: the
// real state and the real interface, fetching from the local servers named on the command line.
//   quillon_bus_test_app CLAUDE_BASE CHATGPT_BASE HOME
// Prints "show-panel" for each ShowPanel() call; ends cleanly on SIGTERM.
#include "app/app_state.h"
#include "app/provider_fetches.h"
#include "app/termination_signals.h"
#include "bus/quillon_bus.h"
#include "support/memory_stores.h"
#include "usage_servers.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    using namespace quillon;
    QCoreApplication app(argc, argv);
    if (argc != 4) {
        std::fputs("usage: quillon_bus_test_app CLAUDE_BASE CHATGPT_BASE HOME\n", stderr);
        return 2;
    }
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &app,
                     &QCoreApplication::quit);
    const ProviderEnvironment env = test::UsageServers::environment(argv[1], argv[2], argv[3]);
    AppServices services;
    services.fetchClaude = claudeFetch(env);
    services.fetchCodex = codexFetch(env);
    test::MemoryCredentialStore credentials;
    AppState state(credentials, services);
    const QuillonBus bus(state, BusActions{.showPanel = [] {
                             std::puts("show-panel");
                             std::fflush(stdout);
                         }});
    if (!bus.isPublished()) {
        std::fputs("the name is taken\n", stderr);
        return 1;
    }
    return QCoreApplication::exec();
}
