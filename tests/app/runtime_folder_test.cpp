#include "app/runtime_folder.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace quillon {
namespace {

namespace fs = std::filesystem;

const std::string uid = std::to_string(::getuid());

// Stand-ins for $XDG_RUNTIME_DIR, /run/user and /tmp, all inside one temporary folder.
class RuntimeFolderTest : public ::testing::Test {
protected:
    RuntimeFolderTest() {
        fs::create_directory(runtime);
        fs::permissions(runtime, fs::perms::owner_all, fs::perm_options::replace);
        fs::create_directories(sessions);
        fs::create_directory(temporary);
        places = {
            .xdgRuntimeDir = runtime, .sessionFolders = sessions, .temporaryFolder = temporary};
    }

    static unsigned modeOf(const fs::path& path) {
        struct stat info {};
        return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
    }

    const test::TempDir dir;
    const fs::path runtime = dir.path() / "runtime";
    const fs::path sessions = dir.path() / "run-user";
    const fs::path temporary = dir.path() / "tmp";
    RuntimePlaces places;
};

TEST_F(RuntimeFolderTest, APrivateXdgRuntimeDirIsTheFolder) {
    EXPECT_EQ(runtimeFolder(places), runtime);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(RuntimeFolderTest, TheEnvironmentVariableIsRead) {
    const test::ScopedEnv variable("XDG_RUNTIME_DIR", runtime.string());
    EXPECT_EQ(runtimeFolder(), runtime);
}

TEST_F(RuntimeFolderTest, WithoutTheVariableTheLoginManagersFolderIsUsed) {
    places.xdgRuntimeDir.reset();
    fs::create_directory(sessions / uid);
    fs::permissions(sessions / uid, fs::perms::owner_all, fs::perm_options::replace);
    EXPECT_EQ(runtimeFolder(places), sessions / uid);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(RuntimeFolderTest, AFolderOpenToOthersIsPassedOver) {
    fs::permissions(runtime, fs::perms::all, fs::perm_options::replace);
    fs::create_directory(sessions / uid);
    fs::permissions(sessions / uid, fs::perms::all, fs::perm_options::replace);
    EXPECT_EQ(runtimeFolder(places), temporary / ("quillon-" + uid));
}

TEST_F(RuntimeFolderTest, WithNeitherAPrivateFolderInTmpIsMade) {
    places.xdgRuntimeDir.reset();
    const auto folder = runtimeFolder(places);
    ASSERT_EQ(folder, temporary / ("quillon-" + uid));
    EXPECT_EQ(modeOf(*folder), 0700u);
    // The second time the same folder is found again.
    EXPECT_EQ(runtimeFolder(places), folder);
}

TEST_F(RuntimeFolderTest, ALinkInPlaceOfTheFolderInTmpIsNotUsed) {
    places.xdgRuntimeDir.reset();
    fs::create_directory(dir.path() / "theirs");
    fs::create_directory_symlink(dir.path() / "theirs", temporary / ("quillon-" + uid));
    EXPECT_EQ(runtimeFolder(places), std::nullopt);
}

TEST_F(RuntimeFolderTest, AFolderInTmpOpenToOthersIsNotUsed) {
    places.xdgRuntimeDir.reset();
    fs::create_directory(temporary / ("quillon-" + uid));
    fs::permissions(temporary / ("quillon-" + uid), fs::perms::all, fs::perm_options::replace);
    EXPECT_EQ(runtimeFolder(places), std::nullopt);
}

TEST_F(RuntimeFolderTest, AnUnsetVariableIsSetToTheFolderChosen) {
    const test::ScopedEnv variable("XDG_RUNTIME_DIR", std::nullopt);
    adoptRuntimeFolder();
    const char* adopted = std::getenv("XDG_RUNTIME_DIR");
    ASSERT_NE(adopted, nullptr);
    EXPECT_EQ(runtimeFolder(), fs::path(adopted));
}

TEST_F(RuntimeFolderTest, AVariableThatIsSetIsLeftAlone) {
    const test::ScopedEnv variable("XDG_RUNTIME_DIR", "/nowhere/at/all");
    adoptRuntimeFolder();
    EXPECT_STREQ(std::getenv("XDG_RUNTIME_DIR"), "/nowhere/at/all");
}

} // namespace
} // namespace quillon
