// The page server on real loopback sockets with its deadlines on virtual time: what each request
// gets, the limits that keep a hostile client from stalling it or making it grow, and when a
// slave serves the remote page.

#include <gtest/gtest.h>

#include <QTcpServer>
#include <QTcpSocket>
#include <memory>
#include <vector>

#include "remote/page_server.h"
#include "support/rig.h"
#include "support/free_port.h"
#include "support/run_until.h"

using namespace velto;

namespace {

const QByteArray kPage = "<!doctype html><p>remote</p>";

struct Server {
    Server() {
        server.setListenAddress(QHostAddress::LocalHost);
        server.setDocument(QStringLiteral("/"), {"text/html; charset=utf-8", kPage});
        listening = server.listen(0);
    }
    std::unique_ptr<QTcpSocket> open() {
        auto client = std::make_unique<QTcpSocket>();
        client->connectToHost(QHostAddress::LocalHost, server.port());
        runUntil([&] { return client->state() == QAbstractSocket::ConnectedState; }, 3000);
        return client;
    }
    /// Writes `pieces` one after the other and reads until the server closes.
    QByteArray exchange(const std::vector<QByteArray>& pieces) {
        auto client = open();
        for (const QByteArray& piece : pieces) {
            client->write(piece);
            client->flush();
            runUntil([] { return false; }, 10);  // the server sees each piece on its own
        }
        QByteArray answer;
        runUntil([&] {
            answer += client->readAll();
            return client->state() == QAbstractSocket::UnconnectedState;
        }, 3000);
        return answer + client->readAll();
    }
    VirtualClock clock;
    PageServer server{clock};
    bool listening = false;
};

}  // namespace

TEST(PageServer, AnswersAGetOfItsDocumentAndNothingElse) {
    Server s;
    ASSERT_TRUE(s.listening) << s.server.errorString().toStdString();
    const struct {
        std::vector<QByteArray> request;
        QByteArray status, header;
    } cases[] = {
        {{"GET / HTTP/1.1\r\nHost: box\r\n\r\n"}, "200 OK", "Content-Type: text/html; charset=utf-8"},
        {{"GET /?fresh=1 HTTP/1.0\r\n\r\n"}, "200 OK", "Content-Length: 28"},
        {{"GE", "T / HTTP/1.1\r\nHo", "st: box\r\n", "\r\n"}, "200 OK", "Connection: close"},
        {{"GET / HTTP/1.1\n\n"}, "200 OK", "Cache-Control: no-store"},
        {{"GET /favicon.ico HTTP/1.1\r\n\r\n"}, "404 Not Found", "Content-Length: 10"},
        {{"POST / HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc"}, "405 Method Not Allowed", "Allow: GET"},
        {{"hello\r\n\r\n"}, "400 Bad Request", ""},
        // One byte over the limit, with no end of the head in sight.
        {{"GET /" + QByteArray(PageServer::kMaxHead - 4, 'a')}, "431 Request Header Fields Too Large", ""},
    };
    for (const auto& c : cases) {
        const QByteArray answer = s.exchange(c.request);
        const qsizetype headEnd = answer.indexOf("\r\n\r\n");
        ASSERT_GE(headEnd, 0) << answer.toStdString();
        const QByteArray head = answer.left(headEnd);
        EXPECT_EQ(answer.left(answer.indexOf("\r\n")), "HTTP/1.1 " + c.status);
        EXPECT_TRUE(head.contains(c.header)) << answer.toStdString();
        // The declared length is the length sent, and only the document goes out as a 200.
        const QByteArray body = answer.mid(head.size() + 4);
        const QByteArray length = "Content-Length: " + QByteArray::number(body.size());
        EXPECT_TRUE(head.contains(length)) << answer.toStdString();
        EXPECT_EQ(body == kPage, c.status == "200 OK") << c.request.front().left(60).toStdString();
    }
    EXPECT_EQ(s.server.clientCount(), 0);
}

TEST(PageServer, IdleClientsAreCappedAndDroppedAtTheirOwnDeadline) {
    Server s;
    ASSERT_TRUE(s.listening);
    // More clients than it serves at once, each stuck half-way through its request.
    std::vector<std::unique_ptr<QTcpSocket>> early;
    for (int i = 0; i < PageServer::kMaxClients + 2; ++i) {
        early.push_back(s.open());
        early.back()->write("GET / HTTP/1.1\r\n");
    }
    auto closed = [](const std::vector<std::unique_ptr<QTcpSocket>>& clients) {
        int n = 0;
        for (const auto& c : clients) n += c->state() == QAbstractSocket::UnconnectedState;
        return n;
    };
    ASSERT_TRUE(runUntil([&] { return closed(early) == 2; }, 3000)) << closed(early);
    EXPECT_EQ(s.server.clientCount(), PageServer::kMaxClients);
    // One that leaves frees its place.
    early.front()->abort();
    ASSERT_TRUE(runUntil([&] { return s.server.clientCount() == PageServer::kMaxClients - 1; }, 3000));

    s.clock.advance(PageServer::kDeadlineMs / 2);
    std::vector<std::unique_ptr<QTcpSocket>> late;
    late.push_back(s.open());
    ASSERT_TRUE(runUntil([&] { return s.server.clientCount() == PageServer::kMaxClients; }, 1000));

    s.clock.advance(PageServer::kDeadlineMs / 2 - 1);
    runUntil([] { return false; }, 20);
    EXPECT_EQ(closed(early), 3);
    s.clock.advance(1);
    EXPECT_TRUE(runUntil([&] { return closed(early) == int(early.size()); }, 3000));
    EXPECT_EQ(s.server.clientCount(), 1);  // the late one has its own deadline, still to come
    EXPECT_EQ(closed(late), 0);

    // Not stalled: the next client is served at once.
    EXPECT_TRUE(s.exchange({"GET / HTTP/1.1\r\n\r\n"}).startsWith("HTTP/1.1 200 OK"));
    s.clock.advance(PageServer::kDeadlineMs / 2);
    EXPECT_TRUE(runUntil([&] { return closed(late) == 1; }, 3000));
    EXPECT_EQ(s.server.clientCount(), 0);
}

TEST(PageServer, ASlaveServesThePageOnThePortAboveItsOwnOnlyWhenAsked) {
    const quint16 free = freePort();
    ASSERT_NE(free, 0);
    const QString port = QStringLiteral("port=%1\n").arg(free - 1);
    // The last row: a port that is taken is said, not passed over in silence.
    QTcpServer squatter;
    const struct {
        const char* settings;
        bool served;
    } cases[] = {{"mode=slave\nwebpage=true\n", true},
                 {"mode=slave\nwebpage=false\n", false},
                 {"mode=master\nhost=127.0.0.1\nwebpage=true\n", false},
                 {"mode=slave\nusebroker=true\nwebpage=true\n", false},
                 {"mode=slave\nwebpage=true\n", false}};
    for (const auto& c : cases) {
        const bool taken = &c == std::end(cases) - 1;
        if (taken) {
            ASSERT_TRUE(squatter.listen(QHostAddress::LocalHost, free));
        }
        Rig rig;
        PageServer server(rig.clock);
        server.setListenAddress(QHostAddress::LocalHost);
        rig.platform->pageServer = &server;
        rig.settings(c.settings + port);
        rig.connect();
        EXPECT_EQ(server.isListening(), c.served) << c.settings;
        if (taken) {
            const QString said = QStringLiteral("Unable to serve the remote page on port %1: ").arg(free);
            ASSERT_EQ(rig.dialogs.messages.size(), 1);
            EXPECT_TRUE(rig.dialogs.messages[0].startsWith(said)) << rig.dialogs.messages[0].toStdString();
        }
        if (!c.served) continue;
        EXPECT_EQ(server.port(), free);
        // Turned solo, the next Connect withdraws it.
        rig->modeSolo_Action();
        rig->Connect.push();
        EXPECT_FALSE(server.isListening());
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    }
}
