#pragma once

#include "model/key_value_store.h"

#include <QString>

namespace quillon {

// The per-user settings file, $XDG_CONFIG_HOME/quillon/quillon.conf (INI, the format of
// QSettings("quillon", "quillon")). It holds credentials, so the folder is kept 0700 and the file
// 0600. Every write is flushed at once, so a new reader (another holder, another process, the
// next launch) sees it immediately. Each call opens its own QSettings, which makes the store safe
// to use from any thread.
class SettingsFile : public KeyValueStore {
public:
    explicit SettingsFile(QString path = defaultPath());

    static QString defaultPath();
    const QString& path() const { return path_; }

    std::optional<std::string> readBytes(std::string_view key) const override;
    void writeBytes(std::string_view key, std::string_view bytes) override;

private:
    void prepareSecureFile() const;

    QString path_;
};

} // namespace quillon
