// velto-broker on 127.0.0.1 with the throw-away certificates of tests/data, its users added
// through its own command line: a headless slave (velto with velto-sim behind it) and a
// master link through it. The master runs in this process on the program's own TLS socket,
// so that it can move a slider; the copies that only need to log in are real programs too.

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QSslSocket>
#include <QTemporaryDir>
#include <csignal>
#include <memory>

#include "device/main_app.h"
#include "platform/fake/fake_serial_port.h"
#include "platform/fake/fake_tcp_socket.h"
#include "platform/fake/fake_udp.h"
#include "platform/fake/scripted_dialogs.h"
#include "platform/qt/qt_clock.h"
#include "platform/qt/qt_ssl_socket.h"
#include "support/run_until.h"
#include "support/tls_test_data.h"

using namespace velto;

namespace {

const QString kSlave = QStringLiteral("slave@example.org");
const QString kMaster = QStringLiteral("master@example.org");
const QString kOther = QStringLiteral("other@example.org");

/// Ends a child of the test, by its own id.
void stop(QProcess& process) {
    if (process.state() == QProcess::NotRunning) return;
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(3000);
    }
}

/// velto-broker serving the three users, their PINs "1111", "2222", "3333".
struct BrokerProcess {
    BrokerProcess() {
        QProcess add;
        add.start(QStringLiteral(VELTO_BROKER_PATH), {QStringLiteral("--users"), users(), QStringLiteral("--add-user"),
                                                     kSlave, QStringLiteral("--add-user"), kMaster,
                                                     QStringLiteral("--add-user"), kOther});
        add.write("1111\n2222\n3333\n");
        add.closeWriteChannel();
        if (!add.waitForFinished(30000) || add.exitCode() != 0) return;
        process.start(QStringLiteral(VELTO_BROKER_PATH),
                      {QStringLiteral("--cert"), testDataPath(QStringLiteral("server.pem")), QStringLiteral("--key"),
                       testDataPath(QStringLiteral("server.key")), QStringLiteral("--listen"),
                       QStringLiteral("127.0.0.1:0"), QStringLiteral("--users"), users()});
        runUntil([&] { return process.canReadLine() || process.state() == QProcess::NotRunning; }, 10000);
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

/// The headless program on its own settings folder, pointed at the broker.
struct VeltoProcess {
    VeltoProcess(const BrokerProcess& broker, const QString& settings, const QStringList& extra = {}) {
        QFile file(prefs.filePath(QStringLiteral("veltoprefs.ini")));
        if (file.open(QIODevice::WriteOnly)) file.write(settings.toUtf8());
        file.close();
        process.start(QStringLiteral(VELTO_APP_PATH),
                      QStringList{QStringLiteral("--headless"), QStringLiteral("--prefs"), prefs.path(),
                                  QStringLiteral("--connect"), QStringLiteral("--log"), QStringLiteral("--broker"),
                                  QStringLiteral("127.0.0.1:%1").arg(broker.port), QStringLiteral("--ca-file"),
                                  testDataPath(QStringLiteral("ca.pem"))} +
                          extra);
    }
    ~VeltoProcess() { stop(process); }
    bool said(const QByteArray& text, int timeoutMs = 15000) {
        return runUntil(
            [&] {
                output += process.readAllStandardError() + process.readAllStandardOutput();
                return output.contains(text);
            },
            timeoutMs);
    }
    QTemporaryDir prefs;
    QProcess process;
    QByteArray output;
};

/// velto-sim on a new pseudo-terminal, its trace listing the commands the box took.
struct SimProcess {
    SimProcess() {
        process.start(QStringLiteral(VELTO_SIM_PATH), {QStringLiteral("--trace"), dir.filePath(QStringLiteral("trace")),
                                                       QStringLiteral("--exit-with-parent")});
        runUntil([&] { return process.canReadLine(); }, 10000);
        pty = QString::fromLocal8Bit(process.readLine()).trimmed();
    }
    ~SimProcess() { stop(process); }
    bool took(const QByteArray& command) const {
        QFile trace(dir.filePath(QStringLiteral("trace")));
        return trace.open(QIODevice::ReadOnly) && trace.readAll().contains(QByteArray(' ' + command + '\n'));
    }
    QTemporaryDir dir;
    QProcess process;
    QString pty;
};

/// A client of the service's own wire, for what no copy of the program does headless.
struct RawClient {
    explicit RawClient(quint16 port) {
        QObject::connect(&socket, &QIODevice::readyRead, [this] { received += socket.readAll(); });
        socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
    }
    bool login(const QString& id, const QString& pin) {
        if (!got(";info:")) return false;
        socket.write((";register=" + id + ';' + pin + ";v2;raw\r").toUtf8());
        return got(";registered:") || got(";failed");
    }
    bool got(const QByteArray& text) {
        return runUntil([&] { return received.contains(text); }, 15000);
    }
    QSslSocket socket;
    QByteArray received;
};

/// The master: MainApp in this process, on a real TLS socket, no box of its own.
struct Master {
    Master(quint16 port) {
        QFile file(prefs.filePath(QStringLiteral("veltoprefs.ini")));
        if (file.open(QIODevice::WriteOnly))
            file.write(("mode=master\nusebroker=true\nbrokerid=" + kMaster + "\nbrokerpin=2222\nbrokerauto=" + kSlave +
                        '\n')
                           .toUtf8());
        file.close();
        platform = std::make_unique<Platform>(Platform{clock, boundary, serial, remoteControl, broker, connect,
                                                       advertising, udp, network, dialogs, Preferences(prefs.path())});
        app = std::make_unique<MainApp>(*platform);
        app->brokerHost = QStringLiteral("127.0.0.1");
        app->brokerPort = port;
        app->App_Event_Open();
    }
    ~Master() { app.reset(); }
    MainApp* operator->() { return app.get(); }
    bool shown(const QString& message) {
        return runUntil([&] { return dialogs.messages.contains(message); }, 15000);
    }

    QTemporaryDir prefs;
    QtClock clock;
    ExceptionBoundary boundary;
    FakeSerialPort serial{clock};
    FakeTcpSocket remoteControl{clock};
    QtSslSocket broker;
    FakeTcpSocket connect{clock};
    FakeUdpFactory udp{clock};
    FakeUdpSocket advertising{clock, udp.record};
    FixedNetworkInfo network{QStringLiteral("127.0.0.1"), QStringLiteral("127.255.255.255")};
    ScriptedDialogs dialogs;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<MainApp> app;
};

QString loginSettings(const QString& mode, const QString& id, const QString& pin, const QString& more = {}) {
    return QStringLiteral("mode=%1\nusebroker=true\nbrokerid=%2\nbrokerpin=%3\n").arg(mode, id, pin) + more;
}

}  // namespace

TEST(BrokerProgram, LinksTwoCopiesAndCarriesTheMastersLinesToTheBoxAndItsRepliesBack) {
    trustTestCa();
    BrokerProcess broker;
    ASSERT_NE(broker.port, 0) << broker.log().constData();
    SimProcess sim;
    ASSERT_FALSE(sim.pty.isEmpty());
    VeltoProcess slave(broker,
                       loginSettings(QStringLiteral("slave"), kSlave, QStringLiteral("1111"),
                                     QStringLiteral("serial=%1\nbrokeraccept=%2\n").arg(sim.pty, kMaster)),
                       {QStringLiteral("--broadcast"), QStringLiteral("127.255.255.255")});
    ASSERT_TRUE(runUntil([&] { return broker.log().contains(QByteArray(kSlave.toUtf8() + " logged in")); }, 15000))
        << broker.logged.constData() << slave.output.constData();

    Master master(broker.port);
    master->Connect.push();
    ASSERT_TRUE(runUntil([&] { return master->brokerConnected && master->advancedRemote; }, 15000))
        << broker.log().constData();

    // A slider on the master moves the slave's box, and the box's reply shows on the master:
    // level A is twice the value in the reply's second field.
    master->channelA.setValue(30);
    ASSERT_TRUE(runUntil([&] { return sim.took("A30"); }, 15000)) << slave.output.constData();
    EXPECT_TRUE(runUntil([&] { return master->veltoStatus.text().split(QLatin1Char(':')).value(1) == QLatin1String("60"); }, 15000))
        << master->veltoStatus.text().toStdString();

    // Chat both ways between the master and a user of the wire.
    RawClient other(broker.port);
    ASSERT_TRUE(other.login(kOther, QStringLiteral("3333")));
    other.socket.write(";chat=" + kMaster.toUtf8() + ";hello master\r");
    ASSERT_TRUE(runUntil([&] { return !master->brokerChats.empty(); }, 15000));
    EXPECT_TRUE(master->brokerChats.front()->liveChat.text().contains(QStringLiteral("hello master")));
    MainApp::BrokerChat& chat = *master->brokerChats.front();
    chat.chatComposer.setText(QStringLiteral("hello other"));
    chat.sendChat.push();
    EXPECT_TRUE(other.got(";chat=" + kMaster.toUtf8() + ";hello other\r\n"));

    // The operator's broadcast reaches all three.
    QProcess broadcast;
    broadcast.start(QStringLiteral(VELTO_BROKER_PATH), {QStringLiteral("--users"), broker.users(),
                                                        QStringLiteral("--broadcast"), QStringLiteral("Going down")});
    ASSERT_TRUE(broadcast.waitForFinished(15000));
    EXPECT_EQ(broadcast.readAllStandardOutput(), "sent to 3 users\n");
    EXPECT_TRUE(other.got(";broadcast:Going down\r\n"));
    EXPECT_TRUE(master.shown(QStringLiteral("VeltoBroker System Message:\nGoing down")));

    // A slave that drops: the master is told the link is lost.
    ::kill(pid_t(slave.process.processId()), SIGKILL);
    EXPECT_TRUE(master.shown(QStringLiteral("The connection via VeltoBroker has been lost. The other person may "
                                            "have quit, or lost their link to the server")));
    EXPECT_FALSE(master->brokerConnected);
    EXPECT_TRUE(master.boundary.reports().isEmpty());
}

TEST(BrokerProgram, TellsACopyOfAWrongPinAndOfAUserOfflineOrBusy) {
    trustTestCa();
    BrokerProcess broker;
    ASSERT_NE(broker.port, 0) << broker.log().constData();
    // The other copy stands in for a linked slave.
    RawClient slave(broker.port), master(broker.port);
    ASSERT_TRUE(slave.login(kSlave, QStringLiteral("1111")) && master.login(kMaster, QStringLiteral("2222")));
    master.socket.write(";connect=" + kSlave.toUtf8() + '\r');
    ASSERT_TRUE(slave.got(";connect="));
    slave.socket.write(";accept=" + kMaster.toUtf8() + '\r');
    ASSERT_TRUE(master.got(";connected"));

    VeltoProcess wrongPin(broker, loginSettings(QStringLiteral("master"), kOther, QStringLiteral("9999")));
    VeltoProcess offline(broker, loginSettings(QStringLiteral("master"), kOther, QStringLiteral("3333"),
                                               QStringLiteral("brokerauto=nobody@example.org\n")));
    EXPECT_TRUE(wrongPin.said("message: You could not be logged in to VeltoBroker. Please check your settings. "
                              "The response returned was unknown user or wrong PIN\n"))
        << wrongPin.output.constData();
    EXPECT_TRUE(offline.said("message: Sorry. The requested user is not online at present\n"))
        << offline.output.constData();
    // The same user again: this login ends the one before.
    VeltoProcess busy(broker, loginSettings(QStringLiteral("master"), kOther, QStringLiteral("3333"),
                                            QStringLiteral("brokerauto=%1\n").arg(kSlave)));
    EXPECT_TRUE(busy.said("message: Sorry. The requested user is busy\n")) << busy.output.constData();
    EXPECT_TRUE(offline.said("message: VeltoBroker Error: Logged in again elsewhere\n")) << offline.output.constData();
}
