#include "alerts/notification_center.h"

#include <vector>

namespace quillon {

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name,
                                                          Observer observer) {
    const std::lock_guard lock(mutex_);
    const Token token = next_++;
    observers_.emplace(token, Registration{std::string(name), std::move(observer)});
    return token;
}

void NotificationCenter::removeObserver(Token token) {
    const std::lock_guard lock(mutex_);
    observers_.erase(token);
}

void NotificationCenter::post(std::string_view name) const {
    // Observers run outside the lock, so one may add or remove observers while being called.
    std::vector<Observer> matching;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [token, registration] : observers_) {
            if (registration.name == name) {
                matching.push_back(registration.observer);
            }
        }
    }
    for (const auto& observer : matching) {
        observer();
    }
}

} // namespace quillon
