// Favourite playback: the command queue and the timers that rise, run and fall.

#include <algorithm>
#include <limits>

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {

// Rows come as 64-bit numbers (a peer may send any); the list counts in int.
int listRow(qint64 row) {
    if (row < 0 || row > std::numeric_limits<int>::max())
        throw OutOfBounds("row " + std::to_string(row) + " out of bounds");
    return static_cast<int>(row);
}

QString tenth(qint64 target, qint64 step) {
    return Format(static_cast<double>(target) * static_cast<double>(step) / 10.0,
                  QStringLiteral("#"));
}

}  // namespace

void MainApp::wirePlayback() {
    ExceptionBoundary& b = p_.boundary;
    // Each handler runs under the source its commands are logged with, should a cap act.
    auto from = [this](CommandSource source, void (MainApp::*handler)()) {
        return [this, source, handler] {
            SourceScope scope(*this, source);
            (this->*handler)();
        };
    };
    using S = CommandSource;
    seqTimer.action = [this] {
        SourceScope scope(*this, queuedSource);
        seqTimer_Action();
    };
    rampTimer.action = [this] {
        SourceScope scope(*this, rampSource());
        rampTimer_Action();
    };
    runTimer.action = from(S::Fall, &MainApp::runTimer_Action);
    rampDown.action = from(S::Fall, &MainApp::rampDown_Action);
    moveTimer.action = from(S::Move, &MainApp::moveTimer_Action);
    randomTimer.action = [this] {
        SourceScope scope(*this, rampSource());
        randomTimer_Action();
    };
    loopTimer.action = [this] { loopTimer_Action(); };
    playbackStop.action.connect(b.wrap([this] { playbackStop_Action(); }));
    playSelected.action.connect(b.wrap(from(S::Favourite, &MainApp::playSelected_Action)));
    gotoSelected.action.connect(b.wrap(from(S::Favourite, &MainApp::gotoSelected_Action)));
    adjustSelected.action.connect(b.wrap(from(S::Move, &MainApp::adjustSelected_Action)));
    Adjust.action.connect(b.wrap(from(S::Move, &MainApp::Adjust_Action)));
    createSequence.action.connect(b.wrap(from(S::Favourite, &MainApp::createSequence_Action)));
    randomStart.action.connect(b.wrap(from(S::RandomDraw, &MainApp::randomStart_Action)));
    randomLoop.action.connect(b.wrap(from(S::LoopBoost, &MainApp::randomLoop_Action)));
    randomStop.action.connect(b.wrap([this] { randomStop_Action(); }));
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

void MainApp::playSelected_Action() {
    const int row = favsList.listIndex();
    if (row < 0) {
        p_.dialogs.message(QStringLiteral("Select a favourite setting first, then click Play"));
        return;
    }
    resetAll();
    playStimFavourite(row, false);
}

void MainApp::gotoSelected_Action() {
    const int row = favsList.listIndex();
    if (row < 0) {
        p_.dialogs.message(QStringLiteral("Select a favourite setting first, then click Set"));
        return;
    }
    resetAll();
    playStimFavourite(row, true);
}

void MainApp::playStimFavourite(qint64 row, bool continueAfter) {
    const QStringList modes = modeTable(true);
    const int r = listRow(row);
    favsList.setListIndex(r);

    continueAfterPlayback = continueAfter;
    const QString modeName = favsList.cell(r, 5);
    qint64 modeIndex = -1;
    for (qsizetype i = 0; i < modes.size(); ++i) {
        if (same(modes[i], modeName)) {
            modeIndex = i;
            break;
        }
    }
    targetA = ValInt(favsList.cell(r, 6));
    targetB = ValInt(favsList.cell(r, 7));
    fallTime = ValInt(favsList.cell(r, 3));
    qint64 rise = ValInt(favsList.cell(r, 1));

    // An advanced slave runs the go-to ramp itself; the cells go as they stand.
    if (same(systemMode, QStringLiteral("master")) && advancedRemote && continueAfterPlayback) {
        manualControl = false;
        const QString line = QStringLiteral(";goto=") + favsList.cell(r, 6) + QLatin1Char(',') +
                             favsList.cell(r, 7) + QLatin1Char(',') + favsList.cell(r, 8) +
                             QLatin1Char(',') + favsList.cell(r, 9) + QLatin1Char(',') +
                             favsList.cell(r, 1) + QLatin1Char(',') + Str(modeIndex) +
                             QLatin1Char(',') + favsList.cell(r, 10);
        sendRemoteData(line);
        logIf(QStringLiteral("Sending remote command ") + line);
        return;
    }

    if (randomPlay && loopPower.value()) {
        // Nothing clamps the boost: a target may go past 100.
        const double boostA = Val(loopBoostA.text());
        if (boostA > 0 && boostA < 10)
            targetA = Trunc(boostA * static_cast<double>(loopCount) + static_cast<double>(targetA));
        const double boostB = Val(loopBoostB.text());
        if (boostB > 0 && boostB < 10)
            targetB = Trunc(boostB * static_cast<double>(loopCount) + static_cast<double>(targetB));
    }
    if (randomPlay && randomPower.value()) {
        Random random(p_.seed());
        targetA = Trunc((0.9 + static_cast<double>(random.LessThan(20)) / 100.0) *
                        static_cast<double>(targetA));
        targetB = Trunc((0.9 + static_cast<double>(random.LessThan(20)) / 100.0) *
                        static_cast<double>(targetB));
    }

    if (autoAdjust) {
        if (std::max(targetA, targetB) > 50 && rise < 60)
            rise = 60;
        else if (rise < 30)
            rise = 30;
        if (fallTime < 10) fallTime = 10;
    } else {
        if (rise == 1) rise = 2;
        if (fallTime < 5) fallTime = 0;
    }

    // A negative Rise lands in the middle branch and starts above the top: left as it is.
    QString a, b;
    if (rise == 0) {
        a = Str(targetA);
        b = Str(targetB);
    } else if (rise < 10) {
        a = tenth(targetA, SubSat(10, rise));
        b = tenth(targetB, SubSat(10, rise));
    } else {
        a = tenth(targetA, 1);
        b = tenth(targetB, 1);
    }

    // Appended in reverse: the box gets power, mode, D, C, B, A.
    cmdSequence.append(QStringLiteral("A") + a);
    cmdSequence.append(QStringLiteral("B") + b);
    cmdSequence.append(QStringLiteral("C") + favsList.cell(r, 8));
    cmdSequence.append(QStringLiteral("D") + favsList.cell(r, 9));
    if (modeIndex > -1) cmdSequence.append(QStringLiteral("M") + Str(modeIndex));
    cmdSequence.append(favsList.cell(r, 10));

    if (randomPlay && randomTimes.value()) {
        Random random(p_.seed());
        sequenceTicks = random.InRange(ValInt(minRun.text()), ValInt(maxRun.text()));
    } else {
        sequenceTicks = ValInt(favsList.cell(r, 2));
    }

    startQueue();
    logIf(QStringLiteral("Setting to target levels"));
    tickCounter.setText(QStringLiteral("RISE"));
    seqComplete = false;

    if (rise == 0) {
        // Long enough for the six commands of the first block.
        rampStep = 9;
        rampTimer.setPeriod(1200);
    } else if (rise < 10) {
        rampStep = SubSat(10, rise);
        rampTimer.setPeriod(1000);
    } else {
        rampStep = 1;
        rampTimer.setPeriod(MulSat(rise, 100));  // a huge Rise is the longest period
    }
    rampTimer.setMode(Timer::Multiple);
    manualControl = false;
    elapsedTimer.setMode(Timer::Off);
}

void MainApp::reportRampStep(const char* direction) {
    if (!hasStatusPeer()) return;
    const QString percent = Str(MulSat(rampStep, 10));
    if (useProgress) {
        QString suffix;
        if (randomPlay && loopMode)
            suffix = QStringLiteral(" (loop)");
        else if (randomPlay)
            suffix = QStringLiteral(" (random)");
        sendRemoteData(QStringLiteral(";PROGRESS:") + QLatin1String(direction) + QLatin1Char(' ') +
                       percent + QLatin1Char('%') + suffix);
        return;
    }
    sendRemoteData(QStringLiteral(";STATUS:percent=") + percent);
    if (randomPlay) {
        sendRemoteData(QStringLiteral(";STATUS:random=true"));
        if (loopMode) sendRemoteData(QStringLiteral(";STATUS:loop=true"));
    }
}

void MainApp::queueRampStep() {
    const QString a = tenth(targetA, rampStep);
    const QString b = tenth(targetB, rampStep);
    cmdSequence.append(QStringLiteral("A") + a);
    cmdSequence.append(QStringLiteral("B") + b);
    startQueue();
    logIf(QStringLiteral("Next commands A ") + a + QStringLiteral(" B") + b);
}

void MainApp::rampTimer_Action() {
    tickCounter.setText(Str(MulSat(rampStep, 10)) + QLatin1Char('%'));
    logIf(QStringLiteral("Ramp step  ") + Str(rampStep));
    reportRampStep("RISING");
    rampStep = AddSat(rampStep, 1);

    if (rampStep != 11) {
        queueRampStep();
        return;
    }

    rampTimer.setMode(Timer::Off);
    cmdSequence.append(QStringLiteral("A") + Str(targetA));
    cmdSequence.append(QStringLiteral("B") + Str(targetB));
    startQueue();
    logIf(QStringLiteral("Target levels set"));
    logIf(QStringLiteral("Commands in buffer : ") +
          Str(static_cast<qint64>(cmdSequence.size()) - 1));
    // The top levels left a full period ago; whatever is still queued, the pair above
    // included, is dropped unsent.
    while (!cmdSequence.isEmpty()) cmdSequence.removeLast();

    if (hasStatusPeer())
        sendRemoteData(useProgress ? QStringLiteral(";PROGRESS:DONE")
                                   : QStringLiteral(";STATUS:percent=DONE"));

    if (continueAfterPlayback) {
        tickCounter.setText(QStringLiteral("DONE"));
        manualControl = true;
        elapsedTime = 0;
        elapsedTimer.setMode(Timer::Multiple);
    } else {
        runTimer.setMode(Timer::Multiple);
        rampStep = 0;
    }
}

void MainApp::runTimer_Action() {
    // Exactly 0 ends the run: a Run of 0 goes to -1 and counts on below zero.
    sequenceTicks = SubSat(sequenceTicks, 1);
    if (hasStatusPeer()) {
        sendRemoteData(QStringLiteral(";STATUS:countdown=") + Str(sequenceTicks));
        sendRemoteData(sequenceTicks != 0 ? QStringLiteral(";STATUS:sequence=true")
                                          : QStringLiteral(";STATUS:sequence=false"));
    }
    tickCounter.setText(Str(sequenceTicks));
    if (sequenceTicks != 0) return;

    runTimer.setMode(Timer::Off);
    if (continueAfterPlayback) return;
    if (fallTime > 0) {
        rampStep = 10;
        rampDown.setPeriod(MulSat(fallTime, 100));
        rampDown.setMode(Timer::Multiple);
        tickCounter.setText(QStringLiteral("FALL"));
        logIf(QStringLiteral("Reducing levels"));
    } else {
        // No fall: the box is killed, and nothing starts a next favourite.
        cmdSequence.append(QStringLiteral("K"));
        tickCounter.setText(QStringLiteral("DONE"));
        rampStep = 0;
        logIf(QStringLiteral("Sequence completed (no fall)"));
        startQueue();
    }
}

void MainApp::rampDown_Action() {
    // resetAll leaves this timer alone, so a fall goes on after Halt or Stop.
    --rampStep;
    tickCounter.setText(Str(MulSat(rampStep, 10)) + QLatin1Char('%'));
    elapsedTimer.setMode(Timer::Off);
    logIf(QStringLiteral("Ramp step  ") + Str(rampStep));
    reportRampStep("FALLING");

    if (rampStep != 0) {
        queueRampStep();
        return;
    }

    runTimer.setMode(Timer::Off);
    rampDown.setMode(Timer::Off);
    cmdSequence.append(QStringLiteral("A0"));
    cmdSequence.append(QStringLiteral("B0"));
    tickCounter.setText(QStringLiteral("DONE"));
    startQueue();
    logIf(QStringLiteral("rampstep 0 reached"));
    seqComplete = true;
    logIf(QStringLiteral("Playback done"));
    if (hasStatusPeer())
        sendRemoteData(useProgress ? QStringLiteral(";PROGRESS:DONE")
                                   : QStringLiteral(";STATUS:percent=DONE"));

    if (randomPlay)
        randomFavouriteEnded();
    else
        sequenceFavouriteEnded();
}

}  // namespace velto
