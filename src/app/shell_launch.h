#pragma once

namespace quillon {

// The file name of the shell executable, beside `quillon` in the build tree and under
// libexec/quillon once installed.
inline constexpr auto shellFileName = "quillon-shell";

// Replaces this process with the shell, same arguments, same process id (so whatever started
// `quillon` keeps following it). Only returns when the shell cannot be started: it then says so
// on standard error and gives 127, as a shell does for a command it cannot run.
int execShell(char** argv);

} // namespace quillon
