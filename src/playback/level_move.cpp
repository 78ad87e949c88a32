// Level moves: A and B to new levels in whole steps over a number of seconds, through the queue.

#include <algorithm>
#include <cstdlib>

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

qint64 MainApp::adjustTarget(const QString& text, qint64 current) {
    const bool relative = text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-'));
    const qint64 target = relative ? AddSat(ValInt(text), current) : ValInt(text);
    return std::clamp<qint64>(target, 0, 100);
}

void MainApp::Adjust_Action() {
    const qint64 targetA = adjustTarget(adjustA.text(), channelA.value());
    const qint64 targetB = adjustTarget(adjustB.text(), channelB.value());
    const double seconds = Val(adjustTime.text());
    const qint64 steps =
        std::max(std::llabs(targetA - channelA.value()), std::llabs(targetB - channelB.value()));

    // The message says "more than", yet equal passes: kept so.
    if (static_cast<double>(steps) > seconds && !autoAdjust) {
        p_.dialogs.message(QStringLiteral(
            "Can't adjust - too many steps, or too short a time period. Number of seconds must be "
            "more than the number of steps"));
        return;
    }
    resetAll();
    setOutputLevels(targetA, targetB, channelC.value(), channelD.value(), Trunc(seconds));
}

void MainApp::adjustSelected_Action() {
    if (favsList.listIndex() < 0) {
        // "Jump", though the button reads "Adjust to".
        p_.dialogs.message(QStringLiteral("Select a favourite setting first, then click Jump"));
        return;
    }
    for (int row = 0; row < favsList.listCount(); ++row) {
        if (!favsList.selected(row)) continue;
        resetAll();
        setOutputLevels(ValInt(favsList.cell(row, 6)), ValInt(favsList.cell(row, 7)),
                        channelC.value(), channelD.value(), ValInt(favsList.cell(row, 1)));
    }
}

void MainApp::setOutputLevels(qint64 levelA, qint64 levelB, qint64 levelC, qint64 levelD,
                              qint64 seconds) {
    // A move never touches C or D.
    Q_UNUSED(levelC);
    Q_UNUSED(levelD);
    startA = channelA.value();
    startB = channelB.value();
    diffA = Distance(levelA, startA);
    diffB = Distance(levelB, startB);
    moveSteps = std::max(diffA, diffB);

    if (autoAdjust && seconds < moveSteps) {
        seconds = moveSteps;
        // Written whether the log is on or not.
        log(QStringLiteral("Move: adjusting period to ") + Str(seconds) +
            QStringLiteral(" seconds"));
    }
    if (seconds < moveSteps) {
        logIf(QStringLiteral("Error: Invalid MOVE parameters"));
        if (same(systemMode, QStringLiteral("slave")))
            sendRemoteData(QStringLiteral(";ERROR:1=Too many steps, or time period too short"));
        return;
    }

    directionA = levelA < channelA.value() ? -1 : 1;
    directionB = levelB < channelB.value() ? -1 : 1;
    moveStep = 0;
    // With nothing to move the first tick only ends the move; the design period will do.
    moveTimer.setPeriod(moveSteps > 0 ? Trunc(static_cast<double>(seconds) * 1000.0 /
                                              static_cast<double>(moveSteps))
                                      : 1000);
    moveTimer.setMode(Timer::Multiple);
    manualControl = false;
    elapsedTimer.setMode(Timer::Off);
    logIf(QStringLiteral("Move: setting levels in ") + Str(moveSteps) + QStringLiteral(" steps"));
}

void MainApp::moveTimer_Action() {
    ++moveStep;
    const double fraction =
        moveSteps > 0 ? static_cast<double>(moveStep) / static_cast<double>(moveSteps) : 0.0;
    // Shown before the end test: the last tick flashes past 100% before "DONE".
    if (moveSteps > 0) tickCounter.setText(Format(fraction, QStringLiteral("#%")));

    if (moveStep > moveSteps) {
        moveTimer.setMode(Timer::Off);
        tickCounter.setText(QStringLiteral("DONE"));
        manualControl = true;
        elapsedTime = 0;
        elapsedTimer.setMode(Timer::Multiple);
        if (hasStatusPeer()) sendRemoteData(QStringLiteral(";STATUS:percent=DONE"));
        logIf(QStringLiteral("Move: levels set"));
        return;
    }

    if (hasStatusPeer())
        sendRemoteData(QStringLiteral(";STATUS:percent=") +
                       Format(fraction * 100.0, QStringLiteral("#")));
    // Each level from the start, not the last one: no drift. The stack sends B first.
    const double steps = static_cast<double>(moveSteps);
    const double levelA = static_cast<double>(startA) + static_cast<double>(directionA * moveStep) /
                                                            steps * static_cast<double>(diffA);
    const double levelB = static_cast<double>(startB) + static_cast<double>(directionB * moveStep) /
                                                            steps * static_cast<double>(diffB);
    cmdSequence.append(QStringLiteral("A") + Format(levelA, QStringLiteral("#")));
    cmdSequence.append(QStringLiteral("B") + Format(levelB, QStringLiteral("#")));
    startQueue();
}

}  // namespace velto
