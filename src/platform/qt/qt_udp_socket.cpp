#include "platform/qt/qt_udp_socket.h"

#include <QNetworkDatagram>
#include <QVariant>

namespace velto {

QtUdpSocket::QtUdpSocket() {
    QObject::connect(&socket_, &QUdpSocket::readyRead, &socket_, [this] {
        if (onDataAvailable) onDataAvailable();
    });
}

bool QtUdpSocket::connect() {
    socket_.close();
    const bool ok = socket_.bind(QHostAddress::AnyIPv4, static_cast<quint16>(port),
                                 QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint);
    if (ok) {
        socket_.setSocketOption(QAbstractSocket::MulticastTtlOption, QVariant(routerHops));
        socket_.setSocketOption(QAbstractSocket::MulticastLoopbackOption, QVariant(sendToSelf ? 1 : 0));
    }
    return ok;
}

Datagram QtUdpSocket::read() {
    const QNetworkDatagram d = socket_.receiveDatagram();
    return {d.senderAddress().toString(), d.senderPort(), d.data()};
}

void QtUdpSocket::write(const QString& address, const QByteArray& data) {
    socket_.writeDatagram(data, QHostAddress(address), static_cast<quint16>(port));
}

}  // namespace velto
