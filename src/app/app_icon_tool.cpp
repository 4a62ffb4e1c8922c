// Writes the application icon as PNG files for the hicolor icon theme, so that the packaged
// icons are drawn by the very code the running program uses.
//
//   quillon_icon_tool OUTPUT_DIR
//
// creates OUTPUT_DIR/hicolor/<n>x<n>/apps/quillon.png for every usual theme size.

#include "app/app_icon.h"

#include <QDir>
#include <QString>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: quillon_icon_tool OUTPUT_DIR\n", stderr);
        return 2;
    }
    const QDir output(QString::fromLocal8Bit(argv[1]));
    for (const int side : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const QString folder = QStringLiteral("hicolor/%1x%1/apps").arg(side);
        const QString file = output.filePath(folder + QStringLiteral("/quillon.png"));
        if (!output.mkpath(folder) ||
            !quillon::generatePlaceholderAppIcon(side).save(file, "PNG")) {
            std::fprintf(stderr, "quillon_icon_tool: cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
