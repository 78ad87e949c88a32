#pragma once
// The serial line to the box: 8 data bits, no parity, 1 stop bit, no flow control, DTR off.
// The baud rate set on a closed port takes effect when it next opens.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

namespace velto {

class SerialPort {
public:
    virtual ~SerialPort() = default;

    virtual void setPortName(const QString& name) = 0;
    virtual QString portName() const = 0;
    virtual void setBaudRate(int baud) = 0;
    virtual int baudRate() const = 0;

    /// Opens the port; false when it does not exist or can't be opened.
    virtual bool open() = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;

    /// Writes are dropped on a closed port.
    virtual void write(const QByteArray& bytes) = 0;
    /// Waits until everything written has been transmitted.
    virtual void xmitWait() = 0;
    /// Waits at most `limitMs` for everything written to be transmitted; false if it wasn't.
    virtual bool waitWritten(int limitMs) = 0;
    virtual void flush() = 0;
    virtual QByteArray readAll() = 0;
    /// Drops whatever is buffered in either direction.
    virtual void reset() = 0;

    /// Raised on the event loop when bytes have arrived.
    std::function<void()> onDataAvailable;
    /// Raised when an open port fails (the device went away); the port is then closed.
    std::function<void()> onError;
};

/// The serial ports the platform knows of, by name as the system lists them: "usbserial-A6007"
/// (macOS, the device is /dev/tty.usbserial-A6007), "ttyUSB0" (Linux, /dev/ttyUSB0).
class SerialPortList {
public:
    virtual ~SerialPortList() = default;
    virtual QStringList portNames() const = 0;
};

}  // namespace velto
