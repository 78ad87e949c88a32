// The Qt TCP socket's bounds on loopback: keep-alive on both ends of a link, and the reason a
// port can't be listened on.

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <functional>

#include "platform/qt/keep_alive.h"
#include "platform/qt/qt_tcp_socket.h"
#include "support/run_until.h"

using namespace velto;

namespace {

/// The connected IPv4 socket of this process whose local and peer ports pass `match`, or -1.
int findSocket(const std::function<bool(quint16 local, quint16 peer)>& match) {
    for (int fd = 0; fd < 1024; ++fd) {
        sockaddr_in mine{}, theirs{};
        socklen_t n = sizeof mine, m = sizeof theirs;
        if (::getsockname(fd, reinterpret_cast<sockaddr*>(&mine), &n) == 0 &&
            mine.sin_family == AF_INET &&
            ::getpeername(fd, reinterpret_cast<sockaddr*>(&theirs), &m) == 0 &&
            match(ntohs(mine.sin_port), ntohs(theirs.sin_port)))
            return fd;
    }
    return -1;
}

int option(int fd, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    return ::getsockopt(fd, level, name, &value, &size) == 0 ? value : -1;
}

}  // namespace

TEST(BoundsIntegration, BothEndsOfALinkUseKeepAliveAndARefusedPortSaysWhy) {
    QtTcpSocket slave, master;
    slave.setListenAddress(QHostAddress::LocalHost);
    slave.listen();
    ASSERT_TRUE(slave.isListening());
    bool connected = false;
    master.onConnected = [&] { connected = true; };
    master.address = QStringLiteral("127.0.0.1");
    master.port = slave.serverPort();
    master.connect();
    ASSERT_TRUE(runUntil([&] { return connected && slave.isConnected(); }, 3000));

    // The accepted socket has the listener's port; the master's has it as its peer's.
    const quint16 port = slave.serverPort();
    for (const bool accepted : {true, false}) {
        const int fd = findSocket(
            [&](quint16 local, quint16 peer) { return (accepted ? local : peer) == port; });
        ASSERT_GE(fd, 0) << accepted;
        EXPECT_EQ(option(fd, SOL_SOCKET, SO_KEEPALIVE), 1) << accepted;
        EXPECT_EQ(option(fd, IPPROTO_TCP, TCP_KEEPIDLE), kKeepAliveIdleS);
        EXPECT_EQ(option(fd, IPPROTO_TCP, TCP_KEEPINTVL), kKeepAliveIntervalS);
        EXPECT_EQ(option(fd, IPPROTO_TCP, TCP_KEEPCNT), kKeepAliveProbes);
    }

    // The slave's port, still listened on; and one past the last port, which would wrap.
    const std::pair<qint64, int> refused[] = {{port, TcpSocket::AddressInUseError},
                                              {65536, TcpSocket::InvalidPortError}};
    for (const auto& [taken, code] : refused) {
        QtTcpSocket other;
        int errors = 0;
        other.onError = [&] { ++errors; };
        other.setListenAddress(QHostAddress::LocalHost);
        other.port = taken;
        other.listen();
        EXPECT_FALSE(other.isListening()) << taken;
        EXPECT_EQ(errors, 1) << taken;
        EXPECT_EQ(other.lastErrorCode(), code) << taken;
    }
}
