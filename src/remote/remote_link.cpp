// The line protocol's transport: one socket that a slave listens on and a master connects
// with, one read taken as one line, and the dispatch of that line by operating mode.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {
const QString kSlave = QStringLiteral("slave");
const QString kMaster = QStringLiteral("master");
}  // namespace

void MainApp::wireRemote() {
    ExceptionBoundary& b = p_.boundary;
    remoteControl.onConnected = b.wrap([this] { remoteControl_Connected(); });
    remoteControl.onDataAvailable = b.wrap([this] { remoteControl_DataAvailable(); });
    remoteControl.onError = b.wrap([this] { remoteControl_Error(); });
    advertising.onDataAvailable = b.wrap([this] { advertising_DataAvailable(); });
    adtimer.action = [this] { adtimer_Action(); };
    requestWait.action = [this] { requestWait_Action(); };
    prefsWindow.scanButton.action.connect(b.wrap([this] { scanButton_Action(); }));
    msgWindow.sendReply.action.connect(b.wrap([this] { sendReply_Action(); }));
}

void MainApp::remoteControl_Connected() {
    const bool slave = same(systemMode, kSlave);
    hostInfo.setText((slave ? QStringLiteral("Connection from ") : QStringLiteral("Connected to ")) +
                     remoteControl.remoteAddress());
    if (!httpSlave) remoteControl.write(QByteArrayLiteral(";STATUS:type=QTR,25\r\n"));
    // The first peer ends advertising until the next Connect.
    adtimer.setMode(Timer::Off);
    newPeerForBounds();
    if (slave && httpSlave) {
        requestWait.setMode(Timer::Single);
        requestWait.reset();
    }
}

void MainApp::remoteControl_DataAvailable() {
    // One read is one line: nothing is kept between reads and nothing is split at line ends.
    const QByteArray bytes = remoteControl.readAll();
    const QString peer = remoteControl.remoteAddress();
    if (peerReadTooLong(bytes.size(), peer)) return;
    QString text = QString::fromUtf8(bytes);
    if (text.isEmpty()) return;
    requestWait.setMode(Timer::Off);
    if (text.startsWith(QLatin1Char('\r')) || text.startsWith(QLatin1Char('\n'))) text = Trim(text);

    if (same(Left(text, 5), QStringLiteral("GET /"))) {
        if (!httpSlave && serverLogging) log(peer + QStringLiteral(" is using HTTP mode; switching"));
        httpSlave = true;
    } else {
        if (httpSlave && serverLogging) {
            log(peer + QStringLiteral(" is using TCP mode; switching"));
            remoteControl.write(QByteArrayLiteral(
                ";VELTO:Control/Server version 2.6.1, build 25 on OS X switching modes\r\n"));
        }
        httpSlave = false;
        httpResponse = false;
    }

    if (httpSlave) {
        // The request path: from the sixth character up to the first blank from the seventh on.
        const qsizetype blank = text.indexOf(QLatin1Char(' '), 6);
        text = (blank < 0 ? Mid(text, 6) : Mid(text, 6, blank + 1 - 6)) + QLatin1Char('\r');
        httpResponse = false;
    }

    text = Uppercase(text);
    lastCmd.setText(text);

    if (same(systemMode, kMaster)) {
        if (text.startsWith(QLatin1Char(';')))
            extendedResponse(Trim(Mid(text, 2)));
        else
            statusRefresh(text);
        limitPeerOutput();
        return;
    }
    if (!same(systemMode, kSlave)) return;

    errText.setText({});
    logIf(peer + QStringLiteral(" said ") + text);

    if (httpSlave && remoteChecks && !text.isEmpty()) {
        // A web peer may not jump a level by more than 5 at once: the line becomes a bare poll.
        const QChar channel = text[0];
        const qint64 n = ValInt(Mid(text, 2));
        const bool outputsOn = channelA.value() != 0 && channelB.value() != 0;
        auto tooFar = [n](const Slider& s) { return Distance(n, s.value()) > 5; };
        if ((channel == QLatin1Char('A') && tooFar(channelA)) ||
            (channel == QLatin1Char('B') && tooFar(channelB)) ||
            (channel == QLatin1Char('C') && outputsOn && tooFar(channelC)) ||
            (channel == QLatin1Char('D') && outputsOn && tooFar(channelD)))
            text = QStringLiteral("S");
    }

    {
        SourceScope source(*this, httpSlave ? CommandSource::Http : CommandSource::Tcp);
        slaveTakesLine(text);
    }
    limitPeerOutput();
}

void MainApp::slaveTakesLine(const QString& text) {
    if (!text.startsWith(QLatin1Char(';'))) {
        sendStimData(Trim(text));
        if (same(Trim(text), QStringLiteral("K"))) playbackStop.push();
    } else if (!extendedCommands(Trim(Mid(text, 2)))) {
        sendStimData(QString());  // nothing further: no reply is made up for such a line
    }

    if (overrideTimeout) {
        slaveIdle.setMode(Timer::Off);
    } else {
        // ";TIMEOUT=1E16" is the longest time-out the timer holds, not a wrapped short one.
        slaveIdle.setPeriod(MulSat(slaveTimeout, 1000));
        slaveIdle.setMode(Timer::Single);
        slaveIdle.reset();
    }
}

void MainApp::remoteControl_Error() {
    // A slave listens again whenever its peer goes, in HTTP mode too, so that a browser that
    // drops a spare connection can't leave it deaf until the next Connect.
    if (remoteControl.lastErrorCode() != TcpSocket::LostConnection) return;
    if (same(systemMode, kMaster)) {
        // Nothing to stop here, and no way back but Connect: the user is told which it was.
        const bool wasLinked = hostInfo.text().startsWith(QLatin1String("Connected to "));
        hostInfo.setText(wasLinked ? QStringLiteral("Connection lost")
                                   : QStringLiteral("Could not connect to ") + remoteHostname);
        log(wasLinked ? QStringLiteral("The slave closed the link; Connect links again")
                      : hostInfo.text());
        return;
    }
    if (!same(systemMode, kSlave)) return;
    requestWait.setMode(Timer::Off);
    // An answer owed to a web client that left is owed to nobody: the next client gets its own.
    if (httpSlave) httpResponse = true;
    listenForPeer();
    // A web client closes after each answer; a TCP peer that goes has lost control of the box.
    if (!httpSlave) stopOnLossOfControl(QStringLiteral("The peer closed the link"));
}

void MainApp::sendRemoteData(const QString& text) {
    const QByteArray line = text.toUtf8();
    if (brokerConnected)
        brokerSocket.write(line + "\r\n");
    else if (connectSocket.isConnected())
        connectSocket.write(line + "\n");
    else
        remoteControl.write(line + "\r\n");
}

void MainApp::flushRemote() {
    if (brokerConnected)
        brokerSocket.flush();
    else if (connectSocket.isConnected())
        connectSocket.flush();
    else
        remoteControl.flush();
}

bool MainApp::hasStatusPeer() const {
    return same(systemMode, kSlave) && (brokerConnected || (!httpSlave && remoteControl.isConnected()));
}

}  // namespace velto
