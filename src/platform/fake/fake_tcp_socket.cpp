#include "platform/fake/fake_tcp_socket.h"

#include "platform/clock.h"

namespace velto {

void FakeTcpSocket::connect() {
    ++connects;
    listening_ = false;
}

void FakeTcpSocket::listen() {
    ++listens;
    connected_ = false;
    listening_ = true;
}

void FakeTcpSocket::disconnect() {
    ++disconnects;
    connected_ = false;
    listening_ = false;
    rx_.clear();
}

QByteArray FakeTcpSocket::readAll() {
    QByteArray out;
    out.swap(rx_);
    return out;
}

void FakeTcpSocket::write(const QByteArray& bytes) {
    if (!connected_) return;
    sent += bytes;
    writes.append(bytes);
}

void FakeTcpSocket::peerConnects(const QString& fromAddress) {
    remote = fromAddress;
    connected_ = true;
    listening_ = false;
    clock_.post(0, [this] {
        if (connected_ && onConnected) onConnected();
    });
}

void FakeTcpSocket::peerSends(const QByteArray& bytes) {
    clock_.post(0, [this, bytes] {
        if (!connected_) return;
        rx_ += bytes;
        if (onDataAvailable) onDataAvailable();
    });
}

void FakeTcpSocket::peerDrops() {
    clock_.post(0, [this] {
        if (!connected_) return;
        connected_ = false;
        lastError_ = LostConnection;
        if (onError) onError();
    });
}

void FakeTcpSocket::failConnect(int code) {
    clock_.post(0, [this, code] {
        connected_ = false;
        lastError_ = code;
        if (onError) onError();
    });
}

void FakeTcpSocket::failHandshake(const QString& reason) {
    clock_.post(0, [this, reason] {
        connected_ = false;
        if (onTlsError) onTlsError(reason);
    });
}

}  // namespace velto
