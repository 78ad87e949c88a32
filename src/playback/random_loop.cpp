// Random and loop playback, and "veltorandom.ini".

#include "device/main_app.h"

namespace velto {

void MainApp::readRandomSettings(const QString& path) {
    // The reader of the random settings arrives with random playback.
    Q_UNUSED(path);
}

}  // namespace velto
