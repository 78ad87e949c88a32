#include "platform/qt/qt_tcp_socket.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include "platform/qt/keep_alive.h"
#include "platform/qt/qt_network_info.h"

namespace velto {

QtTcpSocket::QtTcpSocket() = default;

QtTcpSocket::~QtTcpSocket() {
    onConnected = nullptr;
    onDataAvailable = nullptr;
    onError = nullptr;
    dropPeer();
    delete server_;
}

void QtTcpSocket::dropPeer() {
    if (!peer_) return;
    QTcpSocket* peer = peer_;
    peer_ = nullptr;
    QObject::disconnect(peer, nullptr, nullptr, nullptr);
    if (peer->state() == QAbstractSocket::ConnectedState && peer->bytesToWrite() > 0) {
        // What was written last (an HTTP answer, say) still goes out before the close.
        QObject::connect(peer, &QTcpSocket::disconnected, peer, &QObject::deleteLater);
        QTimer::singleShot(5000, peer, [peer] { peer->abort(); });
        peer->disconnectFromHost();
    } else {
        peer->abort();
        peer->deleteLater();
    }
}

void QtTcpSocket::raiseError(int code) {
    lastError_ = code;
    if (onError) onError();
}

void QtTcpSocket::adopt(QTcpSocket* peer) {
    peer_ = peer;
    // A level change must not wait in a buffer for the next packet.
    peer->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QObject::connect(peer, &QTcpSocket::readyRead, peer, [this] {
        if (onDataAvailable) onDataAvailable();
    });
    QObject::connect(peer, &QTcpSocket::errorOccurred, peer,
                     [this, peer](QAbstractSocket::SocketError error) {
                         if (peer != peer_) return;
                         const bool wasConnected = peer->state() != QAbstractSocket::ConnectingState &&
                                                   peer->state() != QAbstractSocket::HostLookupState;
                         int code = LostConnection;
                         if (error == QAbstractSocket::HostNotFoundError) code = NameResolutionError;
                         else if (error == QAbstractSocket::AddressInUseError) code = AddressInUseError;
                         Q_UNUSED(wasConnected);
                         dropPeer();
                         raiseError(code);
                     });
}

namespace {
// A port number as the socket takes it; beyond 16 bits it would wrap to some other port.
bool validPort(qint64 port) { return port >= 0 && port <= 65535; }
}  // namespace

void QtTcpSocket::connect() {
    dropPeer();
    if (server_) server_->close();
    closing_ = false;
    if (!validPort(port)) {
        raiseError(InvalidPortError);
        return;
    }
    auto* peer = new QTcpSocket;
    adopt(peer);
    QObject::connect(peer, &QTcpSocket::connected, peer, [this, peer] {
        keepAlive(*peer);
        if (onConnected) onConnected();
    });
    peer->connectToHost(address, static_cast<quint16>(port));
}

void QtTcpSocket::listen() {
    dropPeer();
    closing_ = false;
    if (!server_) {
        server_ = new QTcpServer;
        QObject::connect(server_, &QTcpServer::newConnection, server_, [this] { takeNextPeer(); });
    }
    if (!validPort(port)) {
        server_->close();
        raiseError(InvalidPortError);
        return;
    }
    if (!server_->isListening() || server_->serverPort() != static_cast<quint16>(port) || port == 0) {
        server_->close();
        if (!server_->listen(listenAddress_, static_cast<quint16>(port))) {
            raiseError(server_->serverError() == QAbstractSocket::AddressInUseError ? AddressInUseError
                                                                                     : InvalidPortError);
            return;
        }
    }
    // The listener stays open: a client that comes while a peer is on the line waits in the
    // backlog until this peer is done, instead of being refused.
    server_->resumeAccepting();
    if (server_->hasPendingConnections())
        QTimer::singleShot(0, server_, [this] { takeNextPeer(); });
}

void QtTcpSocket::takeNextPeer() {
    if (peer_ || !server_) return;
    while (QTcpSocket* incoming = server_->nextPendingConnection()) {
        if (incoming->state() != QAbstractSocket::ConnectedState) {  // gave up while waiting
            incoming->deleteLater();
            continue;
        }
        server_->pauseAccepting();
        keepAlive(*incoming);
        adopt(incoming);
        if (onConnected) onConnected();
        if (peer_ == incoming && incoming->bytesAvailable() > 0 && onDataAvailable) onDataAvailable();
        return;
    }
}

void QtTcpSocket::disconnect() {
    dropPeer();
    if (!server_ || !server_->isListening()) return;
    // A Disconnect followed at once by a Listen (the end of an HTTP exchange) keeps the port
    // open, so the clients already waiting in its backlog are served, not reset.
    server_->pauseAccepting();
    closing_ = true;
    QTimer::singleShot(0, server_, [this] {
        if (!closing_) return;
        closing_ = false;
        server_->close();
    });
}

bool QtTcpSocket::isConnected() const {
    return peer_ && peer_->state() == QAbstractSocket::ConnectedState;
}

bool QtTcpSocket::isListening() const { return !peer_ && !closing_ && server_ && server_->isListening(); }

namespace {
// Peers on a dual-stack listener show as "::ffff:a.b.c.d"; the protocol speaks IPv4.
QString plain(const QHostAddress& address) {
    bool ok = false;
    const quint32 v4 = address.toIPv4Address(&ok);
    return ok ? QHostAddress(v4).toString() : address.toString();
}
}  // namespace

QString QtTcpSocket::localAddress() const {
    if (peer_ && peer_->state() == QAbstractSocket::ConnectedState) return plain(peer_->localAddress());
    // Bound to one address, that is where a peer finds this copy.
    if (listenAddress_ != QHostAddress::Any && listenAddress_ != QHostAddress::AnyIPv4 &&
        listenAddress_ != QHostAddress::AnyIPv6)
        return plain(listenAddress_);
    return QtNetworkInfo().localAddress();
}

QString QtTcpSocket::remoteAddress() const { return peer_ ? plain(peer_->peerAddress()) : QString(); }

QByteArray QtTcpSocket::readAll() { return peer_ ? peer_->readAll() : QByteArray(); }

void QtTcpSocket::write(const QByteArray& bytes) {
    if (peer_) peer_->write(bytes);
}

qint64 QtTcpSocket::bytesToWrite() const { return peer_ ? peer_->bytesToWrite() : 0; }

void QtTcpSocket::flush() {
    if (peer_) peer_->flush();
}

quint16 QtTcpSocket::serverPort() const { return server_ ? server_->serverPort() : 0; }

}  // namespace velto
