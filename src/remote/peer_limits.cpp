// Bounds on what a peer can make the program do: no read, command, idle client or unread
// backlog may hold the one peer slot, block the event loop or grow memory without end. Each
// bound says in the log when it acts, whether the log window is on or not.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {
const QString kSlave = QStringLiteral("slave");

enum BoundBit : unsigned { LongRead = 1U, LongCommand = 2U };
}  // namespace

bool MainApp::peerReadTooLong(qsizetype bytes, const QString& peer) {
    if (bytes <= kMaxPeerRead) return false;
    if ((boundsLogged_ & LongRead) == 0) {
        boundsLogged_ |= LongRead;
        log(QStringLiteral("A line of ") + Str(qint64(bytes)) + QStringLiteral(" bytes from ") +
            peer + QStringLiteral(" was dropped: a line is at most 4 KiB"));
    }
    return true;
}

bool MainApp::deviceCommandTooLong(const QString& command) {
    if (command.size() <= kMaxDeviceCommand) return false;
    if ((boundsLogged_ & LongCommand) == 0) {
        boundsLogged_ |= LongCommand;
        log(QStringLiteral("A command of ") + Str(qint64(command.size())) +
            QStringLiteral(" characters was not sent to the box: a command is at most 64"));
    }
    return true;
}

bool MainApp::listenForPeer() {
    const bool failedBefore = listenFailed_;
    remoteControl.listen();
    listenFailed_ = !remoteControl.isListening();
    if (!listenFailed_) {
        if (failedBefore) hostInfo.setText({});
        return true;
    }
    const QString why = remoteControl.lastErrorCode() == TcpSocket::AddressInUseError
                            ? QStringLiteral("it is in use")
                            : QStringLiteral("no such port, or not allowed");
    const QString text = QStringLiteral("Not listening on port ") + Str(remoteControl.port) +
                         QStringLiteral(": ") + why;
    hostInfo.setText(text);
    log(text);
    return false;
}

void MainApp::requestWait_Action() {
    if (!remoteControl.isConnected() || !same(systemMode, kSlave) || !httpSlave) return;
    log(remoteControl.remoteAddress() +
        QStringLiteral(" sent no request within 10 seconds: disconnected"));
    resetHTTPslave();
}

void MainApp::limitPeerOutput() {
    if (!remoteControl.isConnected() || remoteControl.bytesToWrite() <= kMaxPeerBacklog) return;
    log(remoteControl.remoteAddress() +
        QStringLiteral(" left more than 1 MiB of output unread: disconnected"));
    if (!same(systemMode, kSlave)) {
        remoteControl.disconnect();
    } else if (httpSlave) {
        resetHTTPslave();
    } else {
        remoteControl.disconnect();
        listenForPeer();
        stopOnLossOfControl(QStringLiteral("The peer was disconnected"));
    }
}

}  // namespace velto
