#pragma once
// In-memory UDP sockets: every datagram written is kept in a shared record for the test to read.

#include <memory>
#include <vector>

#include "platform/udp_socket.h"

namespace velto {

class Clock;

struct UdpRecord {
    struct Sent {
        qint64 timeMs;
        qint64 fromPort;
        QString address;
        QByteArray data;
    };
    std::vector<Sent> sent;
    int socketsMade = 0;
};

class FakeUdpSocket final : public UdpSocket {
public:
    FakeUdpSocket(Clock& clock, std::shared_ptr<UdpRecord> record) : clock_(clock), record_(std::move(record)) {}
    bool connect() override { return bound_ = true; }
    void close() override { bound_ = false; }
    bool isConnected() const override { return bound_; }
    bool hasDatagram() const override { return !inbox_.empty(); }
    Datagram read() override;
    void write(const QString& address, const QByteArray& data) override;
    /// A datagram arrives from the network.
    void receive(const Datagram& datagram);

private:
    Clock& clock_;
    std::shared_ptr<UdpRecord> record_;
    bool bound_ = false;
    std::vector<Datagram> inbox_;
};

class FakeUdpFactory final : public UdpFactory {
public:
    explicit FakeUdpFactory(Clock& clock) : clock_(clock) {}
    std::unique_ptr<UdpSocket> create() override {
        ++record->socketsMade;
        return std::make_unique<FakeUdpSocket>(clock_, record);
    }
    std::shared_ptr<UdpRecord> record = std::make_shared<UdpRecord>();

private:
    Clock& clock_;
};

class FixedNetworkInfo final : public NetworkInfo {
public:
    FixedNetworkInfo(QString local, QString broadcast) : local_(std::move(local)), broadcast_(std::move(broadcast)) {}
    QString localAddress() const override { return local_; }
    QString broadcastAddress() const override { return broadcast_; }

private:
    QString local_, broadcast_;
};

}  // namespace velto
