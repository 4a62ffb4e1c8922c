#include "cli/set_credential_command.h"

#include "app/auth_store.h"

#include <iostream>
#include <iterator>

namespace quillon {
namespace {

using Setter = void (AuthStore::*)(const std::string&);

struct CredentialName {
    std::string_view name;
    std::string_view description;
    Setter set;
};

constexpr CredentialName credentialNames[] = {
    {"claude-cookie", "Claude cookie header", &AuthStore::setClaudeCookieHeader},
    {"codex-cookie", "ChatGPT cookie header", &AuthStore::setCodexCookieHeader},
    {"codex-token", "Codex access token", &AuthStore::setCodexAccessToken},
};

int usageError(std::ostream& err) {
    err << "Usage: quillon set-credential claude-cookie|codex-cookie|codex-token [--clear]\n"
           "The value is read from standard input, e.g.  quillon set-credential claude-cookie "
           "< cookie.txt\n";
    return 2;
}

} // namespace

int runSetCredential(std::span<const std::string> args, CommandStreams streams) {
    if (args.empty() || args.size() > 2 || (args.size() == 2 && args[1] != "--clear")) {
        return usageError(streams.err);
    }
    const CredentialName* target = nullptr;
    for (const auto& candidate : credentialNames) {
        if (candidate.name == args[0]) {
            target = &candidate;
        }
    }
    if (target == nullptr) {
        return usageError(streams.err);
    }

    std::string value;
    if (args.size() == 1) {
        value.assign(std::istreambuf_iterator<char>(streams.in), std::istreambuf_iterator<char>());
        if (value.ends_with("\r\n")) {
            value.resize(value.size() - 2);
        } else if (value.ends_with('\n')) {
            value.pop_back();
        }
    }

    AuthStore store;
    (store.*(target->set))(value);
    if (value.empty()) {
        streams.out << target->description << " cleared.\n";
    } else {
        streams.out << target->description << " stored (" << value.size() << " characters).\n";
    }
    return 0;
}

} // namespace quillon
