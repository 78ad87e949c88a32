// Favourite playback: the command queue and the timers that rise, run and fall.

#include "device/main_app.h"

namespace velto {

void MainApp::wirePlayback() {
    ExceptionBoundary& b = p_.boundary;
    seqTimer.action = [this] { seqTimer_Action(); };
    playbackStop.action.connect(b.wrap([this] { playbackStop_Action(); }));
}

void MainApp::seqTimer_Action() {
    // The queue is a stack: the last command appended goes first.
    if (cmdSequence.isEmpty()) {
        seqTimer.setMode(Timer::Off);
        return;
    }
    const QString command = cmdSequence.takeLast();
    sendStimData(command);
}

}  // namespace velto
