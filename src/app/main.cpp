#include "app/shell_launch.h"
#include "cli/lean_commands.h"

#include <iostream>
#include <string>
#include <vector>

// `quillon` starts lean: the commands that must answer quickly (the status line) answer here, with
// Qt's core and bus libraries only. Everything else, the panel application included, is the
// shell's, which this process becomes.
int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (const auto status = quillon::runLeanCommand(args, {std::cin, std::cout, std::cerr})) {
        return *status;
    }
    return quillon::execShell(argv);
}
