// The connect service end to end: `velto --headless --connect-key` against a stand-in service
// on 127.0.0.1 with the throw-away certificates of tests/data, answering its status codes; and
// a service whose certificate isn't trusted, refused before a byte is sent.

#include <gtest/gtest.h>

#include <QPointer>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslServer>
#include <QSslSocket>
#include <QTemporaryDir>

#include "support/run_until.h"
#include "support/tls_test_data.h"

using namespace velto;

namespace {

/// A connect service that takes one client and keeps what it read; the test speaks for it.
class StandInConnectService {
public:
    /// `certificate`: "server" (signed by tests/data/ca.pem) or "untrusted" (self-signed).
    explicit StandInConnectService(const QString& certificate) {
        const QSslConfiguration tls = serverTls(certificate);
        server_.setSslConfiguration(tls);
        QObject::connect(&server_, &QSslServer::pendingConnectionAvailable, &server_, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) {
                client = socket;
                ++connections;
                QObject::connect(socket, &QTcpSocket::readyRead, socket,
                                 [this, socket] { received += socket->readAll(); });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, [this] { ++closes; });
            }
        });
        ok = !tls.localCertificate().isNull() && !tls.privateKey().isNull() &&
             server_.listen(QHostAddress::LocalHost, 0);
    }

    QString hostPort() const {
        return QStringLiteral("127.0.0.1:") + QString::number(server_.serverPort());
    }
    void say(const QByteArray& line) {
        if (client) client->write(line);
    }

    bool ok = false;
    int connections = 0;
    int closes = 0;
    QByteArray received;
    QPointer<QTcpSocket> client;

private:
    QSslServer server_;
};

/// `velto --headless` with a connect key, read line by line while it runs.
class Program {
public:
    explicit Program(const QStringList& options) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char* name :
             {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            env.remove(QString::fromLatin1(name));
        env.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
        process_.setProcessEnvironment(env);
        process_.start(
            QStringLiteral(VELTO_APP_PATH),
            QStringList{QStringLiteral("--headless"), QStringLiteral("--prefs"), prefs_.path()} +
                options);
    }
    ~Program() {
        if (process_.state() == QProcess::NotRunning) return;
        process_.terminate();  // SIGTERM: the program quits cleanly
        if (!process_.waitForFinished(5000)) process_.kill();
        process_.waitForFinished(3000);
    }

    /// Waits until a line of standard output or error contains `text`.
    bool waitFor(const QString& text, int timeoutMs = 15000) {
        return runUntil(
            [&] {
                out += QString::fromUtf8(process_.readAllStandardOutput());
                err += QString::fromUtf8(process_.readAllStandardError());
                return out.contains(text) || err.contains(text);
            },
            timeoutMs);
    }

    QString out, err;

private:
    QTemporaryDir prefs_;
    QProcess process_;
};

const QString kKey = QStringLiteral("abCD1234efGH5678");

}  // namespace

TEST(ConnectServiceProgram, AKeyOnTheCommandLineOpensASessionThatFollowsTheServiceCodes) {
    StandInConnectService service{QStringLiteral("server")};
    ASSERT_TRUE(service.ok);
    // The key as a link to the service named on the command line, with blanks after it.
    const QString link =
        QStringLiteral("https://127.0.0.1/connect/?key=") + kKey + QStringLiteral("  ");
    Program velto({QStringLiteral("--log"), QStringLiteral("--connect-key"), link,
                   QStringLiteral("--connect-service"), service.hostPort(),
                   QStringLiteral("--ca-file"), testDataPath(QStringLiteral("ca.pem"))});

    // The opening line, upper-cased and ended by LF alone, is all the service hears at first.
    ASSERT_TRUE(runUntil([&] { return service.received.endsWith('\n'); }, 15000))
        << velto.out.toStdString();
    EXPECT_EQ(service.received, QByteArray(";connect=ABCD1234EFGH5678\n"));

    // Each answer waits for the program to have read the one before: one read, one line. A
    // server message stays open; an expired key is shown and closes the program's end.
    service.say(";210The box is on battery\r\n");
    ASSERT_TRUE(velto.waitFor(QStringLiteral("message: Server message: The box is on battery")));
    EXPECT_EQ(service.closes, 0);
    service.say(";402\n");
    ASSERT_TRUE(velto.waitFor(QStringLiteral(
        "message: The Connect Key has expired. Please ask the other user for a new one")));
    EXPECT_TRUE(runUntil([&] { return service.closes == 1; }, 15000));
    EXPECT_EQ(service.received, QByteArray(";connect=ABCD1234EFGH5678\n"));
    EXPECT_FALSE(velto.err.contains(QLatin1String("unhandled")));
}

TEST(ConnectServiceProgram, AnUntrustedCertificateIsRefusedBeforeAnythingIsSent) {
    StandInConnectService service{QStringLiteral("untrusted")};
    ASSERT_TRUE(service.ok);
    // No --log: the refusal is logged all the same.
    Program velto({QStringLiteral("--connect-key"), kKey, QStringLiteral("--connect-service"),
                   service.hostPort(), QStringLiteral("--ca-file"),
                   testDataPath(QStringLiteral("ca.pem"))});
    ASSERT_TRUE(velto.waitFor(QStringLiteral(": TLS: ")))
        << velto.out.toStdString() << velto.err.toStdString();
    EXPECT_TRUE(service.received.isEmpty());
    EXPECT_FALSE(velto.out.contains(QLatin1String("Talking to server")));
}
