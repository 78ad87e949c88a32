#pragma once
// One TCP socket object that either listens for one peer or connects to one. While a peer is
// connected no second client is served. A lost connection raises Error with LostConnection.

#include <QByteArray>
#include <QString>
#include <functional>

namespace velto {

class TcpSocket {
public:
    enum ErrorCode { NoError = 0, OpenDriverError = 100, LostConnection = 102, NameResolutionError = 103,
                     AddressInUseError = 105, InvalidStateError = 106, InvalidPortError = 107,
                     OutOfMemoryError = 108 };

    virtual ~TcpSocket() = default;

    QString address;
    qint64 port = 0;

    virtual void connect() = 0;
    /// A listen that fails (the port taken or out of range) raises Error with its code at once
    /// and leaves isListening() false.
    virtual void listen() = 0;
    /// Closes the peer connection and stops listening.
    virtual void disconnect() = 0;
    virtual bool isConnected() const = 0;
    virtual bool isListening() const = 0;
    virtual QString localAddress() const = 0;
    virtual QString remoteAddress() const = 0;
    virtual int lastErrorCode() const = 0;
    virtual QByteArray readAll() = 0;
    virtual void write(const QByteArray& bytes) = 0;
    /// Bytes written but not yet handed to the network: what a peer that doesn't read leaves.
    virtual qint64 bytesToWrite() const = 0;
    virtual void flush() = 0;

    std::function<void()> onConnected;
    std::function<void()> onDataAvailable;
    std::function<void()> onError;
};

}  // namespace velto
