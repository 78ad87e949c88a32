#pragma once
// An in-memory TCP or TLS socket for unit tests. The test plays the far end: it connects a peer,
// sends it lines, drops it, and reads what the program wrote. Events are posted on the clock,
// as a real socket raises them from the event loop.

#include <QByteArrayList>

#include "platform/ssl_socket.h"

namespace velto {

class Clock;

class FakeTcpSocket final : public SslSocket {
public:
    explicit FakeTcpSocket(Clock& clock) : clock_(clock) {}

    void connect() override;
    void listen() override;
    void disconnect() override;
    bool isConnected() const override { return connected_; }
    bool isListening() const override { return listening_; }
    QString localAddress() const override { return local; }
    QString remoteAddress() const override { return connected_ ? remote : QString(); }
    int lastErrorCode() const override { return lastError_; }
    QByteArray readAll() override;
    void write(const QByteArray& bytes) override;
    qint64 bytesToWrite() const override { return connected_ ? unread : 0; }
    void flush() override { ++flushes; }

    // The far end, as the test plays it.
    /// A peer arrives at a listening socket, or the far end accepts a connect.
    void peerConnects(const QString& fromAddress = QStringLiteral("127.0.0.1"));
    /// The peer sends bytes: one data event.
    void peerSends(const QByteArray& bytes);
    /// The peer goes away: the connection is lost.
    void peerDrops();
    /// A connect fails with `code`.
    void failConnect(int code);
    /// A TLS connect fails its handshake: TlsError with `reason`, and no connection.
    void failHandshake(const QString& reason);

    QString local = QStringLiteral("127.0.0.1");
    QString remote;
    /// Everything the program wrote, as one stream and write by write.
    QByteArray sent;
    QByteArrayList writes;
    int flushes = 0;
    /// A peer that doesn't read: each write stays counted here, as bytesToWrite.
    bool peerStopsReading = false;
    qint64 unread = 0;
    /// Nonzero: listen() fails with this code (AddressInUseError, say), as a real one raises it;
    /// a port out of range fails with InvalidPortError anyway.
    int refuseListen = 0;
    int listens = 0;
    int connects = 0;
    int disconnects = 0;

private:
    Clock& clock_;
    bool connected_ = false;
    bool listening_ = false;
    int lastError_ = 0;
    QByteArray rx_;
};

}  // namespace velto
