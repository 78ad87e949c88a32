#include "remote/page_server.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <algorithm>

#include "platform/clock.h"

namespace velto {

struct PageServer::Client {
    QByteArray head;
    qint64 deadlineMs = 0;
    bool answered = false;
};

PageServer::PageServer(Clock& clock)
    : clock_(clock), sweep_(clock, QStringLiteral("pageSweep"), 0, Timer::Off) {
    sweep_.action = [this] { dropExpired(); };
}

PageServer::~PageServer() {
    close();
}

void PageServer::setDocument(const QString& path, Document document) {
    documents_[path] = std::move(document);
}

bool PageServer::listen(quint16 port) {
    if (server_ && server_->isListening() && port != 0 && server_->serverPort() == port)
        return true;
    close();
    if (!server_) {
        server_ = std::make_unique<QTcpServer>();
        QObject::connect(server_.get(), &QTcpServer::newConnection, server_.get(),
                         [this] { accept(); });
    }
    if (!server_->listen(listenAddress_, port)) {
        error_ = server_->errorString();
        return false;
    }
    error_.clear();
    return true;
}

void PageServer::close() {
    while (!clients_.empty()) drop(clients_.begin()->first);
    if (server_) server_->close();
}

bool PageServer::isListening() const {
    return server_ && server_->isListening();
}

quint16 PageServer::port() const {
    return isListening() ? server_->serverPort() : 0;
}

void PageServer::accept() {
    while (QTcpSocket* socket = server_->nextPendingConnection()) {
        if (int(clients_.size()) >= kMaxClients) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        // Qt stops taking bytes from the system when this fills: a flood can't grow the buffer.
        socket->setReadBufferSize(kMaxHead);
        auto client = std::make_unique<Client>();
        client->deadlineMs = clock_.nowMs() + kDeadlineMs;
        clients_.emplace(socket, std::move(client));
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { read(socket); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket,
                         [this, socket] { drop(socket); });
        QObject::connect(socket, &QTcpSocket::errorOccurred, socket,
                         [this, socket] { drop(socket); });
        rearm();
        if (socket->bytesAvailable() > 0) read(socket);
    }
}

void PageServer::read(QTcpSocket* socket) {
    const auto it = clients_.find(socket);
    if (it == clients_.end()) return;
    Client& client = *it->second;
    if (client.answered) {
        socket->readAll();  // a body or a second request: not served on this connection
        return;
    }
    client.head += socket->read(kMaxHead + 1 - client.head.size());
    qsizetype end = client.head.indexOf("\r\n\r\n");
    if (end < 0) end = client.head.indexOf("\n\n");
    if (end >= 0)
        answer(socket, client.head.left(end));
    else if (client.head.size() > kMaxHead)
        reply(socket, "431 Request Header Fields Too Large", "text/plain", "Request too large\n");
}

void PageServer::answer(QTcpSocket* socket, const QByteArray& head) {
    qsizetype lineEnd = head.indexOf('\n');
    if (lineEnd < 0) lineEnd = head.size();
    const QList<QByteArray> parts = head.left(lineEnd).trimmed().split(' ');
    if (parts.size() != 3 || !parts[2].startsWith("HTTP/") || !parts[1].startsWith('/')) {
        reply(socket, "400 Bad Request", "text/plain", "Bad request\n");
        return;
    }
    if (parts[0] != "GET") {
        reply(socket, "405 Method Not Allowed", "text/plain", "Only GET is served here\n",
              "Allow: GET\r\n");
        return;
    }
    QByteArray path = parts[1];
    const qsizetype query = path.indexOf('?');
    if (query >= 0) path.truncate(query);
    const auto doc = documents_.find(QString::fromLatin1(path));
    if (doc == documents_.end()) {
        reply(socket, "404 Not Found", "text/plain", "Not found\n");
        return;
    }
    reply(socket, "200 OK", doc->second.contentType, doc->second.body);
}

void PageServer::reply(QTcpSocket* socket, const QByteArray& status, const QByteArray& contentType,
                       const QByteArray& body, const QByteArray& extraHeaders) {
    clients_.at(socket)->answered = true;
    socket->write("HTTP/1.1 " + status + "\r\nContent-Type: " + contentType +
                  "\r\nContent-Length: " + QByteArray::number(body.size()) +
                  "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n" +
                  extraHeaders + "Connection: close\r\n\r\n" + body);
    // The close waits for the answer to leave; the deadline still holds if the client won't read.
    socket->disconnectFromHost();
}

void PageServer::drop(QTcpSocket* socket) {
    if (clients_.erase(socket) == 0) return;
    QObject::disconnect(socket, nullptr, nullptr, nullptr);
    socket->abort();
    socket->deleteLater();
    rearm();
}

void PageServer::dropExpired() {
    const qint64 now = clock_.nowMs();
    std::vector<QTcpSocket*> expired;
    for (const auto& [socket, client] : clients_)
        if (client->deadlineMs <= now) expired.push_back(socket);
    for (QTcpSocket* socket : expired) drop(socket);
    rearm();
}

void PageServer::rearm() {
    sweep_.setMode(Timer::Off);
    if (clients_.empty()) return;
    const auto first = std::min_element(
        clients_.begin(), clients_.end(),
        [](const auto& a, const auto& b) { return a.second->deadlineMs < b.second->deadlineMs; });
    sweep_.setPeriod(std::max<qint64>(0, first->second->deadlineMs - clock_.nowMs()));
    sweep_.setMode(Timer::Single);
}

}  // namespace velto
