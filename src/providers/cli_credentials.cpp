#include "providers/cli_credentials.h"

#include "providers/bounded_file.h"
#include "providers/child_output.h"

#include <nlohmann/json.hpp>
#include <simdjson.h>

#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace quillon {
namespace {

// The item is a few hundred bytes; anything far larger is not it.
constexpr std::size_t maxCredentialBytes = 1 << 20;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view space = " \t\n\r\v\f";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(space);
    return text.substr(first, last - first + 1);
}

} // namespace

std::optional<CLICredentials> parseCLICredentials(std::string_view text) {
    if (!simdjson::validate_utf8(text.data(), text.size())) {
        return std::nullopt;
    }
    const auto body = trimmed(text);
    if (body.empty()) {
        return std::nullopt;
    }
    const auto json = nlohmann::json::parse(body, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    const auto oauth = json.find("claudeAiOauth");
    if (oauth == json.end() || !oauth->is_object()) {
        return std::nullopt;
    }
    const auto token = oauth->find("accessToken");
    if (token == oauth->end() || !token->is_string()) {
        return std::nullopt;
    }
    CLICredentials credentials{token->get<std::string>(), std::nullopt};
    const auto expiresAt = oauth->find("expiresAt");
    if (expiresAt != oauth->end() && expiresAt->is_number()) {
        credentials.expiresAt = expiresAt->get<double>();
    }
    return credentials;
}

std::optional<CLICredentials> readCLICredentials(const CLICredentialSource& source) {
    std::error_code error;
    if (!source.securityTool.empty() && std::filesystem::exists(source.securityTool, error)) {
        const std::vector<std::string> arguments{
            "find-generic-password", "-s", "Claude Code-credentials", "-a", source.userName, "-w"};
        const auto output = childOutput(source.securityTool, arguments,
                                        {.timeout = source.toolTimeout,
                                         .maxOutputBytes = maxCredentialBytes,
                                         .cancellation = source.cancellation});
        if (!output) {
            return std::nullopt;
        }
        return parseCLICredentials(*output);
    }
    const auto contents =
        readBoundedFile(source.home / ".claude" / ".credentials.json", maxCredentialBytes);
    if (!contents) {
        return std::nullopt;
    }
    return parseCLICredentials(*contents);
}

std::string currentLoginName() {
    long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 4096);
    passwd entry{};
    passwd* found = nullptr;
    for (;;) {
        const int result = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
        if (result == ERANGE && buffer.size() < (1u << 20)) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (result != 0 || found == nullptr || found->pw_name == nullptr) {
            return {};
        }
        return found->pw_name;
    }
}

} // namespace quillon
