#pragma once

#include <QDir>
#include <QString>
#include <QtGlobal>

namespace quillon::test {

// Where a test leaves pictures for people to look at: the folder QUILLON_SCREENSHOTS names
// (`make screenshots` sets it to build/screenshots), else the test's own temporary folder, which
// goes when the test ends. Created when missing.
inline QString screenshotFolder(const QString& below = {}) {
    QString folder = qEnvironmentVariable("QUILLON_SCREENSHOTS");
    if (folder.isEmpty()) {
        folder = QDir::tempPath() + QStringLiteral("/screenshots");
    }
    if (!below.isEmpty()) {
        folder += QLatin1Char('/') + below;
    }
    QDir().mkpath(folder);
    return folder;
}

} // namespace quillon::test
