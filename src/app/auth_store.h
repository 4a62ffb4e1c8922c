#pragma once

#include "app/settings_file.h"
#include "model/credential_store.h"

#include <QObject>

namespace quillon {

// The stored web credentials, each under its own key in the settings file: "claudeCookieHeader",
// "codexCookieHeader" and "codexAccessToken". A read always returns what the file holds now
// ("" when the key is missing); a write is stored and flushed at once.
class AuthStore : public QObject, public CredentialStore {
    Q_OBJECT

public:
    explicit AuthStore(SettingsFile file = SettingsFile(), QObject* parent = nullptr);

    std::string claudeCookieHeader() const override;
    std::string codexCookieHeader() const override;
    std::string codexAccessToken() const override;

    void setClaudeCookieHeader(const std::string& value);
    void setCodexCookieHeader(const std::string& value);
    // Safe from any thread: a write from a background fetch is carried out on this object's
    // (the main) thread, ahead of anything that thread is asked to do afterwards.
    void setCodexAccessToken(const std::string& value) override;

    const SettingsFile& file() const { return file_; }

signals:
    void changed();

private:
    std::string read(std::string_view key) const;
    void write(std::string_view key, const std::string& value);

    SettingsFile file_;
};

} // namespace quillon
