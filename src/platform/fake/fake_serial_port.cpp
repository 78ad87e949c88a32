#include "platform/fake/fake_serial_port.h"

#include <QStringList>

#include "platform/clock.h"

namespace velto {

bool FakeSerialPort::open() {
    ++opens;
    if (vanished_ || (!existing.isEmpty() && !existing.contains(name_))) return false;
    open_ = true;
    rx_.clear();
    return true;
}

void FakeSerialPort::write(const QByteArray& bytes) {
    if (!open_) return;
    writes.push_back({clock_.nowMs(), bytes, baud_});
    if (device) device(bytes, baud_);
}

QByteArray FakeSerialPort::readAll() {
    QByteArray out;
    out.swap(rx_);
    return out;
}

void FakeSerialPort::reset() {
    ++resets;
    rx_.clear();
}

void FakeSerialPort::deliver(const QByteArray& bytes) {
    if (!open_) return;
    rx_ += bytes;
    if (onDataAvailable) onDataAvailable();
}

void FakeSerialPort::vanish() {
    vanished_ = true;
    if (!open_) return;
    open_ = false;
    if (onError) onError();
}

QByteArray FakeSerialPort::written() const {
    QByteArray all;
    for (const auto& w : writes) all += w.bytes;
    return all;
}

QStringList FakeSerialPort::commands() const {
    QStringList out = QString::fromLatin1(written()).split(QLatin1Char('\r'));
    if (!out.isEmpty() && out.last().isEmpty()) out.removeLast();
    return out;
}

}  // namespace velto
