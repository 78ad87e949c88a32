// Sequences of favourites, and the stop of every kind of playback.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

void MainApp::createSequence_Action() {
    resetAll();
    // Bottom up, so that the top row is the last element and plays first.
    bool high = false, low = false;
    for (int row = favsList.listCount() - 1; row >= 0; --row) {
        if (favsList.cellState(row, 4) != 1) continue;
        stimSequence.push_back(row);
        if (same(favsList.cell(row, 10), QStringLiteral("H")))
            high = true;
        else
            low = true;
    }
    // On Cancel the rows stay in stimSequence until the next resetAll.
    if (high && low &&
        !p_.dialogs.okCancel(
            QStringLiteral("Warning: this sequence contains both High and Low power settings"),
            Dialogs::Critical))
        return;
    randMode.setText(QStringLiteral("Sequence"));
    playStimSequence();
}

void MainApp::playStimSequence() {
    if (stimSequence.empty()) {
        randMode.setText({});
        return;
    }
    const qint64 row = stimSequence.back();
    stimSequence.pop_back();
    playStimFavourite(row, false);
}

void MainApp::sequenceFavouriteEnded() {
    if (stimSequence.empty() && rampTimer.mode() == Timer::Off && rampDown.mode() == Timer::Off) {
        cmdSequence.append(QStringLiteral("A0"));
        cmdSequence.append(QStringLiteral("B0"));
        tickCounter.setText(QStringLiteral("DONE"));
        manualControl = true;
        logIf(QStringLiteral("Sequence completed (no more commands)"));
        startQueue();
        return;
    }
    // The next favourite's first block goes out above the zeros still queued: the outputs dip
    // to zero until its first rise tick.
    playStimSequence();
}

void MainApp::playbackStop_Action() {
    resetAll();
    cmdSequence = {QStringLiteral("K"), QStringLiteral("K")};
    stimSequence.clear();
    tickCounter.setText(QStringLiteral("STOP"));
    startQueue();
    logIf(QStringLiteral("STOP ALL"));
}

void MainApp::seqAllOff() {
    for (int row = 0; row < favsList.listCount(); ++row) favsList.setCellCheck(row, 4, false);
}

}  // namespace velto
