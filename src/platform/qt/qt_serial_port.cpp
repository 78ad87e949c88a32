#include "platform/qt/qt_serial_port.h"

#include <QDeadlineTimer>
#include <QSerialPort>
#include <QSerialPortInfo>

#ifdef Q_OS_UNIX
#include <poll.h>
#include <termios.h>
#endif

namespace velto {

namespace {

// Whether the line behind an open port has hung up. A read notification whose bytes were taken
// already (a wait for bytes written reads too) finds nothing: the read fails with EAGAIN, which
// Qt reports as the same ResourceError as a vanished device. Only the system can tell them apart.
bool hungUp(QSerialPort& port) {
#ifdef Q_OS_UNIX
    pollfd line{static_cast<int>(port.handle()), POLLIN, 0};
    return ::poll(&line, 1, 0) < 0 || (line.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
#else
    Q_UNUSED(port);
    return true;
#endif
}

// Long enough for a few bytes at 9600 baud on a busy machine; a line that takes longer is
// stuck, and the system goes on without waiting for it.
constexpr int kXmitTimeoutMs = 1000;
}  // namespace

QtSerialPort::QtSerialPort() : port_(std::make_unique<QSerialPort>()) {
    QObject::connect(port_.get(), &QSerialPort::readyRead, port_.get(), [this] {
        if (onDataAvailable) onDataAvailable();
    });
    QObject::connect(port_.get(), &QSerialPort::errorOccurred, port_.get(),
                     [this](QSerialPort::SerialPortError error) {
                         // A read that finds the line hung up is the device going away too.
                         const bool readFailed = error == QSerialPort::ResourceError ||
                                                 error == QSerialPort::ReadError;
                         if (port_->isOpen() && readFailed && hungUp(*port_)) failed();
                     });
}

QtSerialPort::~QtSerialPort() {
    // No events for a half-destroyed object.
    QObject::disconnect(port_.get(), nullptr, nullptr, nullptr);
    if (port_->isOpen()) port_->close();
}

void QtSerialPort::setBaudRate(int baud) {
    baud_ = baud;
    if (port_->isOpen()) port_->setBaudRate(baud);
}

bool QtSerialPort::open() {
    if (port_->isOpen()) port_->close();
    port_->setPortName(name_);
    port_->setBaudRate(baud_);
    port_->setDataBits(QSerialPort::Data8);
    port_->setParity(QSerialPort::NoParity);
    port_->setStopBits(QSerialPort::OneStop);
    port_->setFlowControl(QSerialPort::NoFlowControl);
    if (!port_->open(QIODevice::ReadWrite)) return false;
    // A line without modem control (a pseudo-terminal) refuses this; that is no failure.
    port_->setDataTerminalReady(false);
    return true;
}

void QtSerialPort::close() {
    if (port_->isOpen()) port_->close();
}

bool QtSerialPort::isOpen() const {
    return port_->isOpen();
}

void QtSerialPort::write(const QByteArray& bytes) {
    if (port_->isOpen()) port_->write(bytes);
}

void QtSerialPort::xmitWait() {
    if (!port_->isOpen()) return;
    while (port_->isOpen() && port_->bytesToWrite() > 0)
        if (!port_->waitForBytesWritten(kXmitTimeoutMs)) break;
}

bool QtSerialPort::waitWritten(int limitMs) {
    QDeadlineTimer deadline(limitMs);
    while (port_->isOpen() && port_->bytesToWrite() > 0)
        if (deadline.hasExpired() || !port_->waitForBytesWritten(int(deadline.remainingTime()))) break;
    if (!port_->isOpen() || port_->bytesToWrite() > 0) return false;
#ifdef Q_OS_UNIX
    // Written is not yet sent: a close puts back the settings the port was opened over at once,
    // and bytes still in the driver (the "K" at exit, at 57600) would leave at the old rate.
    return ::tcdrain(static_cast<int>(port_->handle())) == 0;
#else
    return true;
#endif
}

void QtSerialPort::flush() {
    if (port_->isOpen()) port_->flush();
}

QByteArray QtSerialPort::readAll() {
    return port_->isOpen() ? port_->readAll() : QByteArray();
}

void QtSerialPort::reset() {
    if (port_->isOpen()) port_->clear(QSerialPort::AllDirections);
}

void QtSerialPort::failed() {
    port_->close();
    if (onError) onError();
}

QStringList QtSerialPortList::portNames() const {
    QStringList names;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) names << info.portName();
    return listed(names);
}

QStringList QtSerialPortList::listed(const QStringList& qtPortNames) {
    QStringList names;
    for (QString name : qtPortNames) {
        for (const QLatin1String prefix : {QLatin1String("cu."), QLatin1String("tty.")})
            if (name.startsWith(prefix)) name.remove(0, prefix.size());
        if (!names.contains(name)) names << name;
    }
    return names;
}

}  // namespace velto
