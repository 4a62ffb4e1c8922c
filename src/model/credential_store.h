#pragma once

#include <string>

namespace quillon {

// The stored web credentials the providers fall back on. "" means "not set". Values are kept
// exactly as given: nothing is trimmed or validated.
class CredentialStore {
public:
    virtual ~CredentialStore() = default;

    virtual std::string claudeCookieHeader() const = 0;
    virtual std::string codexCookieHeader() const = 0;
    virtual std::string codexAccessToken() const = 0;

    // Called from a provider's background fetch; the store decides how the write reaches
    // whatever drives the interface.
    virtual void setCodexAccessToken(const std::string& token) = 0;
};

} // namespace quillon
