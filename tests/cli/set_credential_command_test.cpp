#include "app/settings_file.h"
#include "support/temp_dir.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace quillon {
namespace {

struct CommandRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the real `quillon` binary with a private configuration folder.
class SetCredentialCommandTest : public ::testing::Test {
protected:
    CommandRun run(const QStringList& arguments, const std::string& input = {}) const {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", QString::fromStdString(config.path().string()));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(QUILLON_BINARY), arguments);
        EXPECT_TRUE(process.waitForStarted(10000));
        process.write(QByteArray::fromStdString(input));
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(30000));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }
    std::filesystem::path file() const { return config.path() / "quillon" / "quillon.conf"; }
    std::optional<std::string> stored(std::string_view key) const {
        return SettingsFile(QString::fromStdString(file().string())).readBytes(key);
    }

    test::TempDir config;
};

TEST_F(SetCredentialCommandTest, StoresTheValueWithOneTrailingNewlineRemoved) {
    const auto result = run({"set-credential", "claude-cookie"}, "sessionKey=sk-ant-sid01-abc\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(stored("claudeCookieHeader"), "sessionKey=sk-ant-sid01-abc");
}

TEST_F(SetCredentialCommandTest, ASecondTrailingNewlineIsKept) {
    EXPECT_EQ(run({"set-credential", "codex-cookie"}, "a=b\n\n").exitCode, 0);
    EXPECT_EQ(stored("codexCookieHeader"), "a=b\n");
}

TEST_F(SetCredentialCommandTest, CarriageReturnLineEndIsRemovedAsOne) {
    EXPECT_EQ(run({"set-credential", "codex-token"}, "eyJtoken\r\n").exitCode, 0);
    EXPECT_EQ(stored("codexAccessToken"), "eyJtoken");
}

TEST_F(SetCredentialCommandTest, ValueWithoutNewlineIsStoredExactly) {
    const std::string value = "  __Secure-next-auth.session-token=x; oai-did=\xc3\xa9; a=b  ";
    EXPECT_EQ(run({"set-credential", "codex-cookie"}, value).exitCode, 0);
    EXPECT_EQ(stored("codexCookieHeader"), value);
}

TEST_F(SetCredentialCommandTest, EachNameStoresUnderItsOwnKey) {
    EXPECT_EQ(run({"set-credential", "claude-cookie"}, "one").exitCode, 0);
    EXPECT_EQ(run({"set-credential", "codex-cookie"}, "two").exitCode, 0);
    EXPECT_EQ(run({"set-credential", "codex-token"}, "three").exitCode, 0);
    EXPECT_EQ(stored("claudeCookieHeader"), "one");
    EXPECT_EQ(stored("codexCookieHeader"), "two");
    EXPECT_EQ(stored("codexAccessToken"), "three");
}

TEST_F(SetCredentialCommandTest, ClearStoresTheEmptyText) {
    EXPECT_EQ(run({"set-credential", "codex-token"}, "secret-token").exitCode, 0);
    EXPECT_EQ(run({"set-credential", "codex-token", "--clear"}, "ignored input").exitCode, 0);
    EXPECT_EQ(stored("codexAccessToken"), "");
}

TEST_F(SetCredentialCommandTest, SettingsFileIsPrivateToTheUser) {
    EXPECT_EQ(run({"set-credential", "claude-cookie"}, "sessionKey=x").exitCode, 0);
    struct stat info {};
    ASSERT_EQ(::stat(file().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat(file().parent_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
}

TEST_F(SetCredentialCommandTest, SecretAppearsNowhereInTheOutput) {
    const std::string secret = "sessionKey=sk-ant-sid01-VERYSECRET";
    const auto result = run({"set-credential", "claude-cookie"}, secret + "\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_FALSE(result.out.empty());
    EXPECT_EQ(result.out.find("VERYSECRET"), std::string::npos);
    EXPECT_EQ(result.err.find("VERYSECRET"), std::string::npos);
}

TEST_F(SetCredentialCommandTest, BadUsageExitsWithTwoAndStoresNothing) {
    for (const QStringList& arguments :
         {QStringList{"set-credential"}, QStringList{"set-credential", "claude"},
          QStringList{"set-credential", "claude-cookie", "--wipe"},
          QStringList{"set-credential", "codex-token", "--clear", "extra"},
          QStringList{"set-credentials", "claude-cookie"}}) {
        const auto result = run(arguments, "secret-value\n");
        EXPECT_EQ(result.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_FALSE(result.err.empty());
        EXPECT_EQ(result.out.find("secret-value"), std::string::npos);
        EXPECT_EQ(result.err.find("secret-value"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(file()));
}

} // namespace
} // namespace quillon
