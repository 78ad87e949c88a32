// LAN discovery (a listening slave tells the network where it is; a master's scan hears the
// first one) and playRemote, the play of a favourite given whole on the line.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

void MainApp::adtimer_Action() {
    if (remoteControl.isConnected()) return;
    // A fresh socket per advertisement, not kept.
    std::unique_ptr<UdpSocket> socket = p_.udp.create();
    socket->port = kDiscoveryPort;
    if (!socket->connect()) return;
    socket->write(p_.network.broadcastAddress(), p_.network.localAddress().toUtf8());
}

void MainApp::scanButton_Action() {
    advertising.port = kDiscoveryPort;
    advertising.connect();
}

void MainApp::advertising_DataAvailable() {
    if (!advertising.hasDatagram()) return;
    const Datagram datagram = advertising.read();
    // The first slave heard wins and the scan ends; the text is not checked.
    prefsWindow.remoteHost.setText(QString::fromUtf8(datagram.data));
    advertising.close();
}

void MainApp::playRemote(qint64 a, qint64 b, qint64 c, qint64 d, qint64 rise, qint64 ticks, qint64 fall,
                         qint64 mode, const QString& power) {
    targetA = a;
    targetB = b;
    fallTime = fall;
    if (std::max(a, b) > 50 && rise < 60)
        rise = 60;
    else if (rise < 30)
        rise = 30;
    cmdSequence.append(QStringLiteral("A") +
                       Format(static_cast<double>(targetA) / 10.0, QStringLiteral("#")));
    cmdSequence.append(QStringLiteral("B") +
                       Format(static_cast<double>(targetB) / 10.0, QStringLiteral("#")));
    cmdSequence.append(QStringLiteral("C") + Str(c));
    cmdSequence.append(QStringLiteral("D") + Str(d));
    cmdSequence.append(QStringLiteral("M") + Str(mode));
    cmdSequence.append(power);
    sequenceTicks = ticks;
    startQueue();
    logIf(QStringLiteral("Setting to target levels"));
    tickCounter.setText(QStringLiteral("RISE"));
    seqComplete = false;
    rampTimer.setPeriod(MulSat(rise, 100));  // huge: the longest period
    rampStep = 1;
    rampTimer.setMode(Timer::Multiple);
    manualControl = false;
    continueAfterPlayback = false;
    elapsedTimer.setMode(Timer::Off);
}

}  // namespace velto
