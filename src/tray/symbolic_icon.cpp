#include "tray/symbolic_icon.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace quillon {
namespace {

bool writeCopy(const QByteArray& svg, const QString& path) {
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        return false;
    }
    QFile existing(path);
    if (existing.open(QIODevice::ReadOnly) && existing.readAll() == svg) {
        return true;
    }
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(svg) == svg.size() && file.commit();
}

QString writeThemeFolder() {
    QFile resource(QString::fromLatin1(symbolicIconResource));
    if (!resource.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray svg = resource.readAll();
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty()) {
        return {};
    }
    const QDir folder(runtime + QStringLiteral("/quillon/icons"));
    const QString file = QString::fromLatin1(symbolicIconName) + QStringLiteral(".svg");
    const bool written =
        writeCopy(svg, folder.filePath(QStringLiteral("hicolor/scalable/apps/") + file)) &&
        writeCopy(svg, folder.filePath(file));
    return written ? folder.absolutePath() : QString();
}

} // namespace

QString symbolicIconThemePath() {
    static const QString path = writeThemeFolder();
    return path;
}

} // namespace quillon
