#include "alerts/notification_delegate.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

class NotificationDelegateTest : public ::testing::Test {
protected:
    void SetUp() override {
        center.addObserver(openFromNotification, [this] { ++opens; });
    }

    NotificationCenter center;
    NotificationDelegate delegate{center};
    int opens = 0;
    int completions = 0;
};

TEST_F(NotificationDelegateTest, WillPresentAnswersBannerSoundAndBadge) {
    std::optional<PresentationOptions> answer;
    delegate.willPresent([&](PresentationOptions options) { answer = options; });
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(*answer, (PresentationOptions{.banner = true, .sound = true, .badge = true}));
}

TEST_F(NotificationDelegateTest, OpenAppActionPostsOpenFromNotification) {
    delegate.didReceive("OPEN_APP", [&] { ++completions; });
    EXPECT_EQ(opens, 1);
    EXPECT_EQ(completions, 1);
}

TEST_F(NotificationDelegateTest, ViewDetailsActionPostsOpenFromNotification) {
    delegate.didReceive("VIEW_DETAILS", [&] { ++completions; });
    EXPECT_EQ(opens, 1);
    EXPECT_EQ(completions, 1);
}

TEST_F(NotificationDelegateTest, ClickOnTheNotificationPostsOpenFromNotification) {
    delegate.didReceive(defaultActionIdentifier, [&] { ++completions; });
    EXPECT_EQ(defaultActionIdentifier, "default");
    EXPECT_EQ(opens, 1);
    EXPECT_EQ(completions, 1);
}

TEST_F(NotificationDelegateTest, OtherActionsOnlyComplete) {
    delegate.didReceive("DISMISS", [&] { ++completions; });
    delegate.didReceive("open_app", [&] { ++completions; });
    delegate.didReceive("", [&] { ++completions; });
    EXPECT_EQ(opens, 0);
    EXPECT_EQ(completions, 3);
}

TEST_F(NotificationDelegateTest, DefaultCentreIsUsedWhenNoneIsGiven) {
    int defaultOpens = 0;
    const auto token = NotificationCenter::defaultCenter().addObserver(openFromNotification,
                                                                       [&] { ++defaultOpens; });
    NotificationDelegate{}.didReceive("OPEN_APP", [&] { ++completions; });
    NotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(defaultOpens, 1);
    EXPECT_EQ(opens, 0);
}

} // namespace
} // namespace quillon
