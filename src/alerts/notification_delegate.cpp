#include "alerts/notification_delegate.h"

namespace quillon {

void NotificationDelegate::willPresent(
    const std::function<void(PresentationOptions)>& completion) const {
    completion(PresentationOptions{.banner = true, .sound = true, .badge = true});
}

void NotificationDelegate::didReceive(std::string_view actionIdentifier,
                                      const std::function<void()>& completion) const {
    if (actionIdentifier == openAppActionIdentifier ||
        actionIdentifier == viewDetailsActionIdentifier ||
        actionIdentifier == defaultActionIdentifier) {
        center_.post(openFromNotification);
    }
    completion();
}

} // namespace quillon
