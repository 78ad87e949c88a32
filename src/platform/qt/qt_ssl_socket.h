#pragma once
// The TLS client socket on Qt. The far end's certificate is checked against the system's CAs
// and any added with --ca-file; a failure raises TlsError with the reason and drops the
// connection before anything goes out. Connect only: the services are never listened for.

#include <QPointer>

#include "platform/ssl_socket.h"

class QSslSocket;

namespace velto {

class QtSslSocket final : public SslSocket {
public:
    QtSslSocket() = default;
    ~QtSslSocket() override;

    void connect() override;
    /// A TLS client has nothing to listen for: raises Error with InvalidStateError.
    void listen() override;
    void disconnect() override;
    bool isConnected() const override;
    bool isListening() const override { return false; }
    QString localAddress() const override;
    QString remoteAddress() const override;
    int lastErrorCode() const override { return lastError_; }
    QByteArray readAll() override;
    void write(const QByteArray& bytes) override;
    qint64 bytesToWrite() const override;
    void flush() override;

private:
    void drop();
    void raiseError(int code);

    QPointer<QSslSocket> socket_;
    bool encrypted_ = false;
    int lastError_ = 0;
};

}  // namespace velto
