#include "broker/qt_server.h"

#include <QLocalSocket>
#include <QSslSocket>
#include <QTimer>
#include <QTimerEvent>
#include <memory>

namespace velto::broker {

// ---- Time --------------------------------------------------------------------------------

TimerId QtClock::after(qint64 delayMs, std::function<void()> action) {
    const int qtId = startTimer(std::chrono::milliseconds(delayMs), Qt::CoarseTimer);
    const TimerId id = next_++;
    byQtId_[qtId] = Pending{id, std::move(action)};
    qtIds_[id] = qtId;
    return id;
}

void QtClock::cancel(TimerId id) {
    const auto it = qtIds_.find(id);
    if (it == qtIds_.end()) return;
    killTimer(it->second);
    byQtId_.erase(it->second);
    qtIds_.erase(it);
}

void QtClock::timerEvent(QTimerEvent* event) {
    const auto it = byQtId_.find(event->timerId());
    if (it == byQtId_.end()) return;
    killTimer(event->timerId());
    Pending pending = std::move(it->second);
    byQtId_.erase(it);
    qtIds_.erase(pending.id);
    pending.action();
}

// ---- PIN checks --------------------------------------------------------------------------

ThreadPinCheck::ThreadPinCheck() { pool_.setMaxThreadCount(1); }

ThreadPinCheck::~ThreadPinCheck() { pool_.waitForDone(); }

void ThreadPinCheck::check(const Credential& credential, const QByteArray& pin,
                           std::function<void(bool)> done) {
    pool_.start([credential, pin, done = std::move(done), home = &home_] {
        const bool matches = credential.matches(pin);
        QMetaObject::invokeMethod(home, [done, matches] { done(matches); }, Qt::QueuedConnection);
    });
}

// ---- Clients -----------------------------------------------------------------------------

void WriteBatch::flush() {
    for (const QPointer<QSslSocket>& socket : std::exchange(sockets_, {}))
        if (socket) socket->flush();
}

TlsConnection::TlsConnection(QSslSocket* socket, WriteBatch* batch,
                             std::function<void(const QByteArray&)> received, std::function<void()> dropped)
    : socket_(socket), batch_(batch) {
    readyRead_ = QObject::connect(socket, &QIODevice::readyRead, socket,
                                  [socket, received = std::move(received)] { received(socket->readAll()); });
    disconnected_ = QObject::connect(socket, &QAbstractSocket::disconnected, socket, std::move(dropped));
}

TlsConnection::~TlsConnection() { close(false); }

void TlsConnection::write(const QByteArray& bytes) {
    if (!socket_) return;
    socket_->write(bytes);
    if (batch_) batch_->add(socket_);
}

qint64 TlsConnection::unsentBytes() const {
    return socket_ ? socket_->bytesToWrite() + socket_->encryptedBytesToWrite() : 0;
}

void TlsConnection::close(bool flush) {
    if (closed_) return;
    closed_ = true;
    QObject::disconnect(readyRead_);
    QObject::disconnect(disconnected_);
    QSslSocket* socket = socket_;
    if (!socket) return;
    if (flush && socket->state() == QAbstractSocket::ConnectedState) {
        // A client that doesn't read can't hold the socket for long.
        QObject::connect(socket, &QAbstractSocket::disconnected, socket, &QObject::deleteLater);
        QTimer::singleShot(kFlushMs, socket, [socket] { socket->abort(); });
        socket->disconnectFromHost();
    } else {
        socket->abort();
        socket->deleteLater();
    }
}

QByteArray addressKey(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);  // IPv4-mapped ones too
    if (isV4) return QHostAddress(v4).toString().toLatin1();
    Q_IPV6ADDR v6 = address.toIPv6Address();
    for (int i = 8; i < 16; ++i) v6[i] = 0;
    return QHostAddress(v6).toString().toLatin1() + "/64";
}

TlsServer::TlsServer(const QSslConfiguration& tls) {
    server_.setSslConfiguration(tls);
    // A handshake that doesn't finish in this time ends; the login deadline follows it.
    server_.setHandshakeTimeout(int(Broker::kLoginDeadlineMs));
    server_.setListenBacklogSize(1024);
    QObject::connect(&server_, &QSslServer::pendingConnectionAvailable, &server_, [this] {
        while (QTcpSocket* socket = server_.nextPendingConnection())
            serve(static_cast<QSslSocket*>(socket));
    });
}

bool TlsServer::listen(Broker& broker, const QHostAddress& address, quint16 port, QString* error) {
    broker_ = &broker;
    if (server_.listen(address, port)) return true;
    if (error) *error = server_.errorString();
    return false;
}

void TlsServer::serve(QSslSocket* socket) {
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    // The id is known only once the broker has the connection; no event comes before that.
    auto id = std::make_shared<quint64>(0);
    Broker& broker = *broker_;
    WriteBatch& batch = batch_;
    auto connection = std::make_unique<TlsConnection>(
        socket, &batch,
        [&broker, &batch, id](const QByteArray& bytes) {
            broker.received(*id, bytes);
            batch.flush();
        },
        [&broker, &batch, id] {
            broker.dropped(*id);
            batch.flush();
        });
    *id = broker.accept(std::move(connection), addressKey(socket->peerAddress()));
    // A client that left before it was taken raised its event to no one.
    if (socket->state() != QAbstractSocket::ConnectedState) broker.dropped(*id);
}

// ---- The operator's control socket ---------------------------------------------------------

namespace {

const QByteArray kBroadcast = QByteArrayLiteral("broadcast ");

}  // namespace

ControlServer::ControlServer(Broker& broker) : broker_(broker) {
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QIODevice::readyRead, socket, [this, socket] {
                if (!socket->canReadLine()) {
                    if (socket->bytesAvailable() > Broker::kMaxLine) socket->abort();
                    return;
                }
                const QByteArray line = socket->readLine().trimmed();
                if (line.startsWith(kBroadcast)) {
                    const int reached = broker_.broadcast(line.mid(kBroadcast.size()));
                    socket->write("sent " + QByteArray::number(reached) + '\n');
                } else {
                    socket->write("error: unknown request\n");
                }
                socket->disconnectFromServer();
            });
        }
    });
}

bool ControlServer::listen(const QString& path, QString* error) {
    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(1000)) {
        if (error) *error = path + QStringLiteral(": another broker is running there");
        return false;
    }
    QLocalServer::removeServer(path);  // one left by a broker that ended without cleaning up
    if (server_.listen(path)) return true;
    if (error) *error = path + QStringLiteral(": ") + server_.errorString();
    return false;
}

int ControlServer::sendBroadcast(const QString& path, const QByteArray& text, QString* error) {
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(5000)) {
        if (error) *error = path + QStringLiteral(": no broker answers there (") + socket.errorString() + ')';
        return -1;
    }
    QByteArray line = text;
    line.replace('\r', ' ').replace('\n', ' ');
    socket.write(kBroadcast + line + '\n');
    QByteArray reply;
    while (!reply.contains('\n') && socket.waitForReadyRead(5000)) reply += socket.readAll();
    reply = reply.trimmed();
    if (!reply.startsWith("sent ")) {
        if (error) *error = path + QStringLiteral(": the broker answered \"") + QString::fromUtf8(reply) + '"';
        return -1;
    }
    return reply.mid(5).toInt();
}

}  // namespace velto::broker
