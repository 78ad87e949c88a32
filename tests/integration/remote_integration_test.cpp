// The remote link over real loopback sockets: a master and a slave (two MainApps, the slave on
// the simulated box), HTTP requests from curl, and a discovery datagram.

#include <gtest/gtest.h>

#include <QProcess>
#include <QStandardPaths>
#include <QTcpSocket>

#include "support/free_port.h"
#include "support/live_app.h"
#include "support/rig.h"
#include "support/run_until.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

QString slaveSettings(quint16 port, const char* extra = "") {
    return u"mode=slave\nport=%1\nserial=/dev/tty.usbserial\n%2"_s.arg(port).arg(extra);
}

QString masterSettings(quint16 port) {
    return u"mode=master\nhost=127.0.0.1\nport=%1\n"_s.arg(port);
}

}  // namespace

TEST(RemoteIntegration, AMasterDrivesASlavesBoxAndMirrorsIt) {
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port));
    addFav(*slave.app, {.name = "Slow wave", .b = "30", .d = "50"});
    slave->Connect.push();
    ASSERT_TRUE(slave.remoteControl.isListening());
    // The slave relays every reply of its box the moment it comes, and a master takes one read
    // as one line: had the reply to the slave's wake-up CR landed in the same read as the
    // favourites the master asks for, they would be lost. So the master comes after that reply;
    // the next is the poll's, 2.5 s on.
    ASSERT_TRUE(runUntil(
        [&] { return slave->veltoStatus.text() != QLatin1String("(not connected)"); }, 5000));

    LiveApp master(masterSettings(port));
    master->_activityToggle_Action();
    master->Connect.push();
    ASSERT_TRUE(
        runUntil([&] { return master->advancedRemote && master->favsList.listCount() == 1; }, 5000))
        << "master read last: " << master->lastCmd.text().toStdString();
    EXPECT_EQ(master->favsList.cell(0, 0), "SLOW WAVE");
    EXPECT_EQ(slave->hostInfo.text(), "Connection from 127.0.0.1");

    // A slider move on the master reaches the slave's box; the reply comes back and shows.
    master->channelA.setValue(30);
    ASSERT_TRUE(runUntil([&] { return slave.link.box.levelA() == 30; }, 5000));
    // The box changes by itself: the slave's next poll carries it to the master.
    slave.link.box.setLevelB(20);
    ASSERT_TRUE(runUntil([&] { return master->channelB.value() == 20; }, 6000));
    EXPECT_EQ(master->channelA.value(), 30);
    EXPECT_TRUE(master.boundary.reports().isEmpty());
    EXPECT_TRUE(slave.boundary.reports().isEmpty());
}

TEST(RemoteIntegration, CurlDrivesAnHttpSlave) {
    const QString curl = QStandardPaths::findExecutable("curl");
    if (curl.isEmpty()) GTEST_SKIP() << "curl is not installed";
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port, "http=true\n"));
    slave->Connect.push();

    // ;SYSTEM answers with no head at all, which curl takes only as HTTP/0.9.
    auto get = [&](const QString& path) {
        QProcess process;
        process.start(
            curl, {"-s", "--http0.9", "-m", "10", u"http://127.0.0.1:%1/%2"_s.arg(port).arg(path)});
        runUntil([&] { return process.state() == QProcess::NotRunning; }, 15000);
        return QString::fromUtf8(process.readAllStandardOutput());
    };

    // A jump from 0 to 55 is refused: the box is sent "S", and the answer is its status line.
    EXPECT_EQ(get("A55"), QString::fromLatin1(slave.link.box.statusLine()) + "\r\n");
    EXPECT_EQ(slave.link.box.commands().last(), "S");

    // A client that drops before its answer leaves the slave listening for the next one.
    {
        QTcpSocket quitter;
        quitter.connectToHost(QHostAddress::LocalHost, port);
        ASSERT_TRUE(quitter.waitForConnected(3000));
        quitter.write("GET /;CHECKS=OFF HTTP/1.1\r\n\r\n");
        quitter.waitForBytesWritten(1000);
        runUntil([&] { return !slave->remoteChecks; }, 5000);
        quitter.abort();
    }
    ASSERT_TRUE(runUntil([&] { return slave.remoteControl.isListening(); }, 6000));
    const QString system = get(";SYSTEM");
    EXPECT_TRUE(system.startsWith(";STATUS:type=QTR,25")) << system.toStdString();
}

TEST(RemoteIntegration, AScanHearsASlavesAdvertisementOnLoopback) {
    LiveApp slave(slaveSettings(freePort()));
    LiveApp master(masterSettings(7846));
    master->prefsWindow.scanButton.push();
    if (!master.advertising.isConnected())
        GTEST_SKIP() << "UDP port 37846 is taken on this machine";
    // One tick of the slave's advertising clock, rather than five seconds of waiting for it.
    slave.boundary.run([&] { slave->adtimer_Action(); });
    ASSERT_TRUE(runUntil([&] { return !master->prefsWindow.remoteHost.text().isEmpty(); }, 5000));
    EXPECT_EQ(master->prefsWindow.remoteHost.text(), "127.0.0.1");
    EXPECT_FALSE(master.advertising.isConnected());
}
