// The remote link on fake sockets: a slave's lines, HTTP, the idle time-out, a master's side.
// A slave's lines settle for 50 ms (the box's reply included); its idle time-out is 10 seconds.

#include <gtest/gtest.h>

#include "support/slave_rig.h"

using namespace velto;

TEST(RemoteLink, ASlaveGreetsForwardsDeviceLinesAndRelaysReplies) {
    SlaveRig s("timeout=10\n", 50);
    EXPECT_EQ(s->adtimer.mode(), Timer::Off);  // the first peer ends advertising
    const size_t mark = s.mark();
    s.send("a55\r\n");
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"A55"});
    EXPECT_EQ(s.peerLines().last(), QString::fromLatin1(s.box().statusLine()));

    // A leading line end is trimmed, leading blanks are not; one read is one line.
    s.send("\r\n;TIMEOUT=20");
    EXPECT_EQ(s->slaveTimeout, 20);
    s.send("  ;TIMEOUT=30");
    EXPECT_EQ(s->slaveTimeout, 20);
    s.send(";TIMEOUT=40\r\n;TIMEOUT=50\r\n");
    EXPECT_EQ(s->slaveTimeout, 40);

    // "K" from the peer stops local playback too.
    s.send("K");
    EXPECT_EQ(s->tickCounter.text(), "STOP");
}

TEST(RemoteLink, TheIdleTimeoutStopsTheBoxButNotTheLink) {
    SlaveRig s("timeout=10\n", 50);
    s.send("A30");
    const size_t mark = s.mark();
    s.advance(9900);
    s.send(";TIMEOUT=5");  // a line restarts the count, with the new period
    s.advance(5000 - 50 - 1);
    EXPECT_EQ(s.commandsAfter(mark), QStringList{});
    s.advance(1);
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"K"});
    EXPECT_EQ(s->errText.text(), "Slave mode timeout");
    s.advance(500);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"K", "K", "K"}));
    EXPECT_TRUE(s.remoteControl.isConnected());

    // The next line clears the error; with overrideTimeout the timer is switched off.
    s->overrideTimeout = true;
    s.send(";CHECKS=ON");
    EXPECT_TRUE(s->errText.text().isEmpty());
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Off);
}

TEST(RemoteLink, HttpRequestsFlipTheModeAndAreCheckedForJumps) {
    SlaveRig s("timeout=10\n", 50);
    s->_activityToggle_Action();
    s.send("A40");
    s.box().setLevelB(20);
    s.advance(2600);

    // A request's path is the line: 15 above A is refused.
    size_t mark = s.mark();
    s.send("GET /A55 HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"S"});
    EXPECT_TRUE(s.logLines().contains("127.0.0.7 is using HTTP mode; switching"));

    // A jump of 5 passes; C and D are held only while both outputs are on; CHECKS=OFF frees all.
    auto get = [&](const char* path) {
        s.remoteControl.sent.clear();
        s.peerJoins(s.remoteControl);
        EXPECT_TRUE(s.remoteControl.sent.isEmpty());  // an HTTP client is not greeted
        mark = s.mark();
        s.send("GET /" + QByteArray(path) + " HTTP/1.1\r\n\r\n");
        return s.commandsAfter(mark).value(0);
    };
    EXPECT_EQ(get("A45"), "A45");
    EXPECT_EQ(get("C90"), "S");
    EXPECT_EQ(get("D90"), "S");
    s.box().setLevelB(0);
    s.advance(2600);
    EXPECT_EQ(get("C90"), "C90");
    s->remoteChecks = false;
    EXPECT_EQ(get("A90"), "A90");

    // A plain line flips back to TCP, and says so while the log is on.
    s.peerJoins(s.remoteControl);
    s.remoteControl.sent.clear();
    s.send(";CHECKS");
    EXPECT_TRUE(s.peerLines().contains(
        ";VELTO:Control/Server version 2.6.1, build 25 on OS X switching modes"));
    EXPECT_EQ(s.logLines().filter("TCP mode"),
              QStringList{"127.0.0.1 is using TCP mode; switching"});
}

TEST(RemoteLink, AMasterLearnsItsSlavesFavouritesProgressAndMessages) {
    Rig m;
    m.settings("mode=master\nhost=127.0.0.1\n");
    m.open();
    m->Connect.push();
    m.peerJoins(m.remoteControl);
    auto hear = [&](const QByteArray& line) {
        m.remoteControl.peerSends(line);
        m.advance(1);
    };
    hear(";FAV:Slow wave,60,180,10,1,Wave,40,30,50,50,L\r\n");
    ASSERT_EQ(m->favsList.listCount(), 1);
    EXPECT_TRUE(m->favsList.cellItalic(0, 0) && m->favsList.cellCheck(0, 4));
    EXPECT_EQ(m->favsList.cell(0, 10), "L");
    // A short row fails at the first missing item, through the boundary; the link goes on.
    hear(";FAV:X,1,2,3,1,Pulse\r\n");
    EXPECT_EQ(m.boundary.reports().size(), 1);

    hear("700:80:40:60:60:5:H:0:2.106\r\n");
    EXPECT_TRUE(m->powerHi.value());
    EXPECT_TRUE(m.serial.writes.empty());  // nothing is echoed to a box a master hasn't got
    for (const auto& [line, shown] :
         std::vector<std::pair<QByteArray, QString>>{{";STATUS:PERCENT=40", "40%"},
                                                     {";STATUS:PERCENT=100", "DONE"},
                                                     {";STATUS:percent=DONE", "DONE"}}) {
        m->manualControl = false;
        hear(line);
        EXPECT_EQ(m->tickCounter.text(), shown) << line.constData();
        EXPECT_EQ(m->manualControl, shown == "DONE");
    }

    // Messages: "=" in the text arrives; a ":" loses the line on a master.
    hear(";MSG=A=B");
    hear(";MSG=TIME: NOW");
    EXPECT_EQ(m->msgWindow.messageBox.text(), "\rA=B");

    // The link lost, a master does not listen.
    m.remoteControl.peerDrops();
    m.advance(1);
    EXPECT_EQ(m.remoteControl.listens, 0);
}

TEST(RemoteLink, LinesGoOutOnTheFirstTransportThatIsUpWithItsOwnLineEnd) {
    Rig rig;
    rig.open();
    for (FakeTcpSocket* s : {&rig.remoteControl, &rig.connectSocket, &rig.brokerSocket})
        s->peerConnects();
    rig.advance(1);
    rig.remoteControl.sent.clear();
    rig.connectSocket.sent.clear();  // the connect service's opening line
    rig.connectSocket.flushes = 0;
    auto send = [&](const char* line) {
        rig->sendRemoteData(line);
        rig->flushRemote();
    };
    rig->brokerConnected = true;
    send("ONE");
    rig->brokerConnected = false;
    send("TWO");
    rig.connectSocket.peerDrops();
    rig.advance(1);
    send("THREE");
    EXPECT_EQ(rig.brokerSocket.sent, "ONE\r\n");
    EXPECT_EQ(rig.connectSocket.sent, "TWO\n");
    EXPECT_EQ(rig.remoteControl.sent, "THREE\r\n");
    EXPECT_EQ(rig.brokerSocket.flushes + rig.connectSocket.flushes + rig.remoteControl.flushes, 3);
}
