// Bounds on real loopback sockets: a slave bound to one address with --listen, a port it can't
// have, and keep-alive on the sockets of both ends of a link.

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <functional>

#include "platform/qt/keep_alive.h"
#include "platform/qt/qt_tcp_socket.h"
#include "support/free_port.h"
#include "support/run_until.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

/// The headless program as a slave on `port` (no box: Connect only listens), its output kept.
struct HeadlessSlave {
    HeadlessSlave(const QString& port, const QStringList& options) {
        QFile settings(prefs.filePath("veltoprefs.ini"));
        if (settings.open(QIODevice::WriteOnly))
            settings.write(QStringLiteral("mode=slave\nport=%1\nserial=/dev/velto-none\n").arg(port).toUtf8());
        settings.close();
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral(VELTO_APP_PATH),
                      QStringList{"--headless", "--prefs", prefs.path(), "--connect", "--log", "--broadcast",
                                  "127.255.255.255"} + options);
    }
    ~HeadlessSlave() {
        process.terminate();
        if (!process.waitForFinished(5000)) process.kill(), process.waitForFinished(3000);
    }
    /// True once the output holds `text`.
    bool says(const QString& text) {
        return runUntil([&] { return (out += process.readAll()).contains(text.toUtf8()); }, 5000);
    }
    QTemporaryDir prefs;
    QProcess process;
    QByteArray out;
};

/// Whether a client reaches `address`:`port` and is greeted as a peer.
bool greeted(const QString& address, quint16 port) {
    QTcpSocket client;
    client.connectToHost(address, port);
    QByteArray got;
    auto done = [&] {
        return (got += client.readAll()).contains(";STATUS:type=QTR,25") ||
               client.state() == QAbstractSocket::UnconnectedState;
    };
    runUntil(done, 3000);
    return got.contains(";STATUS:type=QTR,25");
}

/// The connected IPv4 socket of this process whose local and peer ports pass `match`, or -1.
int findSocket(const std::function<bool(quint16 local, quint16 peer)>& match) {
    for (int fd = 0; fd < 1024; ++fd) {
        sockaddr_in mine{}, theirs{};
        socklen_t n = sizeof mine, m = sizeof theirs;
        if (::getsockname(fd, reinterpret_cast<sockaddr*>(&mine), &n) == 0 && mine.sin_family == AF_INET &&
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

TEST(BoundsIntegration, ASlaveListensOnTheGivenAddressOnlyAndSaysWhenItCannotListen) {
    const quint16 port = freePort();
    {
        HeadlessSlave slave(QString::number(port), {"--listen", "127.0.0.1"});
        ASSERT_TRUE(slave.says("Address: 127.0.0.1")) << slave.out.constData();
        EXPECT_TRUE(greeted("127.0.0.1", port));
        EXPECT_FALSE(greeted("127.0.0.2", port));  // another loopback address
    }
    {
        HeadlessSlave slave(QString::number(port), {});
        ASSERT_TRUE(slave.says("Address: ")) << slave.out.constData();
        EXPECT_TRUE(greeted("127.0.0.2", port));  // by default, every address
    }

    QTcpServer holder;
    ASSERT_TRUE(holder.listen(QHostAddress::LocalHost, port));
    const std::pair<QString, const char*> cases[] = {{QString::number(port), "it is in use"},
                                                     {"99999", "no such port, or not allowed"}};
    for (const auto& [taken, why] : cases) {
        HeadlessSlave slave(taken, {"--listen", "127.0.0.1"});
        EXPECT_TRUE(slave.says(u"Not listening on port %1: %2"_s.arg(taken).arg(why))) << slave.out.constData();
        EXPECT_FALSE(slave.out.contains("Address: ")) << slave.out.constData();
    }
}

TEST(BoundsIntegration, BothEndsOfALinkUseKeepAlive) {
    QtTcpSocket slave, master;
    slave.setListenAddress(QHostAddress::LocalHost);
    slave.port = 0;
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
    const int slaveFd = findSocket([port](quint16 local, quint16) { return local == port; });
    const int masterFd = findSocket([port](quint16, quint16 peer) { return peer == port; });
    ASSERT_GE(slaveFd, 0);
    ASSERT_GE(masterFd, 0);

    for (const int fd : {slaveFd, masterFd}) {
        EXPECT_EQ(option(fd, SOL_SOCKET, SO_KEEPALIVE), 1) << (fd == slaveFd ? "accepted" : "connected");
        EXPECT_EQ(option(fd, IPPROTO_TCP, TCP_KEEPIDLE), kKeepAliveIdleS);
        EXPECT_EQ(option(fd, IPPROTO_TCP, TCP_KEEPINTVL), kKeepAliveIntervalS);
        EXPECT_EQ(option(fd, IPPROTO_TCP, TCP_KEEPCNT), kKeepAliveProbes);
    }
}
