#include "providers/cli_credentials.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view validItem =
    R"({"claudeAiOauth":{"accessToken":"sk-ant-oat01-abc","refreshToken":"r","expiresAt":1.7e12,
        "scopes":["user:inference"]},"other":1})";

class CliCredentialsTest : public ::testing::Test {
protected:
    // A stand-in for the keychain tool: a shell script with the given body.
    std::string fakeTool(std::string_view body) {
        const auto path = dir.write("bin/security", "#!/bin/sh\n" + std::string(body) + "\n");
        ::chmod(path.c_str(), 0755);
        return path.string();
    }
    CLICredentialSource toolSource(std::string tool) const {
        return {.securityTool = std::move(tool), .userName = "ada", .home = dir.path() / "home"};
    }
    CLICredentialSource fileSource() const {
        return {.securityTool = (dir.path() / "no-such-tool").string(),
                .userName = "ada",
                .home = dir.path() / "home"};
    }
    std::string readText(const std::filesystem::path& path) const {
        std::ifstream in(path);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    test::TempDir dir;
};

TEST_F(CliCredentialsTest, ParsesTokenAndExpiryAsStored) {
    const auto credentials = parseCLICredentials(validItem);
    ASSERT_TRUE(credentials);
    EXPECT_EQ(credentials->accessToken, "sk-ant-oat01-abc");
    EXPECT_EQ(credentials->expiresAt, 1.7e12);
}

TEST_F(CliCredentialsTest, ExpiryIsOptionalAndOnlyANumberCounts) {
    EXPECT_EQ(parseCLICredentials(R"({"claudeAiOauth":{"accessToken":"t"}})"),
              (CLICredentials{"t", std::nullopt}));
    EXPECT_EQ(parseCLICredentials(R"({"claudeAiOauth":{"accessToken":"t","expiresAt":"1000"}})"),
              (CLICredentials{"t", std::nullopt}));
    EXPECT_EQ(parseCLICredentials(R"({"claudeAiOauth":{"accessToken":"t","expiresAt":1000}})"),
              (CLICredentials{"t", 1000.0}));
}

TEST_F(CliCredentialsTest, EmptyTokenIsStillAToken) {
    EXPECT_EQ(parseCLICredentials(R"({"claudeAiOauth":{"accessToken":""}})"),
              (CLICredentials{"", std::nullopt}));
}

TEST_F(CliCredentialsTest, SurroundingWhiteSpaceIsTrimmed) {
    EXPECT_TRUE(parseCLICredentials("\n\t  " + std::string(validItem) + "\r\n\n"));
}

TEST_F(CliCredentialsTest, MalformedItemsGiveNothing) {
    for (const std::string_view text :
         {"", "  \n", "not json", "[1,2]", R"({"claudeAiOauth":"x"})", R"({"claudeAiOauth":{}})",
          R"({"claudeAiOauth":{"accessToken":42}})", R"({"claudeAiOauth":{"accessToken":null}})",
          R"({"accessToken":"t"})", R"({"claudeAiOauth":{"accessToken":"t"}} trailing)"}) {
        EXPECT_FALSE(parseCLICredentials(text)) << text;
    }
}

TEST_F(CliCredentialsTest, InvalidUtf8GivesNothing) {
    EXPECT_FALSE(parseCLICredentials("{\"claudeAiOauth\":{\"accessToken\":\"t\xff\"}}"));
    EXPECT_FALSE(parseCLICredentials(std::string(validItem) + "\xc3"));
}

TEST_F(CliCredentialsTest, LinuxFileIsReadWhereTheToolIsMissing) {
    dir.write("home/.claude/.credentials.json", validItem);
    const auto credentials = readCLICredentials(fileSource());
    ASSERT_TRUE(credentials);
    EXPECT_EQ(credentials->accessToken, "sk-ant-oat01-abc");
}

TEST_F(CliCredentialsTest, LinuxFileAbsentGivesNothing) {
    EXPECT_FALSE(readCLICredentials(fileSource()));
}

TEST_F(CliCredentialsTest, LinuxFileGarbageGivesNothing) {
    dir.write("home/.claude/.credentials.json", "\x01\x02garbage{");
    EXPECT_FALSE(readCLICredentials(fileSource()));
}

TEST_F(CliCredentialsTest, LinuxFileExpiredIsStillReadWithItsExpiry) {
    // Whether the token is used is the provider's decision; the reader keeps the number.
    dir.write("home/.claude/.credentials.json",
              R"({"claudeAiOauth":{"accessToken":"old","expiresAt":1000}})");
    EXPECT_EQ(readCLICredentials(fileSource()), (CLICredentials{"old", 1000.0}));
}

TEST_F(CliCredentialsTest, LinuxFileThatIsAFifoOrFolderGivesNothingWithoutBlocking) {
    std::filesystem::create_directories(dir.path() / "home/.claude");
    ASSERT_EQ(::mkfifo((dir.path() / "home/.claude/.credentials.json").c_str(), 0600), 0);
    EXPECT_FALSE(readCLICredentials(fileSource()));
    std::filesystem::remove(dir.path() / "home/.claude/.credentials.json");
    std::filesystem::create_directories(dir.path() / "home/.claude/.credentials.json");
    EXPECT_FALSE(readCLICredentials(fileSource()));
}

TEST_F(CliCredentialsTest, LinuxFileTooLargeGivesNothing) {
    std::string huge = R"({"claudeAiOauth":{"accessToken":"t"},"pad":")";
    huge.append(3u << 20, 'x');
    huge += "\"}";
    dir.write("home/.claude/.credentials.json", huge);
    EXPECT_FALSE(readCLICredentials(fileSource()));
}

TEST_F(CliCredentialsTest, ToolPrintingValidJsonGivesCredentials) {
    dir.write("item.json", validItem);
    const auto tool = fakeTool("cat '" + (dir.path() / "item.json").string() + "'; echo");
    // The tool wins over the file when both exist.
    dir.write("home/.claude/.credentials.json", R"({"claudeAiOauth":{"accessToken":"file"}})");
    const auto credentials = readCLICredentials(toolSource(tool));
    ASSERT_TRUE(credentials);
    EXPECT_EQ(credentials->accessToken, "sk-ant-oat01-abc");
    EXPECT_EQ(credentials->expiresAt, 1.7e12);
}

TEST_F(CliCredentialsTest, ToolIsRunWithExactlyTheKeychainArguments) {
    const auto log = dir.path() / "argv.txt";
    const auto tool =
        fakeTool("for a in \"$0\" \"$@\"; do printf '[%s]\\n' \"$a\"; done > '" + log.string() +
                 "'\necho '{\"claudeAiOauth\":{\"accessToken\":\"t\"}}'");
    ASSERT_TRUE(readCLICredentials(toolSource(tool)));
    EXPECT_EQ(readText(log), "[" + tool +
                                 "]\n[find-generic-password]\n[-s]\n[Claude Code-credentials]\n"
                                 "[-a]\n[ada]\n[-w]\n");
}

TEST_F(CliCredentialsTest, ToolExitingNonZeroGivesNothingEvenWithValidOutput) {
    dir.write("home/.claude/.credentials.json", validItem);
    const auto tool = fakeTool("echo '{\"claudeAiOauth\":{\"accessToken\":\"t\"}}'; exit 44");
    EXPECT_FALSE(readCLICredentials(toolSource(tool)));
}

TEST_F(CliCredentialsTest, ToolPrintingNothingGivesNothing) {
    EXPECT_FALSE(readCLICredentials(toolSource(fakeTool("exit 0"))));
}

TEST_F(CliCredentialsTest, ToolPrintingGarbageGivesNothing) {
    EXPECT_FALSE(readCLICredentials(toolSource(fakeTool("echo 'security: SecKeychainSearch'"))));
}

TEST_F(CliCredentialsTest, ToolNoiseOnStandardErrorIsIgnored) {
    const auto tool = fakeTool("head -c 1000000 /dev/zero >&2\n"
                               "echo '{\"claudeAiOauth\":{\"accessToken\":\"t\"}}'");
    EXPECT_EQ(readCLICredentials(toolSource(tool)), (CLICredentials{"t", std::nullopt}));
}

TEST_F(CliCredentialsTest, ToolThatCannotRunGivesNothingAndTheFileIsNotRead) {
    dir.write("home/.claude/.credentials.json", validItem);
    const auto path = dir.write("bin/security", "#!/bin/sh\necho hi\n");
    ::chmod(path.c_str(), 0644);
    EXPECT_FALSE(readCLICredentials(toolSource(path.string())));
}

TEST_F(CliCredentialsTest, ToolThatHangsIsKilledAtTheTimeOut) {
    auto source = toolSource(fakeTool("exec sleep 60"));
    source.toolTimeout = 300ms;
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(readCLICredentials(source));
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
}

TEST_F(CliCredentialsTest, ToolWithHugeOutputIsStoppedAndGivesNothing) {
    EXPECT_FALSE(readCLICredentials(toolSource(fakeTool("exec cat /dev/zero"))));
}

TEST_F(CliCredentialsTest, ToolDoesNotInheritOurDescriptors) {
    const int leaked = ::open("/dev/null", O_RDONLY); // deliberately without O_CLOEXEC
    ASSERT_GE(leaked, 0);
    const auto log = dir.path() / "fds.txt";
    const auto tool = fakeTool("if [ -e /proc/$$/fd/" + std::to_string(leaked) +
                               " ]; then echo open; else " + "echo closed; fi > '" + log.string() +
                               "'\necho '{\"claudeAiOauth\":{\"accessToken\":\"t\"}}'");
    EXPECT_TRUE(readCLICredentials(toolSource(tool)));
    ::close(leaked);
    EXPECT_EQ(readText(log), "closed\n");
}

TEST_F(CliCredentialsTest, CancelledReadGivesNothingPromptly) {
    Cancellation cancellation;
    cancellation.cancel();
    auto source = toolSource(fakeTool("exec sleep 60"));
    source.cancellation = &cancellation;
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(readCLICredentials(source));
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
}

TEST_F(CliCredentialsTest, LoginNameIsTheEffectiveUsersName) {
    const auto name = currentLoginName();
    EXPECT_FALSE(name.empty());
    const char* logname = std::getenv("USER");
    if (::geteuid() == 0) {
        EXPECT_EQ(name, "root");
    } else if (logname != nullptr) {
        EXPECT_EQ(name, logname);
    }
}

} // namespace
} // namespace quillon
