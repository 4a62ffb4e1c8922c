#pragma once

#include "model/cancellation.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

struct ChildOutputLimits {
    // A helper tool that stops answering must not stall the refresh for ever.
    std::chrono::milliseconds timeout{std::chrono::seconds(10)};
    // Output beyond this is not what we asked for; the child is stopped instead of buffered.
    std::size_t maxOutputBytes = 1 << 20;
    const Cancellation* cancellation = nullptr;
};

// Runs `program` directly (no shell) with `arguments`, standard input and standard error on
// /dev/null and no other descriptor of ours, and gives its standard output when it exits with
// status 0. A program that cannot start, fails, is killed by a signal, outlives the time-out,
// writes too much or is cancelled gives nothing; a child that is still running then is killed
// and always reaped.
std::optional<std::string> childOutput(const std::string& program,
                                       const std::vector<std::string>& arguments,
                                       const ChildOutputLimits& limits = {});

} // namespace quillon
