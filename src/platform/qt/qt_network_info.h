#pragma once
// The machine's own address and its broadcast address, from the first interface that is up and
// not loopback; either can be fixed from the command line.

#include "platform/udp_socket.h"

namespace velto {

class QtNetworkInfo final : public NetworkInfo {
public:
    QString localAddress() const override;
    QString broadcastAddress() const override;
    /// Fixes the broadcast address (for tests: 127.255.255.255).
    void setBroadcastOverride(const QString& address) { broadcastOverride_ = address; }
    /// Fixes the local address (a slave bound to one address gives out that one).
    void setLocalOverride(const QString& address) { localOverride_ = address; }

private:
    QString broadcastOverride_;
    QString localOverride_;
};

}  // namespace velto
