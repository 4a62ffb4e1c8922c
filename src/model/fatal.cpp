#include "model/fatal.h"

#include <cstdio>
#include <cstdlib>

namespace quillon {

void fatal(std::string_view what) {
    std::fprintf(stderr, "quillon: fatal: %.*s\n", static_cast<int>(what.size()), what.data());
    std::fflush(stderr);
    std::abort();
}

} // namespace quillon
