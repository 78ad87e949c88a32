// A slave's answers to plain HTTP requests: a fixed head, the body, then the socket closes and
// listens for the next client. Beside it, on the next port, the page that browsers use to send
// those requests.

#include "device/main_app.h"
#include "platform/text.h"
#include "remote/page_server.h"

namespace velto {

void MainApp::sendHTTPheaders() {
    remoteControl.write(QByteArrayLiteral("HTTP/1.0 200 OK\r\n"));
    remoteControl.write(QByteArrayLiteral("Access-Control-Allow-Origin: *\r\n"));
    remoteControl.write(QByteArrayLiteral("Connection: close\r\n"));
    remoteControl.write(QByteArrayLiteral("Content-Type: text/plain\r\n"));
    remoteControl.write(QByteArrayLiteral("\r\n"));
}

void MainApp::resetHTTPslave() {
    httpResponse = true;
    requestWait.setMode(Timer::Off);
    if (remoteControl.isConnected()) remoteControl.disconnect();
    listenForPeer();
}

void MainApp::serveWebPage() {
    PageServer* server = p_.pageServer;
    if (!server) return;
    if (!webpage || !same(systemMode, QStringLiteral("slave")) || useBroker) {
        // The page drives this copy's HTTP mode: without a listening slave it has nothing to drive.
        server->close();
        return;
    }
    const qint64 port = AddSat(remotePort, 1);
    if (port < 1 || port > 65535) {
        p_.dialogs.message(QStringLiteral("Unable to serve the remote page on port ") + Str(port));
    } else if (!server->listen(quint16(port))) {
        p_.dialogs.message(QStringLiteral("Unable to serve the remote page on port ") + Str(port) +
                           QStringLiteral(": ") + server->errorString());
    } else {
        logIf(QStringLiteral("Remote page: http://") + remoteControl.localAddress() +
              QLatin1Char(':') + Str(port) + QStringLiteral("/\r\n"));
    }
}

}  // namespace velto
