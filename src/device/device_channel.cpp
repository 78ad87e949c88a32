// The serial protocol of the box: the one gate for commands, the assembly of a reply, the
// reply check and its correction, and the switch to the high rate.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

void MainApp::sendStimData(const QString& command) {
    const QString trimmed = Trim(command);
    if (trimmed.isEmpty()) return;

    if (!same(systemMode, QStringLiteral("master"))) {
        // No command is that long: a peer's flood would hold the line (and the loop) for minutes.
        if (deviceCommandTooLong(trimmed)) return;
        // A capped level is the command the reply is checked against, so it is not repeated.
        const QString sent = capLevel(trimmed);
        velto.write(sent.toLatin1() + '\r');
        velto.xmitWait();
        velto.flush();
        lastCommand = sent == trimmed ? command : sent;
        if (same(sent, QStringLiteral("J1")) || same(sent, QStringLiteral("J0"))) boxJoined = same(sent, QStringLiteral("J1"));
        if (logSerialOn()) log(QStringLiteral("Sent ") + sent);
        if (same(lastCommand, QStringLiteral("K"))) {
            overrideTimeout = false;
            manualControl = true;
            elapsedTimer.setMode(Timer::Off);
        }
    } else if (remoteControl.isConnected() || brokerSocket.isConnected() ||
               connectSocket.isConnected()) {
        if (logSerialOn())
            log(QStringLiteral("Sending remote command: ") + command + QStringLiteral("\r\n"));
        sendRemoteData(command);
        flushRemote();
    }
    elapsedTime = 0;
}

void MainApp::velto_DataAvailable() {
    veltoResults += QString::fromLatin1(velto.readAll());
    // A device that never ends its line must not grow the buffer without end: keep the tail.
    if (veltoResults.size() > kMaxSerialBuffer)
        veltoResults = veltoResults.right(kMaxSerialBuffer);
    if (!veltoResults.endsWith(QLatin1Char('\n'))) return;

    const qsizetype question = veltoResults.indexOf(QLatin1String("?\n"));
    if (question >= 0) veltoResults.remove(question, 2);
    if (logSerialOn()) log(QStringLiteral("2B raw ") + veltoResults);

    if (CountFields(veltoResults, QStringLiteral("\n")) > 2)
        veltoResults = NthField(veltoResults, QStringLiteral("\n"), 1);
    veltoResults.remove(QLatin1Char('\r')).remove(QLatin1Char('\n'));
    veltoResults = Trim(veltoResults);
    if (logSerialOn()) log(QStringLiteral("2B replied ") + veltoResults);

    if (validateResponse(veltoResults)) {
        // statusRefresh may run other handlers; it works on its own copy of the reply.
        const QString reply = veltoResults;
        const QStringList fields = Split(reply, QStringLiteral(":"));
        if (fields.size() == 9) boxJoined = fields[7] == QLatin1String("1");
        statusRefresh(reply);
        lastCmd.setText({});
        lastCommand.clear();
    } else {
        lastCmd.setText(QStringLiteral("Error detected. Correcting..."));
        veltoResults.clear();
        sendStimData(lastCommand);
    }
    veltoResults.clear();
}

bool MainApp::validateResponse(const QString& reply) {
    if (reply == QLatin1String("?")) return true;
    const QStringList fields = Split(reply, QStringLiteral(":"));
    if (Ubound(fields) != 8) {
        logIf(QStringLiteral("Bad response length =") + Str(Ubound(fields)));
        return false;
    }
    if (same(systemMode, QStringLiteral("master")) || !checkResponses) return true;

    const QString letter = Uppercase(Left(lastCommand, 1));
    const double value = static_cast<double>(ValInt(Mid(lastCommand, 2)));
    auto half = [&](int field) { return Val(fields[field]) / 2.0; };
    if (letter == QLatin1String("A")) return half(1) == value;
    if (letter == QLatin1String("B")) return half(2) == value;
    if (letter == QLatin1String("C")) return half(3) == value;
    if (letter == QLatin1String("D")) return half(4) == value;
    if (letter == QLatin1String("M")) return Val(fields[5]) == value;
    if (letter == QLatin1String("L")) return same(fields[6], QStringLiteral("L"));
    if (letter == QLatin1String("H")) return same(fields[6], QStringLiteral("H"));
    if (letter == QLatin1String("Y")) return same(fields[6], QStringLiteral("D"));
    return true;
}

void MainApp::pause(qint64 milliseconds) { p_.clock.pause(milliseconds); }

void MainApp::switchToHighSpeed() {
    logIf(QStringLiteral("Switching to high speed serial"));
    velto.write(QByteArrayLiteral("Z\r"));
    velto.flush();
    velto.close();
    velto.setBaudRate(57600);
    velto.reset();
    // The log's flag guards the Open itself: with the log closed the port stays shut and the
    // switch is tried again at the next reply. Kept as designed.
    if (serverLogging) {
        if (velto.open()) {
            log(QStringLiteral("High speed enabled"));
            highSpeedEnabled = true;
        }
    }
}

}  // namespace velto
