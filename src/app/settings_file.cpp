#include "app/settings_file.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillon {
namespace {

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

SettingsFile::SettingsFile(QString path) : path_(std::move(path)) {}

QString SettingsFile::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/quillon/quillon.conf");
}

std::optional<std::string> SettingsFile::readBytes(std::string_view key) const {
    const QSettings settings(path_, QSettings::IniFormat);
    const QVariant value = settings.value(toQString(key));
    switch (value.typeId()) {
    case QMetaType::QByteArray:
        return value.toByteArray().toStdString();
    case QMetaType::QString:
        return value.toString().toStdString();
    default:
        return std::nullopt;
    }
}

void SettingsFile::writeBytes(std::string_view key, std::string_view bytes) {
    prepareSecureFile();
    {
        QSettings settings(path_, QSettings::IniFormat);
        settings.setValue(toQString(key),
                          QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
        settings.sync();
    }
    // QSettings replaces the file through a temporary one that inherits the old file's mode;
    // set it again anyway so that nothing else can ever widen it.
    ::chmod(QFile::encodeName(path_).constData(), S_IRUSR | S_IWUSR);
}

void SettingsFile::prepareSecureFile() const {
    const QString folder = QFileInfo(path_).absolutePath();
    const QByteArray folderName = QFile::encodeName(folder);
    if (!QDir().exists(folder)) {
        QDir().mkpath(QFileInfo(folder).absolutePath());
        ::mkdir(folderName.constData(), S_IRWXU);
    }
    ::chmod(folderName.constData(), S_IRWXU);
    // Create the file ourselves with 0600 before QSettings ever writes it, so that the secrets
    // are never readable by others, not even for a moment.
    const int fd = ::open(QFile::encodeName(path_).constData(), O_WRONLY | O_CREAT | O_CLOEXEC,
                          S_IRUSR | S_IWUSR);
    if (fd >= 0) {
        ::fchmod(fd, S_IRUSR | S_IWUSR);
        ::close(fd);
    }
}

} // namespace quillon
