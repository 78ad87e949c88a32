// velto-broker on 127.0.0.1 with the throw-away certificates of tests/data, its users added
// through its own command line: a master and a slave, in this process on the program's own TLS
// socket, linked through it; a user of the raw wire; and a headless copy that fails to log in.

#include <gtest/gtest.h>

#include <optional>

#include "support/live_app.h"
#include "support/tls_test_data.h"
#include "support/velto_process.h"

using namespace velto;

namespace {

const QString kSlave = QStringLiteral("slave@example.org");
const QString kMaster = QStringLiteral("master@example.org");
const QString kOther = QStringLiteral("other@example.org");

QProcess& startBroker(QProcess& process, const QStringList& options) {
    process.start(QStringLiteral(VELTO_BROKER_PATH), options);
    return process;
}

/// velto-broker serving the three users, their PINs "1111", "2222", "3333".
struct BrokerProcess {
    BrokerProcess() {
        QProcess add;
        const QString addUser = QStringLiteral("--add-user");
        startBroker(add, {QStringLiteral("--users"), users(), addUser, kSlave, addUser, kMaster,
                          addUser, kOther})
            .write("1111\n2222\n3333\n");
        add.closeWriteChannel();
        if (!add.waitForFinished(30000) || add.exitCode() != 0) return;
        startBroker(process, {QStringLiteral("--cert"), testDataPath(QStringLiteral("server.pem")),
                              QStringLiteral("--key"), testDataPath(QStringLiteral("server.key")),
                              QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                              QStringLiteral("--users"), users()});
        runUntil([&] { return process.canReadLine() || process.state() == QProcess::NotRunning; },
                 10000);
        const QByteArray line = process.readLine().trimmed();  // "listening on 127.0.0.1:PORT"
        port = quint16(line.mid(line.lastIndexOf(':') + 1).toUInt());
    }
    ~BrokerProcess() { stop(process); }
    QString users() const { return dir.filePath(QStringLiteral("users")); }
    /// Its log so far.
    QByteArray log() { return logged += process.readAllStandardError(); }

    QTemporaryDir dir;
    QProcess process;
    QByteArray logged;
    quint16 port = 0;
};

/// A copy in this process pointed at the broker, logged in as `id` with `pin`.
struct BrokerApp : LiveApp {
    BrokerApp(quint16 port, const char* mode, const QString& id, const char* pin,
              const QString& more)
        : LiveApp(QStringLiteral("mode=%1\nusebroker=true\nbrokerid=%2\nbrokerpin=%3\n")
                          .arg(QLatin1String(mode), id, QLatin1String(pin)) +
                      more,
                  [port](MainApp& app) {
                      app.brokerHost = QStringLiteral("127.0.0.1");
                      app.brokerPort = port;
                  }) {
        app->Connect.push();
    }
};

/// A user on the service's own wire, chatting from outside the program.
struct RawClient {
    explicit RawClient(quint16 port) {
        QObject::connect(&socket, &QIODevice::readyRead, [this] { received += socket.readAll(); });
        socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
    }
    bool login(const QString& id, const QString& pin) {
        if (!got(";info:")) return false;
        socket.write((";register=" + id + ';' + pin + ";v2;raw\r").toUtf8());
        return got(";registered:");
    }
    bool got(const QByteArray& text) {
        return runUntil([&] { return received.contains(text); }, 15000);
    }
    QSslSocket socket;
    QByteArray received;
};

}  // namespace

TEST(BrokerProgram, LinksTwoCopiesCarriesTheirLinesAndTellsOfLoginsAndLossOfTheLink) {
    trustTestCa();
    BrokerProcess broker;
    ASSERT_NE(broker.port, 0) << broker.log().constData();
    std::optional<BrokerApp> slave(std::in_place, broker.port, "slave", kSlave, "1111",
                                   QStringLiteral("brokeraccept=%1\n").arg(kMaster));
    const QByteArray loggedIn = kSlave.toUtf8() + " logged in";
    ASSERT_TRUE(runUntil([&] { return broker.log().contains(loggedIn); }, 15000))
        << broker.logged.constData();
    BrokerApp master(broker.port, "master", kMaster, "2222",
                     QStringLiteral("brokerauto=%1\n").arg(kSlave));
    ASSERT_TRUE(runUntil([&] { return master->brokerConnected && master->advancedRemote; }, 15000))
        << broker.log().constData();

    // The master's slider reaches the slave's box; the box's reply comes back to the master.
    master->channelA.setValue(30);
    ASSERT_TRUE(runUntil([&] { return slave->box().levelA() == 30; }, 15000));
    EXPECT_TRUE(runUntil(
        [&] { return master->veltoStatus.text() == QLatin1String(slave->box().statusLine()); },
        15000));

    // Chat both ways between the master and a user of the wire.
    RawClient other(broker.port);
    ASSERT_TRUE(other.login(kOther, QStringLiteral("3333")));
    other.socket.write(";chat=" + kMaster.toUtf8() + ";hello master\r");
    ASSERT_TRUE(runUntil([&] { return !master->brokerChats.empty(); }, 15000));
    MainApp::BrokerChat& chat = *master->brokerChats.front();
    EXPECT_TRUE(chat.liveChat.text().contains(QStringLiteral("hello master")));
    chat.chatComposer.setText(QStringLiteral("hello other"));
    chat.sendChat.push();
    EXPECT_TRUE(other.got(";chat=" + kMaster.toUtf8() + ";hello other\r\n"));

    // The operator's broadcast reaches all three.
    QProcess broadcast;
    startBroker(broadcast, {QStringLiteral("--users"), broker.users(),
                            QStringLiteral("--broadcast"), QStringLiteral("Going down")});
    ASSERT_TRUE(broadcast.waitForFinished(15000));
    EXPECT_EQ(broadcast.readAllStandardOutput(), "sent to 3 users\n");
    EXPECT_TRUE(other.got(";broadcast:Going down\r\n"));
    const auto shown = [&](const QString& message) {
        return runUntil([&] { return master.dialogs.messages.contains(message); }, 15000);
    };
    EXPECT_TRUE(shown(QStringLiteral("VeltoBroker System Message:\nGoing down")));

    // A slave that drops: the master is told the link is lost.
    EXPECT_TRUE(slave->boundary.reports().isEmpty());
    slave.reset();
    EXPECT_TRUE(shown(QStringLiteral("The connection via VeltoBroker has been lost. The other "
                                     "person may have quit, or lost their link to the server")));
    EXPECT_FALSE(master->brokerConnected);
    EXPECT_TRUE(master.boundary.reports().isEmpty());

    // A wrong PIN: the answer reaches the copy before the service closes the connection.
    VeltoProcess wrongPin(
        {QStringLiteral("--headless"), QStringLiteral("--connect"), QStringLiteral("--broker"),
         QStringLiteral("127.0.0.1:%1").arg(broker.port), QStringLiteral("--ca-file"),
         testDataPath(QStringLiteral("ca.pem"))},
        QStringLiteral("mode=master\nusebroker=true\nbrokerid=%1\nbrokerpin=9999\n").arg(kOther));
    EXPECT_TRUE(wrongPin.said(QStringLiteral(
        "message: You could not be logged in to VeltoBroker. Please check your settings. The "
        "response returned was unknown user or wrong PIN\n")))
        << wrongPin.err.toStdString();
}
