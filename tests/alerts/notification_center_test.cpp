#include "alerts/notification_center.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(NotificationCenterTest, PostReachesObserversOfThatNameOnly) {
    NotificationCenter center;
    int opens = 0;
    int refreshes = 0;
    center.addObserver(openFromNotification, [&] { ++opens; });
    center.addObserver(refreshUsageFromIntent, [&] { ++refreshes; });
    center.post(openFromNotification);
    center.post(openFromNotification);
    EXPECT_EQ(opens, 2);
    EXPECT_EQ(refreshes, 0);
}

TEST(NotificationCenterTest, PostingWithoutObserversDoesNothing) {
    NotificationCenter center;
    center.post(refreshUsageFromIntent);
    int calls = 0;
    center.addObserver("other", [&] { ++calls; });
    center.post(refreshUsageFromIntent);
    EXPECT_EQ(calls, 0);
}

TEST(NotificationCenterTest, RemovedObserverIsNoLongerCalled) {
    NotificationCenter center;
    int calls = 0;
    const auto token = center.addObserver("name", [&] { ++calls; });
    center.post("name");
    center.removeObserver(token);
    center.post("name");
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenterTest, AnObserverMayRemoveItselfWhileBeingCalled) {
    NotificationCenter center;
    int calls = 0;
    NotificationCenter::Token token = 0;
    token = center.addObserver("name", [&] {
        ++calls;
        center.removeObserver(token);
    });
    center.post("name");
    center.post("name");
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenterTest, NamesAreTheProgramsOwn) {
    EXPECT_EQ(openFromNotification, "openFromNotification");
    EXPECT_EQ(refreshUsageFromIntent, "refreshUsageFromIntent");
}

} // namespace
} // namespace quillon
