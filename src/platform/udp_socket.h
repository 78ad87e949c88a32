#pragma once
// A UDP socket: bound to a port, it reads datagrams and writes them to an address.

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>

namespace velto {

struct Datagram {
    QString address;
    qint64 port = 0;
    QByteArray data;
};

class UdpSocket {
public:
    virtual ~UdpSocket() = default;
    qint64 port = 0;
    int routerHops = 32;
    bool sendToSelf = false;

    /// Binds to `port`; false when that fails.
    virtual bool connect() = 0;
    virtual void close() = 0;
    virtual bool isConnected() const = 0;
    virtual bool hasDatagram() const = 0;
    virtual Datagram read() = 0;
    virtual void write(const QString& address, const QByteArray& data) = 0;

    std::function<void()> onDataAvailable;
};

/// Makes UDP sockets, one per advertisement.
class UdpFactory {
public:
    virtual ~UdpFactory() = default;
    virtual std::unique_ptr<UdpSocket> create() = 0;
};

/// The local and broadcast addresses of this machine, overridable from the command line.
class NetworkInfo {
public:
    virtual ~NetworkInfo() = default;
    virtual QString localAddress() const = 0;
    virtual QString broadcastAddress() const = 0;
};

}  // namespace velto
