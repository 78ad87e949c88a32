// velto-broker on 127.0.0.1 with the throw-away certificates of tests/data, its users added
// through its own command line: a master and a slave, in this process on the program's own TLS
// socket, linked through it; and a headless copy that fails to log in.

#include <gtest/gtest.h>

#include <optional>

#include "support/live_app.h"
#include "support/tls_test_data.h"
#include "support/velto_process.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

const QString kSlave = u"slave@example.org"_s;
const QString kMaster = u"master@example.org"_s;

/// A copy in this process pointed at the broker, logged in as `id` with `pin`.
struct BrokerApp : LiveApp {
    BrokerApp(quint16 port, const char* mode, const QString& id, const char* pin,
              const QString& more)
        : LiveApp(u"mode=%1\nusebroker=true\nbrokerid=%2\nbrokerpin=%3\n"_s.arg(
                      QLatin1String(mode), id, QLatin1String(pin)) +
                      more,
                  [port](MainApp& app) {
                      app.brokerHost = u"127.0.0.1"_s;
                      app.brokerPort = port;
                  }) {
        app->Connect.push();
    }
};

}  // namespace

TEST(BrokerProgram, LinksTwoCopiesCarriesTheirLinesAndTellsOfBroadcastsLoginsAndLoss) {
    trustTestCa();
    const QString program = QStringLiteral(VELTO_BROKER_PATH);
    QTemporaryDir dir;
    const QString users = dir.filePath(u"users"_s);
    QProcess add, broker;
    add.start(program, {"--users", users, "--add-user", kSlave, "--add-user", kMaster});
    add.write("1111\n2222\n");  // their PINs
    add.closeWriteChannel();
    ASSERT_TRUE(add.waitForFinished(30000) && add.exitCode() == 0);
    broker.start(program,
                 {"--cert", testDataPath(u"server.pem"_s), "--key", testDataPath(u"server.key"_s),
                  "--listen", "127.0.0.1:0", "--users", users});
    QByteArray log;
    ASSERT_TRUE(runUntil([&] { return broker.canReadLine(); }, 10000))
        << broker.readAllStandardError().constData();
    const QByteArray line = broker.readLine().trimmed();  // "listening on 127.0.0.1:PORT"
    const quint16 port = quint16(line.mid(line.lastIndexOf(':') + 1).toUInt());
    const auto logged = [&](const QByteArray& text) {
        return runUntil([&] { return (log += broker.readAllStandardError()).contains(text); },
                        15000);
    };
    std::optional<BrokerApp> slave(std::in_place, port, "slave", kSlave, "1111",
                                   u"brokeraccept=%1\n"_s.arg(kMaster));
    ASSERT_TRUE(logged(kSlave.toUtf8() + " logged in")) << log.constData();
    BrokerApp master(port, "master", kMaster, "2222", u"brokerauto=%1\n"_s.arg(kSlave));
    ASSERT_TRUE(runUntil([&] { return master->brokerConnected && master->advancedRemote; }, 15000))
        << log.constData();

    // The master's slider reaches the slave's box; the box's reply comes back to the master.
    master->channelA.setValue(30);
    ASSERT_TRUE(runUntil([&] { return slave->box().levelA() == 30; }, 15000));
    EXPECT_TRUE(runUntil(
        [&] { return master->veltoStatus.text() == QLatin1String(slave->box().statusLine()); },
        15000));

    // The operator's broadcast reaches both.
    QProcess broadcast;
    broadcast.start(program, {"--users", users, "--broadcast", "Going down"});
    ASSERT_TRUE(broadcast.waitForFinished(15000));
    EXPECT_EQ(broadcast.readAllStandardOutput(), "sent to 2 users\n");
    const auto shown = [&](const QString& message) {
        return runUntil([&] { return master.dialogs.messages.contains(message); }, 15000);
    };
    EXPECT_TRUE(shown(u"VeltoBroker System Message:\nGoing down"_s));

    // A slave that drops: the master is told the link is lost.
    EXPECT_TRUE(slave->boundary.reports().isEmpty());
    slave.reset();
    EXPECT_TRUE(
        shown(u"The connection via VeltoBroker has been lost. The other person may have quit, "
              "or lost their link to the server"_s));
    EXPECT_FALSE(master->brokerConnected);
    EXPECT_TRUE(master.boundary.reports().isEmpty());

    // A wrong PIN: the answer reaches the copy before the service closes the connection.
    VeltoProcess wrongPin(
        {"--headless", "--connect", "--broker", u"127.0.0.1:%1"_s.arg(port), "--ca-file",
         testDataPath(u"ca.pem"_s)},
        u"mode=master\nusebroker=true\nbrokerid=%1\nbrokerpin=9999\n"_s.arg(kSlave));
    EXPECT_TRUE(wrongPin.said(
        u"message: You could not be logged in to VeltoBroker. Please check your settings. The "
        "response returned was unknown user or wrong PIN\n"_s))
        << wrongPin.err.toStdString();
    stop(broker);
}
