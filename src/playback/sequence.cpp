// Sequences of favourites, and the stop of every kind of playback.

#include "device/main_app.h"

namespace velto {

void MainApp::playbackStop_Action() {
    resetAll();
    cmdSequence = {QStringLiteral("K"), QStringLiteral("K")};
    stimSequence.clear();
    tickCounter.setText(QStringLiteral("STOP"));
    seqTimer.setMode(Timer::Multiple);
    logIf(QStringLiteral("STOP ALL"));
}

}  // namespace velto
