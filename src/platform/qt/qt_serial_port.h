#pragma once
// The serial line on QSerialPort: 8N1, no flow control, DTR dropped after opening. A device
// that goes away closes the port and raises onError; nothing is written to a closed port.

#include <memory>

#include "platform/serial_port.h"

class QSerialPort;

namespace velto {

class QtSerialPort final : public SerialPort {
public:
    QtSerialPort();
    ~QtSerialPort() override;

    void setPortName(const QString& name) override { name_ = name; }
    QString portName() const override { return name_; }
    void setBaudRate(int baud) override;
    int baudRate() const override { return baud_; }
    bool open() override;
    void close() override;
    bool isOpen() const override;
    void write(const QByteArray& bytes) override;
    void xmitWait() override;
    bool waitWritten(int limitMs) override;
    void flush() override;
    QByteArray readAll() override;
    void reset() override;

private:
    void failed();

    std::unique_ptr<QSerialPort> port_;
    QString name_;
    int baud_ = 9600;
};

class QtSerialPortList final : public SerialPortList {
public:
    QStringList portNames() const override;
    /// Qt's port names as the list gives them: macOS shows each device twice, as "cu.NAME" and
    /// "tty.NAME"; both become one NAME, in the order first seen.
    static QStringList listed(const QStringList& qtPortNames);
};

}  // namespace velto
