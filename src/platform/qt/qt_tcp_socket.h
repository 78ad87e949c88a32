#pragma once
// The framework's TCP socket on Qt: one object that listens for a single peer or connects to
// one. While a peer is on the line no second client is served (it waits); a lost connection
// raises Error with LostConnection.

#include <QHostAddress>
#include <QPointer>

#include "platform/tcp_socket.h"

class QTcpServer;
class QTcpSocket;

namespace velto {

class QtTcpSocket final : public TcpSocket {
public:
    QtTcpSocket();
    ~QtTcpSocket() override;

    /// Where listen() binds; any address unless set (tests bind loopback).
    void setListenAddress(const QHostAddress& address) { listenAddress_ = address; }

    void connect() override;
    void listen() override;
    void disconnect() override;
    bool isConnected() const override;
    bool isListening() const override;
    QString localAddress() const override;
    QString remoteAddress() const override;
    int lastErrorCode() const override { return lastError_; }
    QByteArray readAll() override;
    void write(const QByteArray& bytes) override;
    qint64 bytesToWrite() const override;
    void flush() override;

    /// The port actually listened on (useful when port 0 asked for any free one).
    quint16 serverPort() const;

private:
    void adopt(QTcpSocket* peer);
    /// Takes the next waiting client, if no peer is on the line.
    void takeNextPeer();
    void dropPeer();
    void raiseError(int code);

    QHostAddress listenAddress_ = QHostAddress::Any;
    QTcpServer* server_ = nullptr;
    QPointer<QTcpSocket> peer_;
    int lastError_ = 0;
    /// A Disconnect's close of the listener, due unless a Listen comes first.
    bool closing_ = false;
};

}  // namespace velto
