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
    // As a real socket, a port beyond 16 bits can't be had.
    const bool inRange = port >= 0 && port <= 65535;
    const int refusal = refuseListen != 0 ? refuseListen : inRange ? 0 : int(InvalidPortError);
    listening_ = refusal == 0;
    if (listening_) return;
    lastError_ = refusal;
    if (onError) onError();
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
    if (peerStopsReading) unread += bytes.size();
}

void FakeTcpSocket::peerConnects(const QString& fromAddress) {
    remote = fromAddress;
    connected_ = true;
    unread = 0;
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
