// The update check over real HTTPS: a stand-in service on 127.0.0.1 with the throw-away
// certificates of tests/data, `velto --check-update` end to end, and the Qt client's time-out.

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTimer>

#include "platform/qt/qt_https_client.h"
#include "support/tls_test_data.h"
#include "support/velto_process.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

/// Answers every whole POST with `status` and `body`, or, with no status, with a byte every
/// 100 ms that never ends; keeps the requests.
struct HttpsStandIn {
    HttpsStandIn(const char* certificate, int status, const QByteArray& body = {})
        : tls(QString::fromLatin1(certificate), [=, this](QTcpSocket& socket, QByteArray& unread) {
              const qsizetype end = unread.indexOf("\r\n\r\n");
              const qsizetype at = unread.toLower().indexOf("content-length:") + 15;
              const QByteArray length = at < 15 ? "0" : unread.mid(at).split('\r').value(0);
              if (end < 0 || unread.size() < end + 4 + length.trimmed().toLongLong()) return;
              requests.append(std::exchange(unread, {}));
              if (status == 0) {
                  socket.write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
                  auto* drip = new QTimer(&socket);
                  drip->callOnTimeout(&socket, [&socket] { socket.write("{"); });
                  drip->start(100);
                  return;
              }
              socket.write("HTTP/1.1 " + QByteArray::number(status) +
                           " Canned\r\nConnection: close\r\nContent-Length: " +
                           QByteArray::number(body.size()) + "\r\n\r\n" + body);
              socket.disconnectFromHost();
          }) {}
    QString url() const { return QStringLiteral("https://") + tls.hostPort(); }
    QList<QByteArray> requests;
    TlsStandIn tls;
};

QByteArray appinfo(int latestbuild) {
    return R"({"status":"ok","appinfo":{"latestbuild":)" + QByteArray::number(latestbuild) +
           R"(,"latestversion":"2.7.0","notes":"Faster ramps.","url":"https://dl.example/"}})";
}

}  // namespace

TEST(UpdateCheckProgram, ExitStatusAndMessageTellTheOutcome) {
    const QString unable =
        u"message: Unable to get update information from the server. Please try later"_s;
    const struct {
        const char* certificate;
        int status;
        QByteArray body;
        int exitCode;
        QString line;  // a prefix of it when it ends in ": "
    } cases[] = {
        {"server", 200, appinfo(260), 0, u"message: This app is up to date"_s},
        {"server", 200, appinfo(261), 10,
         u"message: There is a new version of this app available  Version 2.7.0 (build 261)  "
         "Faster ramps.  Do you want to download the update?"_s},
        {"server", 500, appinfo(261), 1, unable},
        {"untrusted", 200, appinfo(261), 1, unable},
        {"server", 200, "<html>Bad gateway</html>", 1, QStringLiteral("unhandled: ")},
    };
    for (const auto& c : cases) {
        HttpsStandIn service(c.certificate, c.status, c.body);
        VeltoProcess velto({"--check-update", "--update-url", service.url(), "--ca-file",
                            testDataPath(u"ca.pem"_s)});
        EXPECT_EQ(velto.exitCode(), c.exitCode) << c.body.constData();
        ASSERT_EQ(velto.err.count(u'\n'), 1) << velto.err.toStdString();
        const QString line = velto.err.chopped(1);
        EXPECT_EQ(c.line.endsWith(u": "_s) ? line.left(c.line.size()) : line, c.line);
        ASSERT_EQ(service.requests.size(), *c.certificate == 's' ? 1 : 0);
        if (&c != cases) continue;  // the request is the same in every row
        const QByteArray& request = service.requests[0];
        EXPECT_TRUE(request.startsWith("POST /appinfo/ HTTP/1.1\r\n")) << request.constData();
        EXPECT_TRUE(request.contains("Content-Type: application/x-www-form-urlencoded\r\n"));
        EXPECT_TRUE(request.endsWith("\r\n\r\nplatform=mac&appcode=1")) << request.constData();
    }

    // Service options that can't work stop the start.
    const QString caFile = testDataPath(u"missing.pem"_s);
    VeltoProcess noCa({"--check-update", "--ca-file", caFile});
    EXPECT_EQ(noCa.exitCode(), 2);
    EXPECT_EQ(noCa.err, "velto: no CA certificate could be read from " + caFile + '\n');
    VeltoProcess plain({"--check-update", "--update-url", "http://127.0.0.1:1"});
    EXPECT_EQ(plain.exitCode(), 2);
    EXPECT_TRUE(plain.err.startsWith(u"velto: --update-url needs https://"_s));
}

TEST(QtHttpsClient, AReplyThatKeepsComingIsCutAtTheTimeOutWhileEventsAreServed) {
    trustTestCa();  // as the program does with --ca-file
    HttpsStandIn service("server", 0);
    int ticks = 0;
    QTimer tick;
    tick.callOnTimeout([&] { ++ticks; });
    tick.start(50);
    QElapsedTimer elapsed;
    elapsed.start();
    QtHttpsClient client;
    // A hang here is a failure too: the reply would go on for hours.
    EXPECT_EQ(client.post(service.url() + u"/appinfo/"_s, {}, 1000), QByteArray());
    EXPECT_GE(elapsed.elapsed(), 1000);
    EXPECT_GE(ticks, 5);
}
