// The brokering service's session: log in over TLS, find a peer, and once the service has
// paired a master with a slave carry the remote line protocol over the same connection.
// Commands to the service end in CR alone; peer lines, in CR LF, go through sendRemoteData.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {

const QString kSlave = QStringLiteral("slave");
const QString kMaster = QStringLiteral("master");

/// The line's start, compared as the service's prefixes are: ignoring case.
bool begins(const QString& line, const QString& prefix) { return same(Left(line, prefix.size()), prefix); }

/// The index-th field at `sep`; a missing one throws, as nothing guards the service's fields.
QString field(const QString& text, const QString& sep, qsizetype index) {
    const QStringList fields = Split(text, sep);
    return at(fields, index);
}

}  // namespace

void MainApp::wireBroker() {
    ExceptionBoundary& b = p_.boundary;
    brokerSocket.onConnected = b.wrap([this] { brokerSocket_Connected(); });
    brokerSocket.onDataAvailable = b.wrap([this] { brokerSocket_DataAvailable(); });
    brokerSocket.onError = b.wrap([this] { brokerSocket_Error(); });
    brokerSocket.onTlsError = [this](const QString& reason) {
        p_.boundary.run([this, reason] { brokerSocket_TlsError(reason); });
    };

    auto on = [&b](Signal<>& event, std::function<void()> handler) {
        event.connect(b.wrap(std::move(handler)));
    };
    BrokerUsers& u = brokerUsers;
    on(u.window.closed, [this] { brokerUsers_Close(); });
    on(u.userList.change, [this] { userList_Change(); });
    on(u.requestConnect.action, [this] { requestConnect_Action(); });
    on(u.brokerChat.action, [this] { brokerChat_Action(); });
    BrokerOptions& o = brokerOptions;
    on(o.BevelButton1.action, [this] { BevelButton1_Action(); });
    on(o.boptsSave.action, [this] { boptsSave_Action(); });
}

void MainApp::startBroker(bool slave) {
    Q_UNUSED(slave);
    if (brokerID.isEmpty() || brokerPIN.isEmpty()) {
        p_.dialogs.message(QStringLiteral("Your must enter your email address and PIN for the Velto Broker service"));
        return;
    }
    brokerQuitAsked = false;
    brokerSocket.address = brokerHost;
    brokerSocket.port = brokerPort;
    brokerSocket.connect();
    MenuBar1.vbRequest.setEnabled(true);
    MenuBar1.vbQuit.setEnabled(true);
}

void MainApp::brokerSocket_Connected() {
    // Nothing is written: the service speaks first, with ";info:".
    hostInfo.setText(QStringLiteral("Connected to Broker"));
    MenuBar1.vbQuit.setEnabled(true);
    MenuBar1.vbConnect.setEnabled(false);
}

void MainApp::brokerSocket_Error() {
    if (brokerSocket.lastErrorCode() != TcpSocket::LostConnection) return;
    // The service going away ends a slave's link to its master too.
    if (brokerConnected && same(systemMode, kSlave))
        stopOnLossOfControl(QStringLiteral("The broker link was lost"));
    // In whatever state the session was, it is over: the next Connect logs in afresh.
    brokerConnected = false;
    MenuBar1.vbConnect.setEnabled(true);
    if (!brokerQuitAsked)  // after ";quit" the service closes, as asked
        log(QStringLiteral("The link to the broker was lost; Connect logs in again"));
}

void MainApp::brokerSocket_TlsError(const QString& reason) { log(QStringLiteral("TLS: ") + reason); }

void MainApp::brokerSocket_DataAvailable() {
    QString chunk = QString::fromUtf8(brokerSocket.readAll());
    if (chunk.isEmpty()) {
        parseBrokerData(QString());
        return;
    }
    chunk.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    chunk.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    // The service writes whole lines; what follows the last line end is not kept for later.
    const QStringList pieces = chunk.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i + 1 < pieces.size(); ++i) {
        if (peerReadTooLong(pieces[i].toUtf8().size(), QStringLiteral("the broker"))) continue;
        parseBrokerData(pieces[i]);
    }
}

void MainApp::parseBrokerData(const QString& line) {
    auto command = [this](const QString& text) { brokerSocket.write((text + QLatin1Char('\r')).toUtf8()); };
    Dialogs& dialogs = p_.dialogs;

    if (begins(line, QStringLiteral(";info:")) && !brokerConnected) {
        command(QStringLiteral(";register=") + brokerID + QLatin1Char(';') + brokerPIN + QStringLiteral(";v2;") +
                brokerProfile);
        brokerSocket.flush();
        MenuBar1.vbConnect.setEnabled(false);
        MenuBar1.vbQuit.setEnabled(true);
    } else if (begins(line, QStringLiteral(";registered:")) && same(systemMode, kMaster)) {
        if (!brokerauto.isEmpty()) {
            command(QStringLiteral(";connect=") + brokerauto);
        } else {
            brokerUsersWindow().userList.deleteAllRows();
            brokerProfiles.clear();
            command(QStringLiteral(";users"));
        }
        brokerSocket.flush();
    } else if (begins(line, QStringLiteral(";user:"))) {
        const QStringList entry = Split(field(line, QStringLiteral(":"), 1), QStringLiteral(";"));
        const QString id = at(entry, 0);
        if (!same(Trim(id), brokerID)) {
            brokerUsersWindow().userList.addRow(id);
            brokerProfiles.append(at(entry, 1));
        }
    } else if (begins(line, QStringLiteral(";total:"))) {
        BrokerUsers& users = brokerUsersWindow();
        if (users.userList.listCount() > 0) {
            if (users.userList.listIndex() == 0)
                userList_Change();
            else
                users.userList.setListIndex(0);
            users.window.show();
        } else {
            users.window.close();
            dialogs.message(
                QStringLiteral("Sorry; there are no other users available via Velto Broker. Please try later"));
        }
    } else if (begins(line, QStringLiteral(";error:"))) {
        dialogs.message(QStringLiteral("VeltoBroker Error:\n") + field(line, QStringLiteral(":"), 1));
    } else if (begins(line, QStringLiteral(";broadcast:"))) {
        dialogs.message(QStringLiteral("VeltoBroker System Message:\n") + field(line, QStringLiteral(":"), 1));
    } else if (begins(line, QStringLiteral(";chat="))) {
        const QStringList fields = Split(field(line, QStringLiteral("="), 1), QStringLiteral(";"));
        const QString sender = at(fields, 0);
        const QString text = at(fields, 1);
        bool found = false;
        // Every open window with this user gets the line; the newest first.
        for (auto it = brokerChats.rbegin(); it != brokerChats.rend(); ++it) {
            BrokerChat& chat = **it;
            if (chat.window.visible() && same(chat.window.title(), sender)) {
                UpdateChat(chat, sender, text);
                found = true;
            }
        }
        if (!found) UpdateChat(newBrokerChat(sender), sender, text);
    } else if (begins(line, QStringLiteral(";connect=")) && same(systemMode, kSlave)) {
        const QStringList fields = Split(field(line, QStringLiteral("="), 1), QStringLiteral(";"));
        const QString peer = at(fields, 0);
        currentPeer = Trim(peer);
        const QString profile = at(fields, 1);
        bool accept = false;
        // The accept list is asked first: a name on both lists is accepted.
        if (brokerAccept.contains(currentPeer, Qt::CaseInsensitive)) {
            brokerAutoConnected = true;
            accept = true;
        } else {
            brokerAutoConnected = false;
            if (!brokerReject.contains(currentPeer, Qt::CaseInsensitive))
                accept = dialogs.yesNo(QStringLiteral("Do you want to accept a connection from ") + peer +
                                           QStringLiteral("\rProfile: ") + profile,
                                       Dialogs::Question, QStringLiteral("Velto Broker request"));
        }
        command((accept ? QStringLiteral(";accept=") : QStringLiteral(";reject=")) + currentPeer);
        brokerSocket.flush();
    } else if (begins(line, QStringLiteral(";denied"))) {
        dialogs.message(QStringLiteral("Your connection request was rejected"));
    } else if (begins(line, QStringLiteral(";unavailable"))) {
        dialogs.message(QStringLiteral("Sorry. The requested user is not online at present"));
    } else if (begins(line, QStringLiteral(";busy"))) {
        dialogs.message(QStringLiteral("Sorry. The requested user is busy"));
    } else if (begins(line, QStringLiteral(";disconnected"))) {
        if (brokerConnected && same(systemMode, kSlave))
            stopOnLossOfControl(QStringLiteral("The broker peer went"));
        brokerConnected = false;
        if (!brokerAutoConnected)
            dialogs.message(QStringLiteral("The connection via VeltoBroker has been lost. The other person may have "
                                           "quit, or lost their link to the server"));
    } else if (begins(line, QStringLiteral(";connected"))) {
        brokerConnected = true;
        newPeerForBounds();
        brokerProfiles.clear();
        if (same(systemMode, kSlave)) {
            brokerSocket.write(
                QByteArrayLiteral(";VELTO:Control/Server version 2.6.1, build 25 on OS X (via Velto Broker)\r\n"));
            brokerSocket.write(QByteArrayLiteral(";STATUS:type=QTR,25\r\n"));
            brokerSocket.flush();
        }
    } else if (begins(line, QStringLiteral(";failed"))) {
        brokerSocket.disconnect();
        dialogs.message(QStringLiteral("You could not be logged in to VeltoBroker. Please check your settings. The "
                                       "response returned was ") +
                        Mid(line, 11));
        hostInfo.setText(QStringLiteral("Broker login failed"));
    }

    // Every line, service line or not, is a peer line of a linked session too: chat and
    // service traffic count as activity against a slave's time-out.
    if (brokerConnected && same(systemMode, kSlave)) {
        errText.setText({});
        SourceScope source(*this, CommandSource::Broker);
        slaveTakesLine(line);
    }
    if (brokerConnected && same(systemMode, kMaster)) {
        if (!line.startsWith(QLatin1Char(';')))
            statusRefresh(line);
        else
            extendedResponse(Trim(Mid(line, 2)));
    }
    if (serverLogging && !line.isEmpty()) log(line + QStringLiteral("\r\n"));
}

// ---- The VeltoBroker menu ------------------------------------------------------------------

bool MainApp::_vbConnect_Action() {
    if (!brokerSocket.isConnected()) startBroker(true);
    return true;
}

bool MainApp::_vbQuit_Action() {
    // The service closes the connection itself once it has the line.
    if (brokerSocket.isConnected()) {
        brokerSocket.write(QByteArrayLiteral(";quit\r"));
        brokerSocket.flush();
        hostInfo.setText({});
        brokerQuitAsked = true;
    }
    return true;
}

bool MainApp::_vbRequest_Action() {
    if (brokerSocket.isConnected()) {
        brokerSocket.write(QByteArrayLiteral(";users\r"));
        brokerProfiles.clear();
        brokerSocket.flush();
    } else {
        p_.dialogs.message(QStringLiteral("You are not connected to VeltoBroker"));
    }
    return true;
}

bool MainApp::_vbDisconnect_Action() {
    // The login stays up: the copy can be asked again.
    if (brokerConnected) {
        brokerSocket.write(QByteArrayLiteral(";end\r"));
        brokerSocket.flush();
        brokerConnected = false;
    }
    return true;
}

bool MainApp::_vbBlock_Action() {
    if (brokerConnected) {
        brokerSocket.write(QByteArrayLiteral(";end\r"));
        brokerSocket.flush();
        brokerConnected = false;
    }
    // Every entry goes: one left on the accept list would still let the peer in.
    brokerAccept.removeIf([this](const QString& peer) { return same(peer, currentPeer); });
    if (!brokerReject.contains(currentPeer, Qt::CaseInsensitive)) brokerReject.append(currentPeer);
    p_.dialogs.notice(currentPeer + QStringLiteral(" has been added to the auto-reject list"), Dialogs::Warning,
                      QStringLiteral("User blocked"));
    currentPeer.clear();
    return true;
}

}  // namespace velto
