#include "tray/symbolic_icon.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace quillon {
namespace {

QImage square(int side, QColor colour) {
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

long modifiedSecond(const QString& path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mtime : -1;
}

// The folder lives in a runtime folder of the test's own, so nothing is left in the tester's.
class NamedIconTest : public ::testing::Test {
protected:
    NamedIconTest() : previousRuntime(qgetenv("XDG_RUNTIME_DIR")) {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        folder = symbolicIconThemePath();
    }
    ~NamedIconTest() override { qputenv("XDG_RUNTIME_DIR", previousRuntime); }

    QByteArray previousRuntime;
    QTemporaryDir runtime;
    QString folder;
};

TEST_F(NamedIconTest, WritesEverySideIntoTheThemeAndTheLargestLoose) {
    ASSERT_FALSE(folder.isEmpty());
    ASSERT_TRUE(writeNamedIcon("quillon_test_a", {square(16, Qt::red), square(48, Qt::blue)}));
    EXPECT_EQ(QImage(folder + "/hicolor/16x16/apps/quillon_test_a.png").size(), QSize(16, 16));
    EXPECT_EQ(QImage(folder + "/hicolor/48x48/apps/quillon_test_a.png").pixelColor(3, 3),
              QColor(Qt::blue));
    EXPECT_EQ(QImage(folder + "/quillon_test_a.png").size(), QSize(48, 48));
    EXPECT_TRUE(folder.startsWith(runtime.path()));
    // The idle icon stays.
    EXPECT_TRUE(QFileInfo::exists(folder + "/quillon-symbolic.svg"));
}

TEST_F(NamedIconTest, AnotherNameRemovesThePreviousPicture) {
    ASSERT_TRUE(writeNamedIcon("quillon_test_a", {square(16, Qt::red)}));
    ASSERT_TRUE(writeNamedIcon("quillon_test_b", {square(16, Qt::green)}));
    EXPECT_FALSE(QFileInfo::exists(folder + "/hicolor/16x16/apps/quillon_test_a.png"));
    EXPECT_FALSE(QFileInfo::exists(folder + "/quillon_test_a.png"));
    EXPECT_TRUE(QFileInfo::exists(folder + "/hicolor/16x16/apps/quillon_test_b.png"));
}

TEST_F(NamedIconTest, EveryWriteMovesTheFoldersTimeToALaterSecond) {
    // GTK hosts look into the folder again only when its time, in seconds, has changed.
    const long before = modifiedSecond(folder);
    ASSERT_TRUE(writeNamedIcon("quillon_test_c", {square(16, Qt::red)}));
    const long first = modifiedSecond(folder);
    EXPECT_GT(first, before);
    ASSERT_TRUE(writeNamedIcon("quillon_test_d", {square(16, Qt::red)}));
    EXPECT_GT(modifiedSecond(folder), first);
}

} // namespace
} // namespace quillon
