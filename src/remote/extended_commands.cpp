// A slave's extended language: lines that began with ";" drive the same playback, settings and
// levels as the user's controls. The four commands that answer are in status_commands.cpp.

#include "device/main_app.h"
#include "platform/boundary.h"
#include "platform/text.h"

namespace velto {

namespace {

bool isWord(const QString& value, std::initializer_list<const char*> words) {
    for (const char* w : words)
        if (same(value, QString::fromLatin1(w))) return true;
    return false;
}
bool isOn(const QString& v) { return isWord(v, {"TRUE", "ON"}); }
bool isOff(const QString& v) { return v.isEmpty() || isWord(v, {"FALSE", "OFF"}); }

}  // namespace

Slider* MainApp::stepSlider(const QString& key) {
    const std::pair<const char*, Slider*> sliders[] = {{"A", &channelA}, {"B", &channelB}, {"C", &channelC},
                                                       {"D", &channelD}};
    for (const auto& [letter, slider] : sliders)
        for (const char* direction : {"PLUS", "MINUS"})
            if (same(key, QLatin1String(letter) + QLatin1String(direction))) return slider;
    return nullptr;
}

bool MainApp::extendedCommands(const QString& text) {
    const qsizetype eq = text.indexOf(QLatin1Char('='));
    const QString key = eq < 0 ? text : text.left(eq);
    const QString value = eq < 0 ? QString() : text.mid(eq + 1);
    const QStringList items = Split(value, QStringLiteral(","));
    auto is = [&key](const char* name) { return same(key, QString::fromLatin1(name)); };
    auto number = [&items](qsizetype i) { return ValInt(at(items, i)); };

    // A range option: off words, on words, or "min,max" with min not above max.
    auto rangeOption = [&](CheckBox& box, TextField& min, TextField& max) {
        // An off word is no pair: it ends in the last branch with anything else.
        if (isOn(value)) {
            box.setValue(true);
        } else if (items.size() == 2 && Val(items[0]) <= Val(items[1])) {
            min.setText(items[0]);
            max.setText(items[1]);
            box.setValue(true);
        } else {
            box.setValue(false);
        }
    };

    if (is("SAVE")) {
        storeCurrentSettings(true);
    } else if (is("PLAYSEQ")) {
        overrideTimeout = true;
        createSequence.push();
    } else if (is("STOPSEQ")) {
        overrideTimeout = false;
        sendStimData(QStringLiteral("K"));
        playbackStop.push();
    } else if (is("CLEARSEQ")) {
        seqAllOff();
    } else if (is("PLAYRANDOM")) {
        overrideTimeout = true;
        randomStart.push();
    } else if (is("PLAYLOOP")) {
        overrideTimeout = true;
        randomLoop.push();
    } else if (is("CHECKS")) {
        remoteChecks = !(!value.isEmpty() && isWord(Trim(value), {"OFF", "FALSE"}));
    } else if (is("GOTO")) {
        if (value.isEmpty()) return false;
        resetAll();
        manualControl = false;
        // Items 0 to 3 are not guarded: a short list fails here, with everything already stopped.
        targetA = number(0);
        targetB = number(1);
        cmdSequence.append(QStringLiteral("C") + at(items, 2));
        cmdSequence.append(QStringLiteral("D") + at(items, 3));
        cmdSequence.append(QStringLiteral("A") +
                           Format(static_cast<double>(targetA) / 10.0, QStringLiteral("#")));
        cmdSequence.append(QStringLiteral("B") +
                           Format(static_cast<double>(targetB) / 10.0, QStringLiteral("#")));
        continueAfterPlayback = true;
        rampStep = 1;
        // A peer's huge step time is the longest period, not a wrapped one.
        const bool stepTime = items.size() >= 5 && number(4) > 30;
        rampTimer.setPeriod(stepTime ? MulSat(number(4), 100) : 3000);
        if (items.size() == 7) {
            cmdSequence.append(QStringLiteral("M") + items[5]);
            cmdSequence.append(same(items[6], QStringLiteral("H")) ? QStringLiteral("H") : QStringLiteral("L"));
        }
        startQueue();
        rampTimer.setMode(Timer::Multiple);
    } else if (is("MOVE")) {
        if (value.isEmpty() || items.size() != 3) return false;
        resetAll();
        auto level = [&](qsizetype i, const Slider& slider) {
            const QString& item = items[i];
            qint64 target = ValInt(item);
            if (item.startsWith(QLatin1Char('+')) || item.startsWith(QLatin1Char('-')))
                target = Trunc(Val(item) + slider.value());
            return std::clamp<qint64>(target, 0, 100);
        };
        const qint64 a = level(0, channelA), b = level(1, channelB);
        if (httpSlave) sendHTTPheaders();
        sendRemoteData(QStringLiteral(";STATUS:percent=WAIT"));
        flushRemote();
        setOutputLevels(a, b, channelC.value(), channelD.value(), number(2));
        if (httpSlave) resetHTTPslave();
    } else if (is("TIMEOUT")) {
        slaveTimeout = value.isEmpty() ? 600 : ValInt(value);
    } else if (is("DELAYFIRST")) {
        if (isOff(value)) {
            delayFirst.setValue(false);
        } else if (isOn(value)) {
            delayFirst.setValue(true);
        } else {
            firstDelay.setText(value);
            delayFirst.setValue(true);
        }
    } else if (is("RANDOMDELAY")) {
        rangeOption(delayBetween, minDelay, maxDelay);
    } else if (is("RANDOMRUN")) {
        rangeOption(randomTimes, minRun, maxRun);
    } else if (is("RANDOMPOWER")) {
        randomPower.setValue(isOn(value));
    } else if (is("LOOPBOOST")) {
        // An off word is no pair: it ends in the last branch with anything else.
        if (isOn(value)) {
            loopPower.setValue(true);
        } else if (items.size() == 2) {
            loopBoostA.setText(items[0]);
            loopBoostB.setText(items[1]);
            loopPower.setValue(true);
        } else {
            loopPower.setValue(false);
        }
    } else if (is("LOOPTIMEOUT")) {
        if (isOff(value)) {
            loopTimeout.setValue(false);
        } else if (isOn(value)) {
            loopTimeout.setValue(true);
        } else if (Val(value) > 0) {
            loopTimeout.setValue(true);
            loopRuntime.setText(value);
        }
    } else if (is("GETSTATUS") || is("PROGRESS") || is("SYSTEM") || is("GETFAVS")) {
        return statusCommand(key);
    } else if (is("UP") || is("DOWN")) {
        const int step = is("UP") ? 1 : -1;
        showSecondStatus = true;
        channelA.setValue(channelA.value() + step);
        pause(500);
        channelB.setValue(channelB.value() + step);
    } else if (Slider* slider = stepSlider(key)) {
        // APLUS, AMINUS ... DMINUS: one step, as the panel's buttons make.
        slider->setValue(slider->value() + (key.endsWith(QLatin1String("PLUS"), Qt::CaseInsensitive) ? 1 : -1));
    } else if (is("SEQSET") || is("SEQUNSET")) {
        // A negative row passes this test and fails at the list's own bound check.
        const qint64 row = ValInt(value);
        if (!value.isEmpty() && favsList.listCount() > row)
            favsList.setCellCheck(static_cast<int>(std::clamp<qint64>(row, -1, favsList.listCount())), 4, is("SEQSET"));
    } else if (is("PLAY")) {
        if (value.isEmpty() || items.size() != 9) return false;
        resetAll();
        playRemote(number(0), number(1), number(2), number(3), number(4), number(5), number(6), number(7),
                   items[8]);
    } else if (is("HALT")) {
        resetAll();
    } else if (is("MSG")) {
        showMessage(value);
        if (updateEvocam && !evoCamName.isEmpty()) evoCamMessage(value, evoCamName);
    }
    return false;
}

}  // namespace velto
