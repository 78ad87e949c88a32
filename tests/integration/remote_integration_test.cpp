// The remote link over real loopback sockets: a master and a slave (two MainApps, the slave on
// the simulated box), an idle time-out, HTTP requests from curl, and a discovery datagram.

#include <gtest/gtest.h>

#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

#include "support/live_app.h"
#include "support/free_port.h"
#include "support/run_until.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

bool waitFor(const std::function<bool()>& done, int timeoutMs = 5000) { return runUntil(done, timeoutMs); }

QString slaveSettings(quint16 port, const char* extra = "") {
    return u"mode=slave\nport=%1\nserial=/dev/tty.usbserial\n%2"_s.arg(port).arg(extra);
}

QString masterSettings(quint16 port) { return u"mode=master\nhost=127.0.0.1\nport=%1\n"_s.arg(port); }

}  // namespace

TEST(RemoteIntegration, AMasterDrivesASlavesBoxAndMirrorsIt) {
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port));
    const int row = slave->favsList.addRow({"Slow wave", "30", "180", "10"});
    slave->favsList.setCellCheck(row, 4, true);
    const QStringList cells{"Pulse", "40", "30", "50", "50", "L"};
    for (int c = 5; c <= 10; ++c) slave->favsList.setCell(row, c, cells[c - 5]);
    slave->Connect.push();
    ASSERT_TRUE(slave.remoteControl.isListening());
    // The slave relays every reply of its box the moment it comes, and a master takes one read
    // as one line: had the reply to the slave's wake-up CR landed in the same read as the
    // favourites the master asks for, they would be lost. So the master comes after that reply;
    // the next is the poll's, 2.5 s on.
    ASSERT_TRUE(waitFor([&] { return slave->veltoStatus.text() != QLatin1String("(not connected)"); }));

    LiveApp master(masterSettings(port));
    master->_activityToggle_Action();
    master->Connect.push();
    ASSERT_TRUE(waitFor([&] { return master->advancedRemote && master->favsList.listCount() == 1; }))
        << "master read last: " << master->lastCmd.text().toStdString();
    EXPECT_EQ(master->favsList.cell(0, 0), "SLOW WAVE");
    EXPECT_TRUE(master->favsList.cellItalic(0, 0));
    EXPECT_EQ(slave->hostInfo.text(), "Connection from 127.0.0.1");

    // A slider move on the master reaches the slave's box; the reply comes back and shows.
    master->channelA.setValue(30);
    ASSERT_TRUE(waitFor([&] { return slave.link.box.levelA() == 30; }));
    // The box changes by itself: the slave's next poll carries it to the master.
    slave.link.box.setLevelB(20);
    ASSERT_TRUE(waitFor([&] { return master->channelB.value() == 20; }, 6000));
    EXPECT_EQ(master->channelA.value(), 30);

    // A go-to from the master ramps on the slave.
    master->favsList.setListIndex(0);
    master->gotoSelected.push();
    ASSERT_TRUE(waitFor([&] { return slave->rampTimer.mode() == Timer::Multiple; }));
    ASSERT_TRUE(waitFor([&] { return slave.link.box.levelA() == 4 && slave.link.box.levelB() == 3; }));
    EXPECT_FALSE(master->manualControl);
    EXPECT_TRUE(master.boundary.reports().isEmpty());
    EXPECT_TRUE(slave.boundary.reports().isEmpty());
}

TEST(RemoteIntegration, ASlaveStopsTheBoxWhenItsPeerFallsSilent) {
    // A real peer on a real socket; the slave's timers on virtual time.
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port, "timeout=1\n"), {}, LiveApp::VirtualTime);
    slave->Connect.push();
    QTcpSocket peer;
    peer.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(waitFor([&] { return peer.bytesAvailable() > 0; }));
    EXPECT_EQ(peer.readAll(), QByteArray(";STATUS:type=QTR,25\r\n"));
    peer.write("A20\r\n");
    ASSERT_TRUE(waitFor([&] { return slave.box().levelA() == 20; }));
    slave.virtualClock.advance(999);
    EXPECT_EQ(slave.box().levelA(), 20);
    slave.virtualClock.advance(1);
    EXPECT_EQ(slave.box().levelA(), 0);
    EXPECT_EQ(slave->errText.text(), "Slave mode timeout");
    // The link stays up: the box's reply still reaches the peer.
    ASSERT_TRUE(waitFor([&] { return peer.canReadLine(); }));
    EXPECT_EQ(peer.state(), QAbstractSocket::ConnectedState);
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
        process.start(curl, {"-s", "--http0.9", "-m", "10", u"http://127.0.0.1:%1/%2"_s.arg(port).arg(path)});
        waitFor([&] { return process.state() == QProcess::NotRunning; }, 15000);
        return QString::fromUtf8(process.readAllStandardOutput());
    };

    const QStringList status = get(";GETSTATUS").split(u"\r\n"_s, Qt::SkipEmptyParts);
    ASSERT_EQ(status.size(), 28);
    EXPECT_EQ(status.first(), ";STATUS:delayfirst=false");
    EXPECT_EQ(status.last(), ";STATUS:connection=http");

    // A jump from 0 to 55 is refused: the box is sent "S", and the answer is its status line.
    const QString answer = get("A55");
    EXPECT_EQ(answer, QString::fromLatin1(slave.link.box.statusLine()) + "\r\n");
    EXPECT_EQ(slave.link.box.levelA(), 0);
    EXPECT_EQ(slave.link.box.commands().last(), "S");

    // A client that drops before its answer leaves the slave listening for the next one.
    {
        QTcpSocket quitter;
        quitter.connectToHost(QHostAddress::LocalHost, port);
        ASSERT_TRUE(quitter.waitForConnected(3000));
        quitter.write("GET /;CHECKS=OFF HTTP/1.1\r\n\r\n");
        quitter.waitForBytesWritten(1000);
        waitFor([&] { return !slave->remoteChecks; });
        quitter.abort();
    }
    ASSERT_TRUE(waitFor([&] { return slave.remoteControl.isListening(); }, 6000));
    const QString system = get(";SYSTEM");
    EXPECT_TRUE(system.startsWith(";STATUS:type=QTR,25")) << system.toStdString();
}

TEST(RemoteIntegration, AScanHearsASlavesAdvertisementOnLoopback) {
    LiveApp slave(slaveSettings(freePort()));
    LiveApp master(masterSettings(7846));
    master->prefsWindow.scanButton.push();
    if (!master.advertising.isConnected()) GTEST_SKIP() << "UDP port 37846 is taken on this machine";
    // One tick of the slave's advertising clock, rather than five seconds of waiting for it.
    slave.boundary.run([&] { slave->adtimer_Action(); });
    ASSERT_TRUE(waitFor([&] { return !master->prefsWindow.remoteHost.text().isEmpty(); }));
    EXPECT_EQ(master->prefsWindow.remoteHost.text(), "127.0.0.1");
    EXPECT_FALSE(master.advertising.isConnected());
}
