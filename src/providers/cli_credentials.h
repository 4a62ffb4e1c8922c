#pragma once

#include "model/cancellation.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

// The Claude Code login as the command-line tool keeps it. `expiresAt` is the stored number as
// it stands, with no unit conversion.
struct CLICredentials {
    std::string accessToken;
    std::optional<double> expiresAt;

    bool operator==(const CLICredentials&) const = default;
};

// Where the Claude Code login is looked for. Where the keychain tool exists it is asked;
// elsewhere (every Linux system) the tool's own file below the home folder is read.
struct CLICredentialSource {
    std::string securityTool = "/usr/bin/security";
    std::string userName;
    std::filesystem::path home;
    std::chrono::milliseconds toolTimeout{std::chrono::seconds(10)};
    const Cancellation* cancellation = nullptr;
};

// The item's JSON text: surrounding white space is ignored, the text must be valid UTF-8 and a
// JSON object whose `claudeAiOauth` object holds a string `accessToken`; a numeric `expiresAt`
// is taken when present.
std::optional<CLICredentials> parseCLICredentials(std::string_view text);

// Runs `security find-generic-password -s "Claude Code-credentials" -a <user> -w` when the tool
// exists, else reads <home>/.claude/.credentials.json; either way parsed as above.
std::optional<CLICredentials> readCLICredentials(const CLICredentialSource& source);

// The login name of the effective user, "" when the user database does not know it.
std::string currentLoginName();

} // namespace quillon
