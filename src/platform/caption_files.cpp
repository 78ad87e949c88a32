#include "platform/caption_files.h"

#include <QSaveFile>

namespace velto {

void CaptionFiles::run(const QString& script, const QStringList& parameters) {
    QString name;
    if (script == QLatin1String(kStatusCaptionScript))
        name = QString::fromLatin1(kStatusFile);
    else if (script == QLatin1String(kMessageCaptionScript))
        name = QString::fromLatin1(kMessageFile);
    if (name.isEmpty() || !preferences_.available()) return;

    // The camera name (the second parameter) is not used: it picks a camera inside the webcam
    // application, while a streaming program reads one file per caption whatever the camera.
    // No line end is added, so a text source shows exactly the caption.
    QSaveFile file(preferences_.child(name));
    if (!file.open(QIODevice::WriteOnly)) return;
    const QByteArray text = parameters.value(0).toUtf8();
    // QSaveFile misses an error that only shows when its buffer is flushed at commit, and would
    // put a cut-short file in place: flush and check first. On failure the old file stays.
    if (file.write(text) != text.size() || !file.flush() || file.error() != QFileDevice::NoError)
        return;
    file.commit();
}

}  // namespace velto
