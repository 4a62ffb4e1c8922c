#pragma once

namespace quillon {

// The whole program behind the `quillon` executable: the panel application, or a subcommand.
int quillonMain(int argc, char** argv);

} // namespace quillon
