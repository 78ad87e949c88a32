// Messages between the users at the two ends: ";MSG=" lines on whichever link is up.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

void MainApp::wireMessages() {
    ExceptionBoundary& b = p_.boundary;
    compose.sendMsg.action.connect(b.wrap([this] { sendMsg_Action(); }));
    // A closed compose window is gone: the next New message starts with an empty box.
    compose.window.closed.connect(b.wrap([this] { compose.composeBox.setText({}); }));
}

bool MainApp::_FileNewmessage_Action() {
    if (same(systemMode, QStringLiteral("master"))) compose.window.show();
    return true;
}

void MainApp::sendMsg_Action() {
    // Not tested: an empty box sends ";MSG=" alone. Nothing of it goes into the transcript.
    sendStimData(QStringLiteral(";MSG=") + compose.composeBox.text());
    compose.window.close();
}

void MainApp::showMessage(const QString& text) {
    // Touching the window shows it, so the first message opens it.
    msgWindow.window.show();
    msgWindow.messageBox.append(QLatin1Char('\r') + text);
}

void MainApp::sendReply_Action() {
    const QString text = msgWindow.msgReply.text();
    // A connect-service link doesn't count: its far end is a service, not a user.
    if (text.isEmpty() || !(brokerConnected || remoteControl.isConnected())) return;
    sendRemoteData(QStringLiteral(";MSG=") + text);
    msgWindow.messageBox.append(QStringLiteral("\rSent: ") + text);
    msgWindow.msgReply.setText({});
}

}  // namespace velto
