#pragma once
// An in-memory serial port for unit tests: it records every write with its virtual time and
// baud rate, hands the bytes to whatever device is attached, and delivers the device's replies
// as data events. It fails on demand: a port that does not exist, a device that goes away.

#include <QByteArray>
#include <QSet>
#include <vector>

#include "platform/serial_port.h"

namespace velto {

class Clock;

class FakeSerialPort final : public SerialPort {
public:
    struct Write {
        qint64 timeMs;
        QByteArray bytes;
        int baud;
    };

    explicit FakeSerialPort(Clock& clock) : clock_(clock) {}

    void setPortName(const QString& name) override { name_ = name; }
    QString portName() const override { return name_; }
    void setBaudRate(int baud) override { baud_ = baud; }
    int baudRate() const override { return baud_; }
    bool open() override;
    void close() override {
        if (open_) ++closes;
        open_ = false;
    }
    bool isOpen() const override { return open_; }
    void write(const QByteArray& bytes) override;
    void xmitWait() override { ++xmitWaits; }
    bool waitWritten(int) override {
        ++xmitWaits;
        return open_;
    }
    void flush() override { ++flushes; }
    QByteArray readAll() override;
    void reset() override;

    /// Names of ports that exist; an empty set means every name opens.
    QSet<QString> existing;
    /// Device side: bytes the program wrote, with the baud rate they went out at.
    std::function<void(const QByteArray&, int baud)> device;
    /// Device side: bytes arrive for the program now (raises the data event).
    void deliver(const QByteArray& bytes);
    /// The device goes away: the port fails and closes.
    void vanish();
    /// The device is plugged in again: the port opens once more.
    void comesBack() { vanished_ = false; }

    std::vector<Write> writes;
    int opens = 0;
    int closes = 0;
    int resets = 0;
    int xmitWaits = 0;
    int flushes = 0;
    /// All bytes written, joined.
    QByteArray written() const;
    /// The commands written (CR-separated, CR removed), in order.
    QStringList commands() const;

private:
    Clock& clock_;
    QString name_;
    int baud_ = 9600;
    bool open_ = false;
    bool vanished_ = false;
    QByteArray rx_;
};

/// The ports the platform lists, as a test sets them.
class FakeSerialPortList final : public SerialPortList {
public:
    QStringList names;
    QStringList portNames() const override { return names; }
};

}  // namespace velto
