#include "platform/qt/qt_tcp_socket.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

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

void QtTcpSocket::connect() {
    disconnect();
    auto* peer = new QTcpSocket;
    adopt(peer);
    QObject::connect(peer, &QTcpSocket::connected, peer, [this] {
        if (onConnected) onConnected();
    });
    peer->connectToHost(address, static_cast<quint16>(port));
}

void QtTcpSocket::listen() {
    dropPeer();
    if (!server_) {
        server_ = new QTcpServer;
        QObject::connect(server_, &QTcpServer::newConnection, server_, [this] {
            while (QTcpSocket* incoming = server_->nextPendingConnection()) {
                if (peer_) {  // one peer at a time
                    incoming->abort();
                    incoming->deleteLater();
                    continue;
                }
                adopt(incoming);
                server_->close();
                if (onConnected) onConnected();
                if (incoming->bytesAvailable() > 0 && onDataAvailable) onDataAvailable();
            }
        });
    }
    server_->close();
    if (!server_->listen(listenAddress_, static_cast<quint16>(port)))
        raiseError(server_->serverError() == QAbstractSocket::AddressInUseError ? AddressInUseError
                                                                                 : InvalidPortError);
}

void QtTcpSocket::disconnect() {
    dropPeer();
    if (server_) server_->close();
}

bool QtTcpSocket::isConnected() const {
    return peer_ && peer_->state() == QAbstractSocket::ConnectedState;
}

bool QtTcpSocket::isListening() const { return server_ && server_->isListening(); }

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
    return QtNetworkInfo().localAddress();
}

QString QtTcpSocket::remoteAddress() const { return peer_ ? plain(peer_->peerAddress()) : QString(); }

QByteArray QtTcpSocket::readAll() { return peer_ ? peer_->readAll() : QByteArray(); }

void QtTcpSocket::write(const QByteArray& bytes) {
    if (peer_) peer_->write(bytes);
}

void QtTcpSocket::flush() {
    if (peer_) peer_->flush();
}

quint16 QtTcpSocket::serverPort() const { return server_ ? server_->serverPort() : 0; }

}  // namespace velto
