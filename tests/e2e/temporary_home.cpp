#include "temporary_home.h"

#include <QtGlobal>

namespace quillon::test {
namespace {

std::optional<QByteArray> current(const char* name) {
    return qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
}

} // namespace

TemporaryHome::TemporaryHome() {
    namespace fs = std::filesystem;
    const fs::path runtime = path() / ".run";
    fs::create_directories(runtime);
    fs::permissions(runtime, fs::perms::owner_all, fs::perm_options::replace);
    const std::map<const char*, fs::path> folders{
        {"HOME", path()},
        {"XDG_CONFIG_HOME", configHome()},
        {"XDG_DATA_HOME", path() / ".local/share"},
        {"XDG_CACHE_HOME", path() / ".cache"},
        {"XDG_STATE_HOME", path() / ".local/state"},
        {"XDG_RUNTIME_DIR", runtime},
    };
    for (const auto& [name, folder] : folders) {
        saved_.emplace(name, current(name));
        qputenv(name, QByteArray::fromStdString(folder.string()));
    }
}

TemporaryHome::~TemporaryHome() {
    for (const auto& [name, value] : saved_) {
        if (value) {
            qputenv(name.constData(), *value);
        } else {
            qunsetenv(name.constData());
        }
    }
}

} // namespace quillon::test
