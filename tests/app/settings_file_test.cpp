#include "app/settings_file.h"
#include "support/temp_dir.h"

#include <QSettings>

#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

namespace quillon {
namespace {

mode_t modeOf(const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

class SettingsFileTest : public ::testing::Test {
protected:
    test::TempDir home;
    std::filesystem::path file = home.path() / "config" / "quillon" / "quillon.conf";
    SettingsFile settings{QString::fromStdString(file.string())};
};

TEST_F(SettingsFileTest, DefaultPathFollowsXdgConfigHome) {
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((home.path() / "xdg").string()));
    EXPECT_EQ(SettingsFile::defaultPath().toStdString(),
              (home.path() / "xdg" / "quillon" / "quillon.conf").string());
}

TEST_F(SettingsFileTest, MissingKeyReadsAsNothing) {
    EXPECT_EQ(settings.readBytes("sharedUsageData"), std::nullopt);
}

TEST_F(SettingsFileTest, FileIsCreatedPrivateInPrivateFolder) {
    settings.writeBytes("claudeCookieHeader", "sessionKey=secret");
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.parent_path()), 0700U);
}

TEST_F(SettingsFileTest, ModeStaysPrivateAfterEveryWrite) {
    for (int i = 0; i < 3; ++i) {
        settings.writeBytes("codexAccessToken", "token-" + std::to_string(i));
        EXPECT_EQ(modeOf(file), 0600U);
    }
}

TEST_F(SettingsFileTest, WidenedModesAreNarrowedOnTheNextWrite) {
    settings.writeBytes("codexAccessToken", "a");
    ::chmod(file.c_str(), 0644);
    ::chmod(file.parent_path().c_str(), 0755);
    settings.writeBytes("codexAccessToken", "b");
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.parent_path()), 0700U);
}

TEST_F(SettingsFileTest, BytesRoundTripExactly) {
    const std::string awkward =
        std::string("a=1; b=2, c=\"3\"\n\t@x\\y\r\n") + '\0' + "\xff\xfe end";
    settings.writeBytes("value", awkward);
    const SettingsFile reopened{QString::fromStdString(file.string())};
    EXPECT_EQ(reopened.readBytes("value"), awkward);
}

TEST_F(SettingsFileTest, HandWrittenTextValueReadsAsItsBytes) {
    std::filesystem::create_directories(file.parent_path());
    {
        QSettings raw(QString::fromStdString(file.string()), QSettings::IniFormat);
        raw.setValue("plain", QStringLiteral("hello"));
    }
    EXPECT_EQ(settings.readBytes("plain"), "hello");
}

// A value typed into the file by hand: unquoted, it ends at the first ';' (what follows is a
// comment to the INI reader); in double quotes it is kept whole.
TEST_F(SettingsFileTest, HandEditedUnquotedValueEndsAtASemicolonAndAQuotedOneIsKept) {
    std::filesystem::create_directories(file.parent_path());
    {
        std::ofstream out(file);
        out << "[General]\n"
               "claudeCookieHeader=sessionKey=abc; lastActiveOrg=org-1\n"
               "codexCookieHeader=\"__Secure-token=xyz; cf=1\"\n";
    }
    EXPECT_EQ(settings.readBytes("claudeCookieHeader"), "sessionKey=abc");
    EXPECT_EQ(settings.readBytes("codexCookieHeader"), "__Secure-token=xyz; cf=1");
}

TEST_F(SettingsFileTest, UnwritableFolderLosesTheWriteWithoutCrashing) {
    const auto locked = home.path() / "locked";
    std::filesystem::create_directories(locked);
    ::chmod(locked.c_str(), 0500);
    SettingsFile unwritable{QString::fromStdString((locked / "quillon" / "quillon.conf").string())};
    unwritable.writeBytes("codexAccessToken", "x");
    if (::geteuid() != 0) { // root ignores the folder's mode
        EXPECT_EQ(unwritable.readBytes("codexAccessToken"), std::nullopt);
    }
}

} // namespace
} // namespace quillon
