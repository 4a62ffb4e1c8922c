#include "app/auth_store.h"

#include <QThread>

namespace quillon {

AuthStore::AuthStore(SettingsFile file, QObject* parent)
    : QObject(parent), file_(std::move(file)) {}

std::string AuthStore::claudeCookieHeader() const {
    return read("claudeCookieHeader");
}
std::string AuthStore::codexCookieHeader() const {
    return read("codexCookieHeader");
}
std::string AuthStore::codexAccessToken() const {
    return read("codexAccessToken");
}

void AuthStore::setClaudeCookieHeader(const std::string& value) {
    write("claudeCookieHeader", value);
}

void AuthStore::setCodexCookieHeader(const std::string& value) {
    write("codexCookieHeader", value);
}

void AuthStore::setCodexAccessToken(const std::string& value) {
    if (QThread::currentThread() == thread()) {
        write("codexAccessToken", value);
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, value] { write("codexAccessToken", value); }, Qt::QueuedConnection);
}

std::string AuthStore::read(std::string_view key) const {
    return file_.readBytes(key).value_or(std::string());
}

void AuthStore::write(std::string_view key, const std::string& value) {
    file_.writeBytes(key, value);
    emit changed();
}

} // namespace quillon
