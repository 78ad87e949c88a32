// A slave's answers to plain HTTP requests: a fixed head, the body, then the socket closes and
// listens for the next client.

#include "device/main_app.h"

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
    if (remoteControl.isConnected()) remoteControl.disconnect();
    remoteControl.listen();
}

}  // namespace velto
