// Safety: no source may set a level above the user's cap, and the box stops when the program
// loses control of it (its peer, its broker link, its serial line, or the program itself goes).

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

QString MainApp::sourceName(CommandSource source) {
    switch (source) {
        case CommandSource::Program: return QStringLiteral("program");
        case CommandSource::Slider: return QStringLiteral("slider");
        case CommandSource::Step: return QStringLiteral("plus and minus");
        case CommandSource::Favourite: return QStringLiteral("favourite");
        case CommandSource::Ramp: return QStringLiteral("ramp");
        case CommandSource::Fall: return QStringLiteral("fall");
        case CommandSource::Move: return QStringLiteral("move");
        case CommandSource::RandomDraw: return QStringLiteral("random draw");
        case CommandSource::LoopBoost: return QStringLiteral("loop boost");
        case CommandSource::Tcp: return QStringLiteral("TCP peer");
        case CommandSource::Http: return QStringLiteral("HTTP client");
        case CommandSource::Broker: return QStringLiteral("broker peer");
    }
    return {};
}

QString MainApp::capLevel(const QString& command) {
    if (command.size() < 2) return command;
    const QChar letter = command[0].toUpper();
    if (letter != QLatin1Char('A') && letter != QLatin1Char('B')) return command;
    // A joined box gives B whatever A is given.
    const qint64 cap = letter == QLatin1Char('B') ? maxLevelB
                       : boxJoined              ? std::min(maxLevelA, maxLevelB)
                                                : maxLevelA;
    if (cap >= 100 || Val(Mid(command, 2)) <= static_cast<double>(cap)) return command;

    QString capped = QString(letter) + Str(cap);
    const unsigned bit = 1U << static_cast<unsigned>(commandSource);
    if ((cappedSources_ & bit) == 0) {
        cappedSources_ |= bit;
        log(QStringLiteral("Level capped: ") + command + QStringLiteral(" from the ") +
            sourceName(commandSource) + QStringLiteral(" sent as ") + capped);
    }
    return capped;
}

void MainApp::startQueue() {
    queuedSource = commandSource;
    seqTimer.setMode(Timer::Multiple);
}

MainApp::CommandSource MainApp::rampSource() const {
    if (randomPlay && loopMode && loopPower.value()) return CommandSource::LoopBoost;
    if (randomPlay && randomPower.value()) return CommandSource::RandomDraw;
    return CommandSource::Ramp;
}

void MainApp::stopOnLossOfControl(const QString& why) {
    log(why + QStringLiteral(": the box is stopped"));
    allStop.push();
}

void MainApp::velto_Error() {
    resetAll();
    // The box that comes back owes no reply: a torn one or the last command would otherwise be
    // taken for a wrong answer to it, and the command sent again to a box that starts at zero.
    veltoResults.clear();
    lastCommand.clear();
    awaitingBox = true;
    watchDog.setEnabled(reopenGoneBox);
    veltoStatus.setText(QStringLiteral("(box gone: click Connect)"));
    errText.setText(QStringLiteral("The box is gone"));
    log(QStringLiteral("The box is gone: the serial line ") + velto.portName() +
        QStringLiteral(" failed. Playback stopped; ") +
        (reopenGoneBox ? QStringLiteral("it is opened again when the box is back")
                       : QStringLiteral("Connect opens it again")));
}

void MainApp::reopenBox() {
    if (velto.isOpen() || !awaitingBox) return;
    highSpeedEnabled = false;
    if (!velto.open()) return;
    awaitingBox = false;
    velto.write(QByteArrayLiteral("\r"));
    velto.xmitWait();
    errText.setText({});
    log(QStringLiteral("The box is back on ") + velto.portName());
}

bool MainApp::stopBoxForExit(int limitMs) {
    if (same(systemMode, QStringLiteral("master")) || !velto.isOpen()) return false;
    velto.write(QByteArrayLiteral("K\r"));
    return velto.waitWritten(limitMs);
}

}  // namespace velto
