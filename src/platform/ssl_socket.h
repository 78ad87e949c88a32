#pragma once
// A TLS client socket with the operations of TcpSocket. The far end's certificate is always
// verified; one that fails raises TlsError with the reason, and the connection is dropped
// before anything is sent.

#include "platform/tcp_socket.h"

namespace velto {

class SslSocket : public TcpSocket {
public:
    /// Raised with the reason when the handshake or the certificate fails.
    std::function<void(const QString& reason)> onTlsError;
};

}  // namespace velto
