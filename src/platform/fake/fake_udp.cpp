#include "platform/fake/fake_udp.h"

#include "platform/clock.h"

namespace velto {

Datagram FakeUdpSocket::read() {
    if (inbox_.empty()) return {};
    Datagram d = inbox_.front();
    inbox_.erase(inbox_.begin());
    return d;
}

void FakeUdpSocket::write(const QString& address, const QByteArray& data) {
    if (!bound_) return;
    record_->sent.push_back({clock_.nowMs(), port, address, data});
}

void FakeUdpSocket::receive(const Datagram& datagram) {
    clock_.post(0, [this, datagram] {
        if (!bound_) return;
        inbox_.push_back(datagram);
        if (onDataAvailable) onDataAvailable();
    });
}

}  // namespace velto
