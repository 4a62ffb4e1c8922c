#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace quillon {

// Names of the in-process notifications the program posts. Nothing observes either of them yet:
// they are the hooks for opening the panel from an alert and for refreshing on request.
inline constexpr std::string_view openFromNotification = "openFromNotification";
inline constexpr std::string_view refreshUsageFromIntent = "refreshUsageFromIntent";

// A tiny in-process broadcaster: observers register for a name and are called, on the posting
// thread, for every post of that name. Posting a name nobody observes does nothing.
class NotificationCenter {
public:
    using Observer = std::function<void()>;
    using Token = std::uint64_t;

    // The process-wide centre.
    static NotificationCenter& defaultCenter();

    Token addObserver(std::string_view name, Observer observer);
    void removeObserver(Token token);
    void post(std::string_view name) const;

private:
    struct Registration {
        std::string name;
        Observer observer;
    };

    mutable std::mutex mutex_;
    std::map<Token, Registration> observers_;
    Token next_ = 1;
};

} // namespace quillon
