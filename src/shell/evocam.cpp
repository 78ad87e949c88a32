// Captions for the webcam application. The script runner that carries them arrives with the
// captions themselves; until then a caption goes nowhere.

#include "device/main_app.h"

namespace velto {

void MainApp::evoCamCaption(const QString& reply, const QString& name) {
    Q_UNUSED(reply);
    Q_UNUSED(name);
}

void MainApp::evoCamMessage(const QString& text, const QString& name) {
    Q_UNUSED(text);
    Q_UNUSED(name);
}

}  // namespace velto
