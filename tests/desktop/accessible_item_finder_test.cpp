#include "desktop/accessible_item_finder.h"
#include "support/qt_wait.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace quillon {
namespace {

using test::waitUntil;

// The test's session bus has no accessibility bus: the lookup answers "nothing", on the
// finder's thread, within its time limit, and never before find() has returned.
TEST(AccessibleItemFinderTest, WithoutAnAccessibilityBusTheAnswerIsNothingInTime) {
    AccessibleItemFinder finder(QStringLiteral("Quillon"));
    int answers = 0;
    std::optional<QRect> item = QRect(1, 1, 1, 1);
    QElapsedTimer clock;
    clock.start();
    finder.find([&](std::optional<QRect> found) {
        ++answers;
        item = found;
    });
    EXPECT_EQ(answers, 0);
    EXPECT_TRUE(finder.isBusy());
    ASSERT_TRUE(waitUntil([&] { return answers > 0; }, AccessibleItemFinder::timeoutMs + 1000));
    EXPECT_LE(clock.elapsed(), AccessibleItemFinder::timeoutMs + 200);
    EXPECT_FALSE(item);
    EXPECT_FALSE(finder.isBusy());
    // No second answer arrives later, from the thread or the deadline.
    test::spin(AccessibleItemFinder::timeoutMs + 100);
    EXPECT_EQ(answers, 1);
}

TEST(AccessibleItemFinderTest, CallersDuringALookupShareItsAnswer) {
    AccessibleItemFinder finder(QStringLiteral("Quillon"));
    int answers = 0;
    finder.find([&](std::optional<QRect>) { ++answers; });
    finder.find([&](std::optional<QRect>) { ++answers; });
    ASSERT_TRUE(waitUntil([&] { return answers == 2; }, AccessibleItemFinder::timeoutMs + 1000));
    test::spin(100);
    EXPECT_EQ(answers, 2);
}

TEST(AccessibleItemFinderTest, TheBlockingLookupGivesUpWithoutABus) {
    EXPECT_FALSE(
        AccessibleItemFinder::lookUp(QDBusConnection::sessionBus(), QStringLiteral("Quillon"),
                                     QString::fromLatin1(AccessibleItemFinder::shellApplication),
                                     AccessibleItemFinder::timeoutMs));
}

} // namespace
} // namespace quillon
