#include "platform/qt/keep_alive.h"

#include <QAbstractSocket>
#include <QVariant>
#include <utility>

#ifdef Q_OS_LINUX
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

namespace velto {

void keepAlive(QAbstractSocket& socket) {
    socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
#ifdef Q_OS_LINUX
    // The system's default waits two hours before the first probe.
    const auto fd = static_cast<int>(socket.socketDescriptor());
    if (fd < 0) return;
    for (const auto& [option, value] :
         {std::pair{TCP_KEEPIDLE, kKeepAliveIdleS}, std::pair{TCP_KEEPINTVL, kKeepAliveIntervalS},
          std::pair{TCP_KEEPCNT, kKeepAliveProbes}})
        ::setsockopt(fd, IPPROTO_TCP, option, &value, sizeof value);
#endif
}

}  // namespace velto
