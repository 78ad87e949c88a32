#include "platform/qt/qt_network_info.h"

#include <QNetworkInterface>

namespace velto {

namespace {
QNetworkAddressEntry firstEntry() {
    for (const QNetworkInterface& iface : QNetworkInterface::allInterfaces()) {
        const auto flags = iface.flags();
        if (!(flags & QNetworkInterface::IsUp) || !(flags & QNetworkInterface::IsRunning) ||
            (flags & QNetworkInterface::IsLoopBack))
            continue;
        for (const QNetworkAddressEntry& entry : iface.addressEntries())
            if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol) return entry;
    }
    return {};
}
}  // namespace

QString QtNetworkInfo::localAddress() const {
    if (!localOverride_.isEmpty()) return localOverride_;
    const QNetworkAddressEntry entry = firstEntry();
    return entry.ip().isNull() ? QStringLiteral("127.0.0.1") : entry.ip().toString();
}

QString QtNetworkInfo::broadcastAddress() const {
    if (!broadcastOverride_.isEmpty()) return broadcastOverride_;
    const QNetworkAddressEntry entry = firstEntry();
    return entry.broadcast().isNull() ? QStringLiteral("127.255.255.255") : entry.broadcast().toString();
}

}  // namespace velto
