// The remote link on fake sockets: a slave's reading and dispatch of lines, the HTTP switch and
// the plausibility test, the idle time-out, a master's mirror, and the transports' line ends.

#include <gtest/gtest.h>

#include "support/slave_rig.h"

using namespace velto;

namespace {

/// Lines settle for 50 ms (the box's reply included); the idle time-out is 10 seconds.
struct Slave : SlaveRig {
    explicit Slave(const QString& extra = {}) : SlaveRig("timeout=10\n" + extra, 50) {}
};

}  // namespace

TEST(RemoteLink, ASlaveGreetsForwardsDeviceLinesAndRelaysReplies) {
    Slave s;
    EXPECT_EQ(s->hostInfo.text(), "Connection from 127.0.0.7");
    EXPECT_EQ(s.peerLines().value(0), ";STATUS:type=QTR,25");
    EXPECT_EQ(s->adtimer.mode(), Timer::Off);

    const size_t mark = s.mark();
    s.send("a55\r\n", 1);
    EXPECT_EQ(s->lastCmd.text(), "A55\r\n");  // until the box's reply passes
    s.advance(50);
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"A55"});
    EXPECT_EQ(s->channelA.value(), 55);
    EXPECT_EQ(s.peerLines().last(), QString::fromLatin1(s.box().statusLine()));

    // A leading line end is trimmed away; leading blanks are not, and go to the device as they are.
    s.send("\r\n;TIMEOUT=20");
    EXPECT_EQ(s->slaveTimeout, 20);
    s.send("  ;TIMEOUT=30");
    EXPECT_EQ(s->slaveTimeout, 20);

    // Two lines in one read are one line: the second is lost inside the first.
    s.send(";TIMEOUT=40\r\n;TIMEOUT=50\r\n");
    EXPECT_EQ(s->slaveTimeout, 40);

    // "K" from the peer stops local playback too.
    s.send("K");
    EXPECT_EQ(s->tickCounter.text(), "STOP");

    // A master's greeting matches nothing and answers nothing.
    const int lines = s.peerLines().size();
    s.send(";STATUS:TYPE=QTR,25");
    EXPECT_EQ(s.peerLines().size(), lines);
}

TEST(RemoteLink, TheIdleTimeoutStopsTheBoxButNotTheLink) {
    Slave s;
    s->_activityToggle_Action();
    s.send("A30");
    ASSERT_EQ(s->slaveIdle.period(), 10000);
    const size_t mark = s.mark();
    s.advance(9900);
    s.send(";TIMEOUT=5");  // a line restarts the count, with the new period
    s.advance(4900);
    EXPECT_EQ(s.commandsAfter(mark), QStringList{});
    s.advance(200);
    EXPECT_EQ(s->errText.text(), "Slave mode timeout");
    EXPECT_EQ(s->tickCounter.text(), "STOP");
    s.advance(500);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"K", "K", "K"}));
    EXPECT_TRUE(s.remoteControl.isConnected());
    EXPECT_EQ(s->channelA.value(), 0);
    EXPECT_TRUE(s.logLines().contains("Slave mode timeout") && s.logLines().contains("STOP ALL"));

    // The next line clears the error; with overrideTimeout the timer is switched off.
    s->overrideTimeout = true;
    s.send(";HALT");
    EXPECT_TRUE(s->errText.text().isEmpty());
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Single);  // HALT's resetAll cleared the override first
    s->overrideTimeout = true;
    s.send(";CHECKS=ON");
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Off);
}

TEST(RemoteLink, HttpRequestsFlipTheModeAndAreCheckedForJumps) {
    Slave s;
    s->_activityToggle_Action();
    s.send("A40");
    s.remoteControl.sent.clear();

    // A request: the path is the line, the answer is the next device reply behind a head.
    size_t mark = s.mark();
    s.send("GET /A55 HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_TRUE(s->httpSlave);
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"S"});  // 15 above A: refused
    EXPECT_TRUE(s.logLines().contains("127.0.0.7 is using HTTP mode; switching"));
    EXPECT_EQ(QString::fromLatin1(s.remoteControl.sent),
              QStringLiteral("HTTP/1.0 200 OK\r\nAccess-Control-Allow-Origin: *\r\nConnection: close\r\n"
                             "Content-Type: text/plain\r\n\r\n") +
                  QString::fromLatin1(s.box().statusLine()) + "\r\n");
    EXPECT_FALSE(s.remoteControl.isConnected());  // answered: closed, and listening again
    EXPECT_TRUE(s.remoteControl.isListening());
    EXPECT_TRUE(s->httpResponse);

    // A jump of exactly 5 passes; CHECKS=OFF lets any jump through.
    s.peerJoins(s.remoteControl);
    mark = s.mark();
    s.send("GET /A45 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"A45"});
    s.peerJoins(s.remoteControl);
    s.send("GET /;CHECKS=OFF HTTP/1.1\r\n\r\n", 2600);  // a set command is answered by the next poll
    s.peerJoins(s.remoteControl);
    s.send("GET /A90 HTTP/1.1\r\n\r\n", 2600);
    EXPECT_EQ(s->channelA.value(), 90);

    // C and D are held to the same step while both outputs are on, and free while either is off.
    s->remoteChecks = true;
    s.box().setLevelB(20);
    s.advance(2600);
    for (const char* line : {"GET /C90 HTTP/1.1\r\n\r\n", "GET /D90 HTTP/1.1\r\n\r\n"}) {
        s.peerJoins(s.remoteControl);
        mark = s.mark();
        s.send(line);
        EXPECT_EQ(s.commandsAfter(mark), QStringList{"S"}) << line;
    }
    s.box().setLevelB(0);
    s.advance(2600);
    s.peerJoins(s.remoteControl);
    mark = s.mark();
    s.send("GET /C90 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(s.commandsAfter(mark), QStringList{"C90"});

    // A plain line flips back to TCP, and says so while the log is on.
    s.peerJoins(s.remoteControl);
    s.remoteControl.sent.clear();
    s.send(";CHECKS");
    EXPECT_FALSE(s->httpSlave);
    EXPECT_TRUE(s.peerLines().contains(";VELTO:Control/Server version 2.6.1, build 25 on OS X switching modes"));
    EXPECT_TRUE(s.logLines().contains("127.0.0.1 is using TCP mode; switching"));

    // A request for "/" takes the rest of the line and a header to the device, as it stands.
    s.peerJoins(s.remoteControl);
    mark = s.mark();
    s.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(s.commandsAfter(mark).mid(0, 2), QStringList({"HTTP/1.1", "\nHOST:"}));
}

TEST(RemoteLink, ASlaveListensAgainWheneverItsPeerGoes) {
    for (const bool http : {false, true}) {
        Slave s(http ? "http=true\n" : QString());
        s.remoteControl.peerDrops();
        s.advance(1);
        EXPECT_TRUE(s.remoteControl.isListening()) << http;
        // The first peer ended advertising for good; a new peer is greeted (unless HTTP).
        s.remoteControl.sent.clear();
        s.peerJoins(s.remoteControl);
        EXPECT_EQ(s.peerLines().isEmpty(), http);
        // The slave keeps the box as it was: only the idle time-out stops it.
        EXPECT_EQ(s->adtimer.mode(), Timer::Off);
    }
}

TEST(RemoteLink, AMasterMirrorsItsSlaveAndLearnsItsFavourites) {
    Rig m;
    m.settings("mode=master\nhost=127.0.0.1\n");
    m.open();
    m->_activityToggle_Action();
    m->Connect.push();
    m.peerJoins(m.remoteControl);
    EXPECT_EQ(m->hostInfo.text(), "Connected to 127.0.0.1");
    EXPECT_EQ(QString::fromLatin1(m.remoteControl.sent), ";STATUS:type=QTR,25\r\n");

    // The slave's greeting asks for its favourites.
    m.remoteControl.sent.clear();
    m.remoteControl.peerSends(";STATUS:type=QTR,25\r\n");
    m.advance(1);
    EXPECT_TRUE(m->advancedRemote);
    EXPECT_EQ(QString::fromLatin1(m.remoteControl.sent), ";getfavs\r\n");

    m.remoteControl.peerSends(";FAV:Slow wave,60,180,10,1,Wave,40,30,50,50,L\r\n");
    m.advance(1);
    ASSERT_EQ(m->favsList.listCount(), 1);
    EXPECT_EQ(m->favsList.cell(0, 0), "SLOW WAVE");
    EXPECT_TRUE(m->favsList.cellItalic(0, 0));
    EXPECT_TRUE(m->favsList.cellCheck(0, 4));
    EXPECT_EQ(m->favsList.rowTag(0).toString(), "remote");
    EXPECT_EQ(m->favsList.cell(0, 10), "L");
    EXPECT_TRUE(m.logLines().contains("Added remote favourite to list"));

    // A short row fails at the first missing item, through the boundary; the link goes on.
    m.remoteControl.peerSends(";FAV:X,1,2,3,1,Pulse\r\n");
    m.advance(1);
    EXPECT_EQ(m.boundary.reports().size(), 1);

    // Status lines drive the master's panel; percent lines its clock.
    m.remoteControl.peerSends("700:80:40:60:60:5:H:0:2.106\r\n");
    m.advance(1);
    EXPECT_EQ(m->channelA.value(), 40);
    EXPECT_EQ(m->channelB.value(), 20);
    EXPECT_TRUE(m->powerHi.value());
    EXPECT_TRUE(m.serial.writes.empty());  // nothing is echoed to a box a master hasn't got
    for (const auto& [line, shown] : std::vector<std::pair<QByteArray, QString>>{
             {";STATUS:PERCENT=40", "40%"},
             {";STATUS:percent=WAIT", "WAIT%"},
             {";STATUS:PERCENT=100", "DONE"},
             {";STATUS:percent=DONE", "DONE"}}) {
        m->manualControl = false;
        m.remoteControl.peerSends(line);
        m.advance(1);
        EXPECT_EQ(m->tickCounter.text(), shown) << line.constData();
    }
    EXPECT_TRUE(m->manualControl);

    // Messages: "=" in the text arrives; a ":" loses the line on a master.
    m.remoteControl.peerSends(";MSG=A=B");
    m.advance(1);
    EXPECT_TRUE(m->msgWindow.window.visible());
    EXPECT_EQ(m->msgWindow.messageBox.text(), "\rA=B");
    m.remoteControl.peerSends(";MSG=TIME: NOW");
    m.advance(1);
    EXPECT_EQ(m->msgWindow.messageBox.text(), "\rA=B");

    // The user's slider move goes to the peer, not to a box.
    m.remoteControl.sent.clear();
    m->channelC.setValue(70);
    EXPECT_EQ(QString::fromLatin1(m.remoteControl.sent), "C70\r\n");

    // A master does not listen when its link is lost.
    m.remoteControl.peerDrops();
    m.advance(1);
    EXPECT_EQ(m.remoteControl.listens, 0);
}

TEST(RemoteLink, LinesGoOutOnTheFirstTransportThatIsUpWithItsOwnLineEnd) {
    Rig rig;
    rig.open();
    rig.remoteControl.peerConnects();
    rig.connectSocket.peerConnects();
    rig.brokerSocket.peerConnects();
    rig.advance(1);
    rig.remoteControl.sent.clear();
    rig.connectSocket.sent.clear();  // the connect service's opening line
    rig.connectSocket.flushes = 0;
    rig->brokerConnected = true;
    rig->sendRemoteData("ONE");
    rig->flushRemote();
    rig->brokerConnected = false;
    rig->sendRemoteData("TWO");
    rig->flushRemote();
    rig.connectSocket.peerDrops();
    rig.advance(1);
    rig->sendRemoteData("THREE");
    rig->flushRemote();
    EXPECT_EQ(rig.brokerSocket.sent, QByteArray("ONE\r\n"));
    EXPECT_EQ(rig.connectSocket.sent, QByteArray("TWO\n"));
    EXPECT_EQ(rig.remoteControl.sent, QByteArray("THREE\r\n"));
    EXPECT_EQ(rig.brokerSocket.flushes + rig.connectSocket.flushes + rig.remoteControl.flushes, 3);
}
