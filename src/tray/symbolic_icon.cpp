#include "tray/symbolic_icon.h"

#include "app/runtime_folder.h"

#include <QBuffer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSaveFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <ctime>

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

QByteArray pngOf(const QImage& image) {
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

// The folder's modification time in whole seconds, or -1.
std::time_t modifiedSecond(const QString& folder) {
    struct stat status {};
    return ::stat(QFile::encodeName(folder).constData(), &status) == 0 ? status.st_mtime : -1;
}

// GTK 3 looks into an icon folder again only once its modification time, in whole seconds, has
// changed: a picture written within the same second as the folder's last change would stay
// unseen by a host that read the folder in that second. The folder's time is moved on to the
// next second then.
void markChanged(const QString& folder, std::time_t before) {
    if (before < 0 || modifiedSecond(folder) > before) {
        return;
    }
    const timespec next{.tv_sec = before + 1, .tv_nsec = 0};
    const std::array<timespec, 2> times{timespec{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, next};
    ::utimensat(AT_FDCWD, QFile::encodeName(folder).constData(), times.data(), 0);
}

// The names writeNamedIcon has written, which it removes when it writes another.
QStringList& namedIcons() {
    static QStringList names;
    return names;
}

void removeNamedIcon(const QString& folder, const QString& name) {
    const QString file = name + QStringLiteral(".png");
    QFile::remove(QDir(folder).filePath(file));
    QDirIterator sizes(folder + QStringLiteral("/hicolor"), QDir::Dirs | QDir::NoDotAndDotDot);
    while (sizes.hasNext()) {
        QFile::remove(sizes.next() + QStringLiteral("/apps/") + file);
    }
}

QString writeThemeFolder() {
    QFile resource(QString::fromLatin1(symbolicIconResource));
    if (!resource.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray svg = resource.readAll();
    const auto runtime = runtimeFolder();
    if (!runtime) {
        return {};
    }
    const QDir folder(QFile::decodeName((*runtime / "quillon" / "icons").c_str()));
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

bool writeNamedIcon(const QString& name, const QList<QImage>& images) {
    const QString folder = symbolicIconThemePath();
    if (folder.isEmpty() || images.isEmpty()) {
        return false;
    }
    const std::time_t before = modifiedSecond(folder);
    const QDir dir(folder);
    const QString file = name + QStringLiteral(".png");
    const QImage* largest = &images.first();
    bool written = true;
    for (const QImage& image : images) {
        const QString path = QStringLiteral("hicolor/%1x%1/apps/%2").arg(image.width()).arg(file);
        written = writeCopy(pngOf(image), dir.filePath(path)) && written;
        if (image.width() > largest->width()) {
            largest = &image;
        }
    }
    written = writeCopy(pngOf(*largest), dir.filePath(file)) && written;

    QStringList& names = namedIcons();
    for (const QString& old : std::as_const(names)) {
        if (old != name) {
            removeNamedIcon(folder, old);
        }
    }
    names = {name};
    markChanged(folder, before);
    return written;
}

} // namespace quillon
