// The page server on loopback sockets, its deadlines in virtual time: what each request gets, the
// limits that keep a hostile client from stalling it or growing it, and when a slave serves it.

#include <gtest/gtest.h>

#include <QTcpSocket>
#include <memory>
#include <vector>

#include "remote/page_server.h"
#include "support/free_port.h"
#include "support/rig.h"
#include "support/run_until.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

const QByteArray kPage = "<!doctype html><p>remote</p>";
using Clients = std::vector<std::unique_ptr<QTcpSocket>>;

int closed(const Clients& clients) {
    return int(std::ranges::count_if(
        clients, [](const auto& c) { return c->state() == QAbstractSocket::UnconnectedState; }));
}

}  // namespace

TEST(PageServer, AnswersAGetOfItsDocumentOnlyAndDropsIdleClientsAtTheirOwnDeadline) {
    VirtualClock clock;
    PageServer server{clock};
    server.setListenAddress(QHostAddress::LocalHost);
    server.setDocument(u"/"_s, {"text/html; charset=utf-8", kPage});
    ASSERT_TRUE(server.listen(0)) << server.errorString().toStdString();
    const auto open = [&](Clients& clients) {
        clients.push_back(std::make_unique<QTcpSocket>());
        clients.back()->connectToHost(QHostAddress::LocalHost, server.port());
        runUntil([&] { return clients.back()->state() == QAbstractSocket::ConnectedState; }, 3000);
        return clients.back().get();
    };
    const struct {
        std::vector<QByteArray> request;  // its pieces, each seen by the server on its own
        QByteArray status, head = {};     // the status, and a part of the answer's head
    } cases[] = {
        {{"GET / HTTP/1.1\r\nHost: box\r\n\r\n"},
         "200 OK",
         "200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: 28\r\n"
         "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\nConnection: close\r\n\r\n"},
        {{"GET /?fresh=1 HTTP/1.0\n\n"}, "200 OK"},
        {{"GE", "T / HTTP/1.1\r\nHo", "st: box\r\n", "\r\n"}, "200 OK"},
        {{"GET /favicon.ico HTTP/1.1\r\n\r\n"}, "404 Not Found"},
        {{"POST / HTTP/1.1\r\n\r\n"}, "405 Method Not Allowed", "\r\nAllow: GET\r\n"},
        {{"hello\r\n\r\n"}, "400 Bad Request"},
        // One byte over the limit, with no end of the head in sight.
        {{"GET /" + QByteArray(PageServer::kMaxHead - 4, 'a')},
         "431 Request Header Fields Too Large"},
    };
    for (const auto& c : cases) {
        Clients one;
        QTcpSocket* client = open(one);
        for (const QByteArray& piece : c.request) {
            client->write(piece);
            runUntil([] { return false; }, 10);
        }
        runUntil([&] { return closed(one) == 1; }, 3000);
        const QByteArray answer = client->readAll();
        EXPECT_EQ(answer.left(answer.indexOf("\r\n")), "HTTP/1.1 " + c.status);
        EXPECT_TRUE(answer.contains(c.head));
        EXPECT_EQ(answer.endsWith(kPage), c.status == "200 OK") << c.status.data();
    }

    // More clients than it serves at once, each stuck half-way through its request.
    Clients early, late;
    for (int i = 0; i < PageServer::kMaxClients + 2; ++i) open(early)->write("GET / HTTP/1.1\r\n");
    ASSERT_TRUE(runUntil([&] { return closed(early) == 2; }, 3000)) << closed(early);
    EXPECT_EQ(server.clientCount(), PageServer::kMaxClients);
    // One that leaves frees its place.
    early.front()->abort();
    runUntil([&] { return server.clientCount() < PageServer::kMaxClients; }, 3000);
    clock.advance(PageServer::kDeadlineMs / 2);
    open(late);
    ASSERT_TRUE(runUntil([&] { return server.clientCount() == PageServer::kMaxClients; }, 1000));
    clock.advance(PageServer::kDeadlineMs / 2 - 1);
    runUntil([] { return false; }, 20);
    EXPECT_EQ(closed(early), 3);
    clock.advance(1);
    EXPECT_TRUE(runUntil([&] { return closed(early) == int(early.size()); }, 3000));
    EXPECT_EQ(server.clientCount(), 1);  // the late one has its own deadline, still to come
    clock.advance(PageServer::kDeadlineMs / 2);
    EXPECT_TRUE(runUntil([&] { return closed(late) == 1; }, 3000));
}

TEST(PageServer, ASlaveServesThePageOnThePortAboveItsOwnOnlyWhenAsked) {
    const quint16 free = freePort();
    QTcpServer squatter;  // for the last row: a port that is taken is said, not passed over
    const std::pair<const char*, bool> cases[] = {
        {"mode=slave\nwebpage=true\n", true},
        {"mode=slave\nwebpage=false\n", false},
        {"mode=master\nhost=127.0.0.1\nwebpage=true\n", false},
        {"mode=slave\nusebroker=true\nwebpage=true\n", false},
        {"mode=slave\nwebpage=true\n", false}};
    for (const auto& c : cases) {
        const bool taken = &c == std::end(cases) - 1;
        ASSERT_TRUE(!taken || squatter.listen(QHostAddress::LocalHost, free));
        Rig rig;
        PageServer server(rig.clock);
        server.setListenAddress(QHostAddress::LocalHost);
        rig.platform->pageServer = &server;
        rig.settings(c.first + u"port=%1\n"_s.arg(free - 1));
        rig.connect();
        EXPECT_EQ(server.isListening(), c.second) << c.first;
        if (taken) {
            ASSERT_EQ(rig.dialogs.messages.size(), 1);
            EXPECT_TRUE(rig.dialogs.messages[0].startsWith(
                u"Unable to serve the remote page on port %1: "_s.arg(free)));
        }
        if (!c.second) continue;
        EXPECT_EQ(server.port(), free);
        // Turned solo, the next Connect withdraws it.
        rig->modeSolo_Action();
        rig->Connect.push();
        EXPECT_FALSE(server.isListening());
    }
}
