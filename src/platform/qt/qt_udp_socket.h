#pragma once
// UDP on Qt: bound with address sharing, so a scan and an advertiser can share the port.

#include <QUdpSocket>

#include "platform/udp_socket.h"

namespace velto {

class QtUdpSocket final : public UdpSocket {
public:
    QtUdpSocket();
    bool connect() override;
    void close() override { socket_.close(); }
    bool isConnected() const override { return socket_.state() == QAbstractSocket::BoundState; }
    bool hasDatagram() const override { return const_cast<QUdpSocket&>(socket_).hasPendingDatagrams(); }
    Datagram read() override;
    void write(const QString& address, const QByteArray& data) override;

private:
    QUdpSocket socket_;
};

class QtUdpFactory final : public UdpFactory {
public:
    std::unique_ptr<UdpSocket> create() override { return std::make_unique<QtUdpSocket>(); }
};

}  // namespace velto
