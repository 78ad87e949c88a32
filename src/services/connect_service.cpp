// The connect service: a key handed over by the other user makes this copy a master whose
// commands go to the service over TLS. The service answers with numbered status lines and
// passes on the far box's replies.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {
constexpr qsizetype kKeyLength = 16;
}  // namespace

void MainApp::wireConnectService() {
    ExceptionBoundary& b = p_.boundary;
    connectSocket.onConnected = b.wrap([this] { connectSocket_Connected(); });
    connectSocket.onDataAvailable = b.wrap([this] { connectSocket_DataAvailable(); });
    connectSocket.onError = b.wrap([this] { connectSocket_Error(); });
    // Not subject to serverLogging: a refused certificate must never pass unseen.
    connectSocket.onTlsError = [this](const QString& reason) {
        p_.boundary.run([this, &reason] { log(QStringLiteral("TLS: ") + reason); });
    };
    connectWindow.connectButton.action.connect(b.wrap([this] { connectButton_Action(); }));
    // A closed window is gone; the next one starts blank and offers the key in use.
    connectWindow.window.closed.connect(b.wrap([this] { connectWindow.connectKey.setText({}); }));
}

QString MainApp::connectLinkPrefix() const {
    return QStringLiteral("https://") + connectServiceHost + QStringLiteral("/connect/?");
}

bool MainApp::_veltoConnect_Action() {
    if (!connectWindow.window.visible()) connectWindow_Open();
    connectWindow.window.show();
    return true;
}

void MainApp::connectWindow_Open() {
    if (!veltoKey.isEmpty()) connectWindow.connectKey.setText(veltoKey);
}

void MainApp::connectButton_Action() {
    const QString typed = connectWindow.connectKey.text();
    const QString trimmed = Trim(typed);
    const QString prefix = connectLinkPrefix();
    QString key;
    if (trimmed.size() == kKeyLength) {
        key = trimmed;
    } else if (same(Left(typed, prefix.size()), prefix)) {
        // The query isn't parsed: the key is whatever ends the link.
        key = Right(trimmed, kKeyLength);
    } else {
        p_.dialogs.message(QStringLiteral("Sorry, that doesn't look like a valid Connect Key"));
        return;
    }
    veltoKey = key;
    startVeltoConnect();
    connectWindow.window.close();
}

void MainApp::startVeltoConnect() {
    if (connectSocket.isConnected()) {
        connectSocket.write(QByteArrayLiteral(";quit\r"));
        connectSocket.disconnect();
    }
    logIf(QStringLiteral("Configuring settings\r\n"));

    // In memory only: the way back to another mode is a restart or the preferences.
    Connect.setEnabled(false);
    useBroker = false;
    systemMode = QStringLiteral("master");
    if (brokerSocket.isConnected()) {
        brokerSocket.disconnect();
        hostInfo.setText({});
        brokerConnected = false;
    }
    if (remoteControl.isConnected()) remoteControl.disconnect();
    MenuBar1.VeltoBroker.setEnabled(false);

    connectSocket.address = connectServiceHost;
    connectSocket.port = connectServicePort;
    logIf(QStringLiteral("Talking to Velto Connect\r\n"));
    connectSocket.connect();
}

void MainApp::connectSocket_Connected() {
    newPeerForBounds();
    hostInfo.setText(QStringLiteral("Talking to server"));
    connectSocket.write(QByteArrayLiteral(";connect=") + Uppercase(veltoKey).toUtf8() + '\n');
    connectSocket.flush();
}

void MainApp::connectSocket_DataAvailable() {
    const QByteArray bytes = connectSocket.readAll();
    if (peerReadTooLong(bytes.size(), QStringLiteral("the connect service"))) return;
    QString text = QString::fromUtf8(bytes);
    if (text.isEmpty()) return;
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"))
        .replace(QLatin1Char('\r'), QLatin1Char('\n'));
    // The read is one unit: a second line in it is not looked at.
    if (!text.startsWith(QLatin1Char(';'))) {
        statusRefresh(text);
        return;
    }
    logIf(QStringLiteral("Connect server: ") + Trim(text) + QStringLiteral("\r\n"));

    const QString code = Left(text, 4);
    auto is = [&code](const char* c) { return same(code, QLatin1String(c)); };
    auto close = [this] { connectSocket.disconnect(); };
    if (is(";201")) {
        hostInfo.setText(QStringLiteral("Connection made"));
        veltoLinked = true;
    } else if (is(";202") || is(";400")) {
        hostInfo.setText(QStringLiteral("Connection lost"));
        veltoLinked = false;
        close();
    } else if (is(";210")) {
        QString message = Mid(text, 5);
        while (message.endsWith(QLatin1Char('\n'))) message.chop(1);
        p_.dialogs.message(QStringLiteral("Server message: ") + message);
    } else if (is(";300")) {
        hostInfo.setText(QStringLiteral("Waiting for link"));
    } else if (is(";401")) {
        veltoKey.clear();
        close();
        p_.dialogs.message(
            QStringLiteral("Timeout. Please ask for another Connect Key and try again"));
    } else if (is(";402")) {
        veltoKey.clear();
        close();
        p_.dialogs.message(
            QStringLiteral("The Connect Key has expired. Please ask the other user for a new one"));
    } else if (is(";404")) {
        close();
        p_.dialogs.message(
            QStringLiteral("The other user's 2B is being controlled by someone else. Try later"));
    } else if (is(";500")) {
        veltoLinked = false;
        close();
        p_.dialogs.message(QStringLiteral("Something really bad has happened. Disconnecting"));
    } else if (is(";701")) {
        hostInfo.setText(QStringLiteral("Command blocked"));
    }
    // ";200", ";203" and unknown codes: the log line above is all.
}

void MainApp::connectSocket_Error() {
    // A key cleared is a session ended on purpose (Disconnect, or the service's own answer).
    if (connectSocket.lastErrorCode() != TcpSocket::LostConnection || veltoKey.isEmpty()) return;
    veltoLinked = false;
    log(QStringLiteral("The connect service closed the link; the Connect Key links again"));
}

bool MainApp::_disconnect_Action() {
    // The service ends the connection: nothing is closed or flushed here.
    if (connectSocket.isConnected()) connectSocket.write(QByteArrayLiteral(";quit\r"));
    veltoLinked = false;
    veltoKey.clear();
    return true;
}

}  // namespace velto
