// Random and loop playback, and "veltorandom.ini".

#include <QFile>
#include <QTextStream>
#include <utility>

#include "device/main_app.h"
#include "platform/save_file.h"
#include "platform/text.h"

namespace velto {

namespace {

// A uniform permutation in place, from a fresh Random as every other draw.
void shuffle(std::vector<qint64>& rows, std::optional<quint64> seed) {
    Random random(seed);
    for (qint64 i = static_cast<qint64>(rows.size()) - 1; i > 0; --i)
        std::swap(rows[static_cast<size_t>(i)], rows[static_cast<size_t>(random.InRange(0, i))]);
}

}  // namespace

void MainApp::randomStart_Action() {
    resetAll();
    createRandomSequence();
}

void MainApp::randomLoop_Action() {
    resetAll();
    loopMode = true;
    terminateLoop = false;
    log(QStringLiteral("Random: starting loop"));  // written whether the log is on or not
    const double minutes = Val(loopRuntime.text());
    if (loopTimeout.value() && minutes > 0) {
        loopTimer.setPeriod(Trunc(60000.0 * minutes));
        loopTimer.setMode(Timer::Single);
        logIf(QStringLiteral("Random: looping for ") + loopRuntime.text() +
              QStringLiteral(" minutes"));
    }
    createRandomSequence();
}

void MainApp::randomStop_Action() {
    randomStatus.setText(QStringLiteral("Stopped"));
    randMode.setText({});
    logIf(QStringLiteral("Random: stop"));
    playbackStop.push();
}

void MainApp::randomTimer_Action() {
    randomPlayback();
}

void MainApp::loopTimer_Action() {
    // Only the end of a fall looks at the flag: what is playing, or waiting, goes on.
    terminateLoop = true;
    logIf(QStringLiteral("Random: run time reached; stopping soon"));
}

void MainApp::createRandomSequence() {
    randomPlay = true;
    randomIndex = -1;
    randomSequence.clear();
    for (int row = 0; row < favsList.listCount(); ++row)
        if (favsList.cellState(row, 4) == 1) randomSequence.push_back(row);
    shuffle(randomSequence, p_.seed());
    randomStatus.setText(QStringLiteral("Running"));
    logIf(QStringLiteral("Random: starting up"));

    if (delayFirst.value()) {
        randMode.setText(QStringLiteral("Waiting"));
        randomTimer.setPeriod(Trunc(60000.0 * Val(firstDelay.text())));
        randomTimer.setMode(Timer::Single);
        logIf(QStringLiteral("Random: waiting ") + firstDelay.text() +
              QStringLiteral(" minutes to start"));
    } else {
        randomPlayback();
    }
}

void MainApp::randomPlayback() {
    ++randomIndex;
    randMode.setText(QStringLiteral("Random"));
    manualControl = false;
    elapsedTimer.setMode(Timer::Off);

    if (randomIndex >= 0 && randomIndex < static_cast<qint64>(randomSequence.size())) {
        playStimFavourite(randomSequence[static_cast<size_t>(randomIndex)], false);
        return;
    }
    if (loopMode) {
        // loopCount is never reset: the boost carries over into later runs.
        shuffle(randomSequence, p_.seed());
        ++loopCount;
        randomStatus.setText(QStringLiteral("Loop ") + Str(loopCount + 1));
        logIf(QStringLiteral("Random: loop completed; commencing run ") + Str(loopCount + 1));
        if (delayBetween.value()) {
            // The second wait in a row at the end of a round: kept so.
            randomIndex = -1;
            waitBetweenFavourites();
        } else {
            // With no row ticked this reads past the end, and the boundary reports it.
            randomIndex = 0;
            playStimFavourite(at(randomSequence, 0), false);
        }
        return;
    }
    randomStatus.setText(QStringLiteral("Complete"));
    randomPlay = false;
    randomSequence.clear();
    overrideTimeout = false;
    logIf(QStringLiteral("Random: sequence completed"));
}

void MainApp::waitBetweenFavourites() {
    Random random(p_.seed());
    const qint64 seconds = random.InRange(ValInt(minDelay.text()), ValInt(maxDelay.text()));
    const qint64 period = MulSat(seconds, 1000);  // huge: the longest period
    randomTimer.setPeriod(period);
    randMode.setText(QStringLiteral("Waiting ") + Str(period / 1000));
    randomTimer.setMode(Timer::Single);
    logIf(QStringLiteral("Random: waiting ") + Str(period / 1000));
}

void MainApp::randomFavouriteEnded() {
    if (terminateLoop) {
        // randomPlay, loopMode and randMode stay as they are until the next resetAll.
        loopTimer.setMode(Timer::Off);
        randomTimer.setMode(Timer::Off);
        randomStatus.setText(QStringLiteral("Time up"));
        overrideTimeout = false;
        logIf(QStringLiteral("Random: loop finished"));
        return;
    }
    if (delayBetween.value()) {
        waitBetweenFavourites();
        return;
    }
    logIf(QStringLiteral("Calling random playback"));
    randomPlayback();
}

// ---- "veltorandom.ini" ---------------------------------------------------------------------

QString MainApp::checkboxToText(const CheckBox& box) {
    return box.state() == 1 ? QStringLiteral("true") : QStringLiteral("false");
}

void MainApp::readRandomSettings(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return;
    const std::pair<const char*, CheckBox*> boxes[] = {
        {"delayfirst", &delayFirst}, {"delaybetween", &delayBetween},
        {"randomrun", &randomTimes}, {"randompower", &randomPower},
        {"looppower", &loopPower},   {"looptimeout", &loopTimeout}};
    const std::pair<const char*, TextField*> fields[] = {
        {"delayvalue", &firstDelay}, {"delaymin", &minDelay},      {"delaymax", &maxDelay},
        {"runmin", &minRun},         {"runmax", &maxRun},          {"loopboosta", &loopBoostA},
        {"loopboostb", &loopBoostB}, {"loopruntime", &loopRuntime}};

    QTextStream in(&file);
    do {
        const QStringList item = Split(in.readLine(), QStringLiteral("="));
        const QString key = item.isEmpty() ? QString() : item[0];
        // A known key with no "=" reads past the end; the rest of the file stays unread.
        for (const auto& [name, box] : boxes)
            if (same(key, QLatin1String(name)))
                box->setValue(same(at(item, 1), QStringLiteral("true")));
        for (const auto& [name, field] : fields)
            if (same(key, QLatin1String(name))) field->setText(at(item, 1));
        p_.clock.yield();
    } while (!in.atEnd());
}

void MainApp::saveRandom() {
    if (!p_.preferences.available()) return;
    const std::pair<const char*, QString> lines[] = {{"delayfirst", checkboxToText(delayFirst)},
                                                     {"delayvalue", firstDelay.text()},
                                                     {"delaybetween", checkboxToText(delayBetween)},
                                                     {"delaymin", minDelay.text()},
                                                     {"delaymax", maxDelay.text()},
                                                     {"randomrun", checkboxToText(randomTimes)},
                                                     {"runmin", minRun.text()},
                                                     {"runmax", maxRun.text()},
                                                     {"randompower", checkboxToText(randomPower)},
                                                     {"looppower", checkboxToText(loopPower)},
                                                     {"loopboosta", loopBoostA.text()},
                                                     {"loopboostb", loopBoostB.text()},
                                                     {"looptimeout", checkboxToText(loopTimeout)},
                                                     {"loopruntime", loopRuntime.text()}};
    QByteArray out;
    for (const auto& [key, value] : lines) out += QByteArray(key) + '=' + value.toUtf8() + '\n';
    saveWhole(p_.preferences.child(QStringLiteral("veltorandom.ini")), out);  // I/O errors are swallowed
}

}  // namespace velto
