#pragma once
// A small HTTP server for a few fixed documents, such as the remote page a slave offers to
// browsers. A GET of a known path gets its document, any other path 404, any other method 405;
// every answer closes the connection. It is built to stay small in front of a hostile client:
// a request head is read up to kMaxHead bytes, a connection lives at most kDeadlineMs (on the
// Clock, reading and writing included), and no more than kMaxClients are open at once.

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <map>
#include <memory>

#include "platform/timer.h"

class QTcpServer;
class QTcpSocket;

namespace velto {

class Clock;

class PageServer {
public:
    static constexpr qsizetype kMaxHead = qsizetype{8} * 1024;
    static constexpr qint64 kDeadlineMs = 10'000;
    static constexpr int kMaxClients = 16;

    struct Document {
        QByteArray contentType;
        QByteArray body;
    };

    explicit PageServer(Clock& clock);
    ~PageServer();
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    /// Serves `document` at `path` (which starts with "/"; a query string is ignored).
    void setDocument(const QString& path, Document document);
    /// Where listen() binds; any address unless set (tests bind loopback).
    void setListenAddress(const QHostAddress& address) { listenAddress_ = address; }

    /// Listens on `port` (0: any free one), dropping the clients of an earlier port. False, with
    /// errorString(), when the port can't be had.
    bool listen(quint16 port);
    /// Stops listening and drops every client.
    void close();
    bool isListening() const;
    quint16 port() const;
    QString errorString() const { return error_; }
    int clientCount() const { return int(clients_.size()); }

private:
    struct Client;
    void accept();
    void read(QTcpSocket* socket);
    void answer(QTcpSocket* socket, const QByteArray& head);
    void reply(QTcpSocket* socket, const QByteArray& status, const QByteArray& contentType,
               const QByteArray& body, const QByteArray& extraHeaders = {});
    void drop(QTcpSocket* socket);
    void dropExpired();
    /// Arms the sweep for the earliest deadline, or stops it when no client is open.
    void rearm();

    Clock& clock_;
    Timer sweep_;
    QHostAddress listenAddress_ = QHostAddress::Any;
    std::unique_ptr<QTcpServer> server_;
    std::map<QString, Document> documents_;
    std::map<QTcpSocket*, std::unique_ptr<Client>> clients_;
    QString error_;
};

}  // namespace velto
