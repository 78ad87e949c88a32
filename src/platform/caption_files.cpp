#include "platform/caption_files.h"

#include "platform/save_file.h"

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
    saveWhole(preferences_.child(name), parameters.value(0).toUtf8(), false);
}

}  // namespace velto
