#pragma once

#include <atomic>

namespace quillon {

// Lets the owner of a background fetch ask it to give up early (at shutdown). Long blocking
// steps poll it; a cancelled transfer fails like any other transport failure.
class Cancellation {
public:
    void cancel() { cancelled_.store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return cancelled_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> cancelled_{false};
};

} // namespace quillon
