#include "platform/save_file.h"

#include <QSaveFile>

namespace velto {

bool saveWhole(const QString& path, const QByteArray& bytes, bool text) {
    QSaveFile file(path);
    if (!file.open(text ? QIODevice::WriteOnly | QIODevice::Text : QIODevice::WriteOnly)) return false;
    // QSaveFile misses an error that only shows when its own buffer is flushed at commit, and
    // would put a cut-short file in place: flush and check first. On failure the temporary file
    // goes with `file`.
    if (file.write(bytes) != bytes.size() || !file.flush() || file.error() != QFileDevice::NoError) return false;
    return file.commit();
}

}  // namespace velto
