#pragma once

#include "alerts/notification_center.h"

#include <functional>
#include <string_view>

namespace quillon {

// How an alert that arrives while the program is in front should be shown.
struct PresentationOptions {
    bool banner = false;
    bool sound = false;
    bool badge = false;

    bool operator==(const PresentationOptions&) const = default;
};

// The action identifier of a click on the notification itself (the desktop's "default" action).
inline constexpr std::string_view defaultActionIdentifier = "default";
inline constexpr std::string_view openAppActionIdentifier = "OPEN_APP";
inline constexpr std::string_view viewDetailsActionIdentifier = "VIEW_DETAILS";

// Answers the notification service's two questions: how to present an alert while the program
// is in front (like any other alert: banner, sound and badge), and what to do when the user acts
// on one (open the program for "open", "details" or a plain click). Opening is announced as
// "openFromNotification" on the given centre.
class NotificationDelegate {
public:
    explicit NotificationDelegate(NotificationCenter& center = NotificationCenter::defaultCenter())
        : center_(center) {}

    void willPresent(const std::function<void(PresentationOptions)>& completion) const;
    void didReceive(std::string_view actionIdentifier,
                    const std::function<void()>& completion) const;

private:
    NotificationCenter& center_;
};

} // namespace quillon
