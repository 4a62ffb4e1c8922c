#include "app/quillon_main.h"

#include "app/application.h"
#include "app/command_line.h"

#include <iostream>

namespace quillon {

int quillonMain(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (const auto status = runCommandLine(args, {std::cin, std::cout, std::cerr})) {
        return *status;
    }
    return runApplication(argc, argv);
}

} // namespace quillon
