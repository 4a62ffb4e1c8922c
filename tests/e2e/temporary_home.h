#pragma once

#include "support/temp_dir.h"

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <map>
#include <optional>
#include <string_view>

namespace quillon::test {

// A home folder of its own for one test: HOME and the XDG folders of this process point into
// it from construction (before anything reads them) until destruction, when the values they had
// before come back. Children started meanwhile inherit them.
class TemporaryHome {
public:
    TemporaryHome();
    ~TemporaryHome();
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;

    const std::filesystem::path& path() const { return dir_.path(); }
    std::filesystem::path configHome() const { return path() / ".config"; }
    // Where the program keeps its settings, credentials and snapshot.
    std::filesystem::path settingsFile() const { return configHome() / "quillon/quillon.conf"; }
    QString settingsPath() const { return QString::fromStdString(settingsFile().string()); }
    // Writes `contents` below the home folder, creating parent folders.
    std::filesystem::path write(const std::filesystem::path& relative,
                                std::string_view contents) const {
        return dir_.write(relative, contents);
    }

private:
    TempDir dir_;
    std::map<QByteArray, std::optional<QByteArray>> saved_;
};

} // namespace quillon::test
