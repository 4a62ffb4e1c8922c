#pragma once

#include <QProcessEnvironment>
#include <QStringList>

#include <string>

namespace quillon::test {

// What one run of the program left behind.
struct ProcessOutcome {
    // -1 when it crashed, was killed or did not end in time.
    int exitCode = -1;
    std::string out;
    std::string err;
};

// The environment the program runs in: this process's own (the temporary home included),
// without a display, so that nothing it does can reach a desktop.
QProcessEnvironment headlessEnvironment();

// Runs the built `quillon` with `args`, feeds it `input` on standard input and waits up to
// `timeoutMs` for it to end, spinning the event loop meanwhile so that services on this thread
// (a fake notification server) can answer it.
ProcessOutcome runQuillon(const QStringList& args, const std::string& input = {},
                          QProcessEnvironment env = headlessEnvironment(), int timeoutMs = 30000);

} // namespace quillon::test
