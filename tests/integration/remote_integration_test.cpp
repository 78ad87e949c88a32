// The remote link over real loopback sockets: a master and a slave (two MainApps, the slave on
// the simulated box), an idle time-out, HTTP requests from curl, and a discovery datagram.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

#include "device/main_app.h"
#include "platform/fake/fake_serial_port.h"
#include "platform/fake/fake_tcp_socket.h"
#include "platform/fake/fake_udp.h"
#include "platform/fake/scripted_dialogs.h"
#include "platform/qt/qt_clock.h"
#include "platform/qt/qt_tcp_socket.h"
#include "platform/qt/qt_udp_socket.h"
#include "support/sim_link.h"

using namespace velto;

namespace {

/// Runs the event loop until `done` holds or `timeoutMs` passes; true if it held.
bool waitFor(const std::function<bool()>& done, int timeoutMs = 5000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs) return false;
        QEventLoop loop;
        QTimer::singleShot(5, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

quint16 freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

/// A MainApp on real time and real loopback sockets, with the simulated box behind its port.
struct LiveApp {
    explicit LiveApp(const QString& settings) {
        QFile file(prefs.filePath(QStringLiteral("veltoprefs.ini")));
        if (file.open(QIODevice::WriteOnly)) file.write(settings.toUtf8());
        file.close();
        remoteControl.setListenAddress(QHostAddress::LocalHost);
        platform = std::make_unique<Platform>(Platform{clock, boundary, serial, remoteControl, broker, connect,
                                                       advertising, udp, network, dialogs,
                                                       Preferences(prefs.path())});
        app = std::make_unique<MainApp>(*platform);
        app->App_Event_Open();
    }
    ~LiveApp() { app.reset(); }
    MainApp* operator->() { return app.get(); }
    void addFavourite(const QString& name, const QString& levelA, const QString& levelB) {
        const int row = app->favsList.addRow({name, QStringLiteral("30"), QStringLiteral("180"), QStringLiteral("10")});
        app->favsList.setCellCheck(row, 4, true);
        const QStringList rest = {QStringLiteral("Pulse"), levelA, levelB, QStringLiteral("50"), QStringLiteral("50"),
                                  QStringLiteral("L")};
        for (int c = 5; c <= 10; ++c) app->favsList.setCell(row, c, rest[c - 5]);
    }

    QTemporaryDir prefs;
    QtClock clock;
    ExceptionBoundary boundary;
    FakeSerialPort serial{clock};
    SimLink link{serial, clock};
    QtTcpSocket remoteControl;
    FakeTcpSocket broker{clock};
    FakeTcpSocket connect{clock};
    QtUdpSocket advertising;
    QtUdpFactory udp;
    FixedNetworkInfo network{QStringLiteral("127.0.0.1"), QStringLiteral("127.255.255.255")};
    ScriptedDialogs dialogs;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<MainApp> app;
};

QString slaveSettings(quint16 port, const QString& extra = {}) {
    return QStringLiteral("mode=slave\nport=%1\nserial=/dev/tty.usbserial\n").arg(port) + extra;
}

QString masterSettings(quint16 port) {
    return QStringLiteral("mode=master\nhost=127.0.0.1\nport=%1\n").arg(port);
}

}  // namespace

TEST(RemoteIntegration, AMasterDrivesASlavesBoxAndMirrorsIt) {
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port));
    slave.addFavourite(QStringLiteral("Slow wave"), QStringLiteral("40"), QStringLiteral("30"));
    slave->Connect.push();
    ASSERT_TRUE(slave.remoteControl.isListening());

    LiveApp master(masterSettings(port));
    master->_activityToggle_Action();
    slave->_activityToggle_Action();
    master->Connect.push();
    ASSERT_TRUE(waitFor([&] { return master->advancedRemote && master->favsList.listCount() == 1; }, 15000))
        << master->activityLog.log.text().toStdString() << "\n---\n" << slave->activityLog.log.text().toStdString()
        << "master lastCmd [" << master->lastCmd.text().toStdString() << "] connected "
        << master.remoteControl.isConnected() << " slave connected " << slave.remoteControl.isConnected();
    EXPECT_EQ(master->favsList.cell(0, 0), QStringLiteral("SLOW WAVE"));
    EXPECT_TRUE(master->favsList.cellItalic(0, 0));
    EXPECT_EQ(slave->hostInfo.text(), QStringLiteral("Connection from 127.0.0.1"));

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
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port, QStringLiteral("timeout=1\n")));
    slave->Connect.push();
    QTcpSocket peer;
    peer.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(peer.waitForConnected(3000));
    ASSERT_TRUE(waitFor([&] { return peer.bytesAvailable() > 0 || peer.waitForReadyRead(10); }));
    EXPECT_TRUE(peer.readAll().startsWith(";STATUS:type=QTR,25\r\n"));
    peer.write("A20\r\n");
    ASSERT_TRUE(waitFor([&] { return slave.link.box.levelA() == 20; }));
    ASSERT_TRUE(waitFor([&] { return slave.link.box.levelA() == 0; }, 4000));
    EXPECT_EQ(slave->errText.text(), QStringLiteral("Slave mode timeout"));
    EXPECT_EQ(peer.state(), QAbstractSocket::ConnectedState);
}

TEST(RemoteIntegration, CurlDrivesAnHttpSlave) {
    const QString curl = QStandardPaths::findExecutable(QStringLiteral("curl"));
    if (curl.isEmpty()) GTEST_SKIP() << "curl is not installed";
    const quint16 port = freePort();
    LiveApp slave(slaveSettings(port, QStringLiteral("http=true\n")));
    slave->Connect.push();

    // ;SYSTEM answers with no head at all, which curl takes only as HTTP/0.9.
    auto get = [&](const QString& path) {
        QProcess process;
        process.start(curl, {QStringLiteral("-s"), QStringLiteral("--http0.9"), QStringLiteral("-m"), QStringLiteral("10"),
                             QStringLiteral("http://127.0.0.1:%1/%2").arg(port).arg(path)});
        waitFor([&] { return process.state() == QProcess::NotRunning; }, 15000);
        return QString::fromUtf8(process.readAllStandardOutput());
    };

    const QStringList status = get(QStringLiteral(";GETSTATUS")).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    ASSERT_EQ(status.size(), 28);
    EXPECT_EQ(status.first(), QStringLiteral(";STATUS:delayfirst=false"));
    EXPECT_EQ(status.last(), QStringLiteral(";STATUS:connection=http"));

    // A jump from 0 to 55 is refused: the box is sent "S", and the answer is its status line.
    const QString answer = get(QStringLiteral("A55"));
    EXPECT_EQ(answer, QString::fromLatin1(slave.link.box.statusLine()) + QStringLiteral("\r\n"));
    EXPECT_EQ(slave.link.box.levelA(), 0);
    EXPECT_EQ(slave.link.box.commands().last(), QStringLiteral("S"));
    // A small step passes.
    get(QStringLiteral("A5"));
    EXPECT_EQ(slave.link.box.levelA(), 5);

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
    const QString system = get(QStringLiteral(";SYSTEM"));
    EXPECT_TRUE(system.startsWith(QStringLiteral(";STATUS:type=QTR,25"))) << system.toStdString();
}

TEST(RemoteIntegration, AScanHearsASlavesAdvertisementOnLoopback) {
    LiveApp slave(slaveSettings(freePort()));
    LiveApp master(masterSettings(7846));
    master->prefsWindow.scanButton.push();
    if (!master.advertising.isConnected()) GTEST_SKIP() << "UDP port 37846 is taken on this machine";
    // One tick of the slave's advertising clock, rather than five seconds of waiting for it.
    slave.boundary.run([&] { slave->adtimer_Action(); });
    ASSERT_TRUE(waitFor([&] { return !master->prefsWindow.remoteHost.text().isEmpty(); }));
    EXPECT_EQ(master->prefsWindow.remoteHost.text(), QStringLiteral("127.0.0.1"));
    EXPECT_FALSE(master.advertising.isConnected());
}
