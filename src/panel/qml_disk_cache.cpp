#include "panel/qml_disk_cache.h"

#include <QByteArray>
#include <QtGlobal>

namespace quillon {

void keepQmlCacheInMemory() {
    // The engine reads this once, when the first engine of the process starts.
    qputenv("QML_DISABLE_DISK_CACHE", "1");
}

} // namespace quillon
