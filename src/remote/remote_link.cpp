// Lines to the peer: one transport at a time, chosen in a fixed order (broker, connect, direct),
// each with its own line end.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

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
    return same(systemMode, QStringLiteral("slave")) &&
           (brokerConnected || (!httpSlave && remoteControl.isConnected()));
}

}  // namespace velto
