#pragma once
// The broker on real sockets: clients over TLS through QSslServer, time from Qt's timers, PIN
// checks on a worker thread, and the operator's control socket for broadcasts.

#include <QElapsedTimer>
#include <QHostAddress>
#include <QLocalServer>
#include <QObject>
#include <QPointer>
#include <QSslServer>
#include <QThreadPool>
#include <unordered_map>
#include <vector>

#include "broker/broker.h"

class QSslSocket;

namespace velto::broker {

class QtClock final : public QObject, public Clock {
public:
    QtClock() { elapsed_.start(); }
    qint64 nowMs() const override { return elapsed_.elapsed(); }
    TimerId after(qint64 delayMs, std::function<void()> action) override;
    void cancel(TimerId id) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    struct Pending {
        TimerId id;
        std::function<void()> action;
    };
    QElapsedTimer elapsed_;
    TimerId next_ = 1;
    // Ours never repeat, where Qt's ids are used again once a timer is gone.
    std::unordered_map<int, Pending> byQtId_;
    std::unordered_map<TimerId, int> qtIds_;
};

/// The digests take tens of milliseconds; on one worker thread they leave the relay alone.
class ThreadPinCheck final : public PinCheck {
public:
    ThreadPinCheck();
    ~ThreadPinCheck() override;
    void check(const Credential& credential, const QByteArray& pin,
               std::function<void(bool matches)> done) override;

private:
    QObject home_;  // on the event loop's thread: the answers are delivered through it
    QThreadPool pool_;
};

/// Sockets written while the broker handled one read, sent on before control goes back to
/// the event loop: otherwise each would wait a pass of the loop, over every socket, to go out.
class WriteBatch {
public:
    void add(QSslSocket* socket) { sockets_.emplace_back(socket); }
    void flush();

private:
    std::vector<QPointer<QSslSocket>> sockets_;
};

/// One client's QSslSocket.
class TlsConnection final : public Connection {
public:
    TlsConnection(QSslSocket* socket, WriteBatch* batch, std::function<void(const QByteArray&)> received,
                  std::function<void()> dropped);
    ~TlsConnection() override;
    void write(const QByteArray& bytes) override;
    qint64 unsentBytes() const override;
    void close(bool flush) override;

    /// How long a closing connection may take to send what it still holds.
    static constexpr int kFlushMs = 5000;

private:
    QPointer<QSslSocket> socket_;
    WriteBatch* batch_;
    QMetaObject::Connection readyRead_, disconnected_;
    bool closed_ = false;
};

/// The key of a client's failed-login limit: the IPv4 address, or the /64 an IPv6 one is in,
/// since one holder usually has the whole /64.
QByteArray addressKey(const QHostAddress& address);

/// Hands each client to the broker once its TLS handshake is done. The broker must go first:
/// the sockets are the server's children.
class TlsServer {
public:
    explicit TlsServer(const QSslConfiguration& tls);
    bool listen(Broker& broker, const QHostAddress& address, quint16 port, QString* error);
    quint16 port() const { return server_.serverPort(); }

private:
    void serve(QSslSocket* socket);

    Broker* broker_ = nullptr;
    WriteBatch batch_;
    QSslServer server_;
};

/// A local socket, open to its owner only, where `velto-broker --broadcast` hands over a text:
/// "broadcast TEXT" and a line end in, "sent N" and a line end back.
class ControlServer {
public:
    explicit ControlServer(Broker& broker);
    /// Refuses a path where another broker answers.
    bool listen(const QString& path, QString* error);

    /// The client's side: sends `text`, and gives the users reached, or -1 with the reason.
    static int sendBroadcast(const QString& path, const QByteArray& text, QString* error);

private:
    Broker& broker_;
    QLocalServer server_;
};

}  // namespace velto::broker
