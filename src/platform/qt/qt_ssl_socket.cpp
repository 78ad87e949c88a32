#include "platform/qt/qt_ssl_socket.h"

#include <QSslSocket>
#include <QStringList>

#include "platform/qt/keep_alive.h"

namespace velto {

QtSslSocket::~QtSslSocket() {
    onConnected = nullptr;
    onDataAvailable = nullptr;
    onError = nullptr;
    onTlsError = nullptr;
    drop();
}

void QtSslSocket::drop() {
    encrypted_ = false;
    if (!socket_) return;
    QSslSocket* socket = socket_;
    socket_ = nullptr;
    QObject::disconnect(socket, nullptr, nullptr, nullptr);
    socket->abort();
    socket->deleteLater();
}

void QtSslSocket::raiseError(int code) {
    lastError_ = code;
    if (onError) onError();
}

void QtSslSocket::connect() {
    drop();
    lastError_ = NoError;
    auto* socket = new QSslSocket;
    socket_ = socket;
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QObject::connect(socket, &QSslSocket::encrypted, socket, [this, socket] {
        keepAlive(*socket);
        encrypted_ = true;
        if (onConnected) onConnected();
    });
    QObject::connect(socket, &QSslSocket::readyRead, socket, [this] {
        if (encrypted_ && onDataAvailable) onDataAvailable();
    });
    QObject::connect(socket, &QSslSocket::sslErrors, socket, [this](const QList<QSslError>& errors) {
        // Never ignored: the connection goes before a byte of ours is sent.
        QStringList reasons;
        for (const QSslError& error : errors) reasons.append(error.errorString());
        drop();
        if (onTlsError) onTlsError(reasons.join(QStringLiteral("; ")));
    });
    QObject::connect(socket, &QSslSocket::errorOccurred, socket, [this, socket](QAbstractSocket::SocketError error) {
        if (socket != socket_) return;
        if (error == QAbstractSocket::SslHandshakeFailedError || error == QAbstractSocket::SslInternalError ||
            error == QAbstractSocket::SslInvalidUserDataError) {
            const QString reason = socket->errorString();
            drop();
            if (onTlsError) onTlsError(reason);
            return;
        }
        int code = LostConnection;
        if (error == QAbstractSocket::HostNotFoundError) code = NameResolutionError;
        drop();
        raiseError(code);
    });
    socket->connectToHostEncrypted(address, quint16(port));
}

void QtSslSocket::listen() { raiseError(InvalidStateError); }

void QtSslSocket::disconnect() {
    if (socket_ && encrypted_) socket_->flush();
    drop();
}

bool QtSslSocket::isConnected() const { return socket_ && encrypted_; }

QString QtSslSocket::localAddress() const {
    return socket_ ? socket_->localAddress().toString() : QString();
}

QString QtSslSocket::remoteAddress() const {
    return isConnected() ? socket_->peerAddress().toString() : QString();
}

QByteArray QtSslSocket::readAll() { return socket_ ? socket_->readAll() : QByteArray(); }

void QtSslSocket::write(const QByteArray& bytes) {
    // Nothing goes out before the far end has proved who it is.
    if (isConnected()) socket_->write(bytes);
}

qint64 QtSslSocket::bytesToWrite() const { return socket_ ? socket_->bytesToWrite() : 0; }

void QtSslSocket::flush() {
    if (isConnected()) socket_->flush();
}

}  // namespace velto
