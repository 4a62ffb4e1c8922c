#include "app/auth_store.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"

#include <QtConcurrent/QtConcurrentRun>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace quillon {
namespace {

class AuthStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(home.path().string()));
    }
    std::filesystem::path file() const { return home.path() / "quillon" / "quillon.conf"; }

    test::TempDir home;
};

TEST_F(AuthStoreTest, OnFirstLaunchAllThreeFieldsReadEmpty) {
    const AuthStore store;
    EXPECT_EQ(store.claudeCookieHeader(), "");
    EXPECT_EQ(store.codexCookieHeader(), "");
    EXPECT_EQ(store.codexAccessToken(), "");
}

TEST_F(AuthStoreTest, StoresUnderTheFieldNamesInTheXdgSettingsFile) {
    AuthStore store;
    store.setClaudeCookieHeader("c");
    store.setCodexCookieHeader("x");
    store.setCodexAccessToken("t");
    const SettingsFile raw{QString::fromStdString(file().string())};
    EXPECT_EQ(raw.readBytes("claudeCookieHeader"), "c");
    EXPECT_EQ(raw.readBytes("codexCookieHeader"), "x");
    EXPECT_EQ(raw.readBytes("codexAccessToken"), "t");
}

TEST_F(AuthStoreTest, WrittenValueIsSeenByEveryHolderWithoutRestart) {
    AuthStore writer;
    const AuthStore reader;
    writer.setCodexAccessToken("token-1");
    EXPECT_EQ(reader.codexAccessToken(), "token-1");
    writer.setCodexAccessToken("token-2");
    EXPECT_EQ(reader.codexAccessToken(), "token-2");
}

TEST_F(AuthStoreTest, ValueWrittenUnderItsKeyIsReadByTheStore) {
    const AuthStore store;
    SettingsFile raw{QString::fromStdString(file().string())};
    raw.writeBytes("claudeCookieHeader", "sessionKey=abc");
    EXPECT_EQ(store.claudeCookieHeader(), "sessionKey=abc");
}

TEST_F(AuthStoreTest, ValueSurvivesARestart) {
    {
        AuthStore store;
        store.setClaudeCookieHeader("sessionKey=persisted");
    }
    const AuthStore restarted;
    EXPECT_EQ(restarted.claudeCookieHeader(), "sessionKey=persisted");
}

TEST_F(AuthStoreTest, TrailingNewlineIsKept) {
    AuthStore store;
    store.setCodexAccessToken("token\n");
    EXPECT_EQ(AuthStore().codexAccessToken(), "token\n");
}

TEST_F(AuthStoreTest, CookieHeaderWithSemicolonsAndCommasRoundTrips) {
    const std::string header = "a=1; b=x,y; c=\"q,r\"; d=";
    AuthStore store;
    store.setCodexCookieHeader(header);
    EXPECT_EQ(AuthStore().codexCookieHeader(), header);
}

TEST_F(AuthStoreTest, ClearingMeansStoringEmpty) {
    AuthStore store;
    store.setClaudeCookieHeader("x");
    store.setClaudeCookieHeader("");
    EXPECT_EQ(AuthStore().claudeCookieHeader(), "");
}

TEST_F(AuthStoreTest, SettingsFileIsPrivate) {
    AuthStore store;
    store.setClaudeCookieHeader("secret");
    struct stat info {};
    ASSERT_EQ(::stat(file().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    ASSERT_EQ(::stat(file().parent_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);
}

TEST_F(AuthStoreTest, TokenWriteFromBackgroundThreadHappensOnMainThread) {
    AuthStore store;
    Qt::HANDLE writerThread = nullptr;
    QObject::connect(&store, &AuthStore::changed,
                     [&] { writerThread = QThread::currentThreadId(); });
    QtConcurrent::run([&store] { store.setCodexAccessToken("from-background"); }).waitForFinished();
    ASSERT_TRUE(test::waitUntil([&] { return writerThread != nullptr; }));
    EXPECT_EQ(writerThread, QThread::currentThreadId());
    EXPECT_EQ(store.codexAccessToken(), "from-background");
}

} // namespace
} // namespace quillon
