// Messages between the users at the two ends: ";MSG=" lines on whichever link is up.

#include "device/main_app.h"

namespace velto {

void MainApp::showMessage(const QString& text) {
    // Touching the window shows it, so the first message opens it.
    msgWindow.window.show();
    msgWindow.messageBox.append(QLatin1Char('\r') + text);
}

void MainApp::sendReply_Action() {
    const QString text = msgWindow.msgReply.text();
    if (text.isEmpty() || !(brokerConnected || remoteControl.isConnected())) return;
    sendRemoteData(QStringLiteral(";MSG=") + text);
    msgWindow.messageBox.append(QStringLiteral("\rSent: ") + text);
    msgWindow.msgReply.setText({});
}

}  // namespace velto
