// The update check over real HTTPS: a stand-in service on 127.0.0.1 with the throw-away
// certificates of tests/data, the Qt client against it, and `velto --check-update` end to end.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslServer>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <memory>

#include "platform/qt/qt_https_client.h"
#include "support/run_until.h"
#include "support/tls_test_data.h"

using namespace velto;

namespace {

/// An HTTPS service that answers every POST with one canned reply, or trickles a byte every
/// 100 ms and never ends, and keeps the requests it read.
class StandInService {
public:
    enum class Serve { Reply, Trickle };

    /// `certificate`: "server" (signed by tests/data/ca.pem) or "untrusted" (self-signed).
    explicit StandInService(const QString& certificate) {
        const QSslConfiguration tls = serverTls(certificate);
        server_.setSslConfiguration(tls);
        QObject::connect(&server_, &QSslServer::pendingConnectionAvailable, &server_, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) serve(socket);
        });
        ok = !tls.localCertificate().isNull() && !tls.privateKey().isNull() &&
             server_.listen(QHostAddress::LocalHost, 0);
    }

    QString url() const { return QStringLiteral("https://127.0.0.1:") + QString::number(server_.serverPort()); }

    bool ok = false;
    Serve mode = Serve::Reply;
    int status = 200;
    QByteArray body;
    QList<QByteArray> requests;

private:
    void serve(QTcpSocket* socket) {
        auto buffer = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
            *buffer += socket->readAll();
            const qsizetype end = buffer->indexOf("\r\n\r\n");
            if (end < 0) return;
            qsizetype length = 0;
            for (const QByteArray& line : buffer->left(end).split('\n'))
                if (line.toLower().startsWith("content-length:")) length = line.mid(15).trimmed().toLongLong();
            if (buffer->size() < end + 4 + length) return;
            requests.append(*buffer);
            buffer->clear();
            if (mode == Serve::Trickle) {
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
                auto* drip = new QTimer(socket);
                QObject::connect(drip, &QTimer::timeout, socket, [socket] { socket->write("{"); });
                drip->start(100);
                return;
            }
            socket->write("HTTP/1.1 " + QByteArray::number(status) +
                          " Canned\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " +
                          QByteArray::number(body.size()) + "\r\n\r\n" + body);
            socket->disconnectFromHost();
        });
    }

    QSslServer server_;
};

QByteArray appinfo(const char* status, int latestbuild) {
    return QByteArrayLiteral(R"({"status":")") + status + QByteArrayLiteral(R"(","appinfo":{"latestbuild":)") +
           QByteArray::number(latestbuild) +
           QByteArrayLiteral(R"(,"latestversion":"2.7.0","notes":"Faster ramps.","url":"https://dl.velto.example/"}})");
}

struct ProgramRun {
    int exitCode = -1;
    QStringList stderrLines;
};

/// `velto` with the given options, its Preferences in a throw-away folder, no proxy between it
/// and the stand-in. The test's event loop runs meanwhile, so the stand-in can answer.
ProgramRun runProgram(const QStringList& options) {
    QTemporaryDir prefs;
    QProcess velto;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        env.remove(QString::fromLatin1(name));
    env.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
    velto.setProcessEnvironment(env);
    velto.start(QStringLiteral(VELTO_APP_PATH), options + QStringList{QStringLiteral("--prefs"), prefs.path()});
    ProgramRun run;
    if (!runUntil([&] { return velto.state() == QProcess::NotRunning; }, 60000)) {
        velto.kill();
        velto.waitForFinished(3000);
        return run;
    }
    if (velto.exitStatus() == QProcess::NormalExit) run.exitCode = velto.exitCode();
    run.stderrLines = QString::fromUtf8(velto.readAllStandardError()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return run;
}

}  // namespace

TEST(UpdateCheckProgram, ExitStatusAndMessageTellTheOutcome) {
    const QString ca = testDataPath(QStringLiteral("ca.pem"));
    const QString offer = QStringLiteral(
        "message: There is a new version of this app available  Version 2.7.0 (build 261)  Faster ramps.  "
        "Do you want to download the update?");
    const QString unable =
        QStringLiteral("message: Unable to get update information from the server. Please try later");
    struct Case {
        const char* what;
        const char* certificate;
        QByteArray body;
        int exitCode;
        QString line;
        bool served;
    };
    const std::vector<Case> cases = {
        {"up to date", "server", appinfo("ok", 260), 0, QStringLiteral("message: This app is up to date"), true},
        {"newer build", "server", appinfo("ok", 261), 10, offer, true},
        {"service error", "server", appinfo("error", 261), 1, unable, true},
        {"untrusted certificate", "untrusted", appinfo("ok", 261), 1, unable, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        StandInService service{QString::fromLatin1(c.certificate)};
        ASSERT_TRUE(service.ok);
        service.body = c.body;
        const ProgramRun run = runProgram({QStringLiteral("--check-update"), QStringLiteral("--update-url"), service.url(),
                                    QStringLiteral("--ca-file"), ca});
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.stderrLines, QStringList{c.line});
        ASSERT_EQ(service.requests.size(), c.served ? 1 : 0);
        if (c.served) {
            const QByteArray& request = service.requests[0];
            EXPECT_TRUE(request.startsWith("POST /appinfo/ HTTP/1.1\r\n")) << request.constData();
            EXPECT_TRUE(request.contains("Content-Type: application/x-www-form-urlencoded\r\n"));
            EXPECT_TRUE(request.endsWith("\r\n\r\nplatform=mac&appcode=1")) << request.constData();
        }
    }

    // A reply that isn't JSON goes to the unhandled report and fails the check.
    StandInService service{QStringLiteral("server")};
    ASSERT_TRUE(service.ok);
    service.body = "<html>Bad gateway</html>";
    const ProgramRun run = runProgram({QStringLiteral("--check-update"), QStringLiteral("--update-url"), service.url(),
                                QStringLiteral("--ca-file"), ca});
    EXPECT_EQ(run.exitCode, 1);
    ASSERT_EQ(run.stderrLines.size(), 1);
    EXPECT_TRUE(run.stderrLines[0].startsWith(QLatin1String("unhandled: "))) << run.stderrLines[0].toStdString();
}

TEST(UpdateCheckProgram, BadServiceOptionsStopTheStart) {
    QTemporaryDir dir;
    QFile empty(dir.filePath(QStringLiteral("empty.pem")));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    empty.close();
    for (const QString& caFile : {dir.filePath(QStringLiteral("missing.pem")), empty.fileName()}) {
        const ProgramRun run = runProgram({QStringLiteral("--check-update"), QStringLiteral("--ca-file"), caFile});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.stderrLines, QStringList{QStringLiteral("velto: no CA certificate could be read from ") + caFile});
    }
    const ProgramRun plain = runProgram({QStringLiteral("--check-update"), QStringLiteral("--update-url"),
                                  QStringLiteral("http://127.0.0.1:1")});
    EXPECT_EQ(plain.exitCode, 2);
    ASSERT_FALSE(plain.stderrLines.isEmpty());
    EXPECT_TRUE(plain.stderrLines[0].startsWith(QLatin1String("velto: --update-url needs https://")));
}

TEST(QtHttpsClient, EmptyOnErrorStatusAndAfterTheWholeTimeOut) {
    // The client trusts the test CA as the program does with --ca-file.
    trustTestCa();
    StandInService service{QStringLiteral("server")};
    ASSERT_TRUE(service.ok);
    QtHttpsClient client;
    const HttpsClient::Form form = {{QStringLiteral("platform"), QStringLiteral("mac")}};
    const QString url = service.url() + QStringLiteral("/appinfo/");

    service.body = appinfo("ok", 260);
    EXPECT_EQ(client.post(url, form, 10000), service.body);
    service.status = 500;
    EXPECT_EQ(client.post(url, form, 10000), QByteArray());

    // A reply that keeps coming a byte at a time is still cut at the time-out, and the event
    // loop runs while the caller waits.
    service.mode = StandInService::Serve::Trickle;
    int ticks = 0;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] { ++ticks; });
    tick.start(50);
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(client.post(url, form, 1000), QByteArray());
    EXPECT_GE(elapsed.elapsed(), 1000);
    EXPECT_LT(elapsed.elapsed(), 5000);
    EXPECT_GE(ticks, 5);
}
