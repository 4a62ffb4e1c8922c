#pragma once

#include "model/credential_store.h"
#include "model/key_value_store.h"

#include <map>
#include <mutex>
#include <string>

namespace quillon::test {

// Credentials held in memory, for core tests that need no settings file.
class MemoryCredentialStore : public CredentialStore {
public:
    std::string claude;
    std::string codexCookie;
    std::string codexToken;
    int tokenWrites = 0;

    std::string claudeCookieHeader() const override { return claude; }
    std::string codexCookieHeader() const override { return codexCookie; }
    std::string codexAccessToken() const override { return codexToken; }
    void setCodexAccessToken(const std::string& token) override {
        codexToken = token;
        ++tokenWrites;
    }
};

// Byte values held in memory.
class MemoryKeyValueStore : public KeyValueStore {
public:
    std::optional<std::string> readBytes(std::string_view key) const override {
        const std::lock_guard lock(mutex_);
        const auto found = values_.find(std::string(key));
        if (found == values_.end()) {
            return std::nullopt;
        }
        return found->second;
    }
    void writeBytes(std::string_view key, std::string_view bytes) override {
        const std::lock_guard lock(mutex_);
        values_[std::string(key)] = std::string(bytes);
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::string> values_;
};

} // namespace quillon::test
