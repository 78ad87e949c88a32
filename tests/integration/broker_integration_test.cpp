// The broker session over real TLS: a small brokering stand-in on 127.0.0.1 with the throw-away
// certificates of tests/data pairs a master and a slave (two MainApps on QtSslSocket, the slave
// on the simulated box); and a service whose certificate isn't trusted is refused.

#include <gtest/gtest.h>

#include <QSslConfiguration>
#include <QSslServer>
#include <QSslSocket>
#include <map>

#include "support/live_app.h"
#include "support/run_until.h"
#include "support/tls_test_data.h"

using namespace velto;

namespace {

/// Just enough of a brokering service: it greets, registers anyone, passes a request to the
/// named user, links the two on ";accept=", and then passes every other line across.
class BrokerStandIn {
public:
    explicit BrokerStandIn(const QString& certificate) {
        const QSslConfiguration tls = serverTls(certificate);
        server_.setSslConfiguration(tls);
        QObject::connect(&server_, &QSslServer::pendingConnectionAvailable, &server_, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) serve(socket);
        });
        ok = !tls.localCertificate().isNull() && server_.listen(QHostAddress::LocalHost, 0);
    }
    quint16 port() const { return server_.serverPort(); }

    bool ok = false;
    /// Every byte any client managed to send.
    QByteArray received;

private:
    void serve(QTcpSocket* socket) {
        auto buffer = std::make_shared<QByteArray>();
        socket->write(";info:stand-in\r\n");
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
            const QByteArray bytes = socket->readAll();
            received += bytes;
            *buffer += bytes;
            buffer->replace("\r\n", "\n");
            buffer->replace('\r', '\n');
            qsizetype end;
            while ((end = buffer->indexOf('\n')) >= 0) {
                const QByteArray line = buffer->left(end);
                buffer->remove(0, end + 1);
                if (!line.isEmpty()) handle(socket, line);
            }
        });
    }
    void handle(QTcpSocket* socket, const QByteArray& line) {
        const QByteArray value = line.mid(line.indexOf('=') + 1);
        if (line.startsWith(";register=")) {
            const QList<QByteArray> fields = value.split(';');
            users_[fields.value(0)] = socket;
            ids_[socket] = fields.value(0);
            socket->write(";registered:ok\r\n");
        } else if (line.startsWith(";connect=")) {
            if (QTcpSocket* peer = users_[value]) peer->write(";connect=" + ids_[socket] + ";a master\r\n");
        } else if (line.startsWith(";accept=")) {
            QTcpSocket* master = users_[value];
            links_[socket] = master;
            links_[master] = socket;
            master->write(";connected\r\n");
            socket->write(";connected\r\n");
        } else if (QTcpSocket* partner = links_[socket]) {
            partner->write(line + "\r\n");
        }
    }

    QSslServer server_;
    std::map<QByteArray, QTcpSocket*> users_;
    std::map<QTcpSocket*, QByteArray> ids_;
    std::map<QTcpSocket*, QTcpSocket*> links_;
};

/// A copy pointed at the stand-in service.
struct BrokerApp : LiveApp {
    BrokerApp(const QString& settings, quint16 brokerPort)
        : LiveApp(settings, [brokerPort](MainApp& app) {
              app.brokerHost = QStringLiteral("127.0.0.1");
              app.brokerPort = brokerPort;
          }) {}
};

}  // namespace

TEST(BrokerIntegration, TheServicePairsAMasterWithASlaveAndCarriesTheLineProtocol) {
    trustTestCa();
    BrokerStandIn service{QStringLiteral("server")};
    ASSERT_TRUE(service.ok);
    BrokerApp slave(QStringLiteral("mode=slave\nserial=/dev/tty.usbserial\nusebroker=true\n"
                                   "brokerid=slave@velto.example\nbrokerpin=1\n"
                                   "brokeraccept=master@velto.example\n"),
                    service.port());
    slave->Connect.push();
    ASSERT_TRUE(runUntil([&] { return slave->hostInfo.text() == QLatin1String("Connected to Broker"); }, 10000));

    BrokerApp master(QStringLiteral("mode=master\nusebroker=true\nbrokerid=master@velto.example\nbrokerpin=2\n"
                                    "brokerauto=slave@velto.example\n"),
                     service.port());
    master->_activityToggle_Action();
    master->Connect.push();
    ASSERT_TRUE(runUntil([&] { return master->brokerConnected && slave->brokerConnected && master->advancedRemote; },
                         10000))
        << master->activityLog.log.text().toStdString();

    // The master's slider reaches the slave's box; the box's reply comes back to the master.
    master->channelA.setValue(30);
    ASSERT_TRUE(runUntil([&] { return slave.link.box.levelA() == 30; }, 10000));
    ASSERT_TRUE(runUntil(
        [&] { return master->veltoStatus.text() == QString::fromLatin1(slave.link.box.statusLine()); }, 10000));
    EXPECT_TRUE(master.boundary.reports().isEmpty());
    EXPECT_TRUE(slave.boundary.reports().isEmpty());
}

TEST(BrokerIntegration, AnUntrustedCertificateIsRefusedAndNothingIsSent) {
    trustTestCa();
    BrokerStandIn service{QStringLiteral("untrusted")};
    ASSERT_TRUE(service.ok);
    BrokerApp slave(QStringLiteral("mode=slave\nusebroker=true\nbrokerid=slave@velto.example\nbrokerpin=1\n"),
                    service.port());
    slave->Connect.push();
    ASSERT_TRUE(runUntil([&] { return slave->activityLog.log.text().contains(QLatin1String(": TLS: ")); }, 10000));
    EXPECT_FALSE(slave.broker.isConnected());
    EXPECT_TRUE(service.received.isEmpty());
}
