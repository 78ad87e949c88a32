#pragma once
// For tests on real loopback sockets: a TCP port on 127.0.0.1 that nothing listens on now.

#include <QTcpServer>

namespace velto {

inline quint16 freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

}  // namespace velto
