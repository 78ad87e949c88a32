// A slave's extended language, its answering commands, remote play and LAN discovery.

#include <gtest/gtest.h>

#include "support/slave_rig.h"

using namespace velto;

namespace {

/// The greeting is cleared away: what the peer sees starts with the answers.
struct Slave : SlaveRig {
    Slave() { remoteControl.sent.clear(); }
};

}  // namespace

TEST(ExtendedCommands, SettingsCommandsFollowTheirTableOfValues) {
    Slave s;
    MainApp& a = *s;
    struct Case {
        const char* line;
        std::function<bool(const MainApp&)> holds;
    } cases[] = {
        {";CHECKS=OFF", [](const MainApp& m) { return !m.remoteChecks; }},
        {";CHECKS", [](const MainApp& m) { return m.remoteChecks; }},
        {";checks=false", [](const MainApp& m) { return !m.remoteChecks; }},
        {";CHECKS=NO", [](const MainApp& m) { return m.remoteChecks; }},
        {";TIMEOUT=ABC", [](const MainApp& m) { return m.slaveTimeout == 0; }},
        {";TIMEOUT", [](const MainApp& m) { return m.slaveTimeout == 600; }},
        {";TIMEOUT = 10", [](const MainApp& m) { return m.slaveTimeout == 600; }},
        {";DELAYFIRST=ON", [](const MainApp& m) { return m.delayFirst.value(); }},
        {";DELAYFIRST=", [](const MainApp& m) { return !m.delayFirst.value(); }},
        {";DELAYFIRST=2.5", [](const MainApp& m) { return m.delayFirst.value() && m.firstDelay.text() == QLatin1String("2.5"); }},
        {";RANDOMDELAY=5,5", [](const MainApp& m) { return m.delayBetween.value() && m.minDelay.text() == QLatin1String("5"); }},
        {";RANDOMDELAY=6,5", [](const MainApp& m) { return !m.delayBetween.value() && m.maxDelay.text() == QLatin1String("5"); }},
        {";RANDOMDELAY=TRUE", [](const MainApp& m) { return m.delayBetween.value(); }},
        {";RANDOMDELAY=6", [](const MainApp& m) { return !m.delayBetween.value(); }},
        {";RANDOMRUN=10,20", [](const MainApp& m) { return m.randomTimes.value() && m.maxRun.text() == QLatin1String("20"); }},
        {";RANDOMRUN=OFF", [](const MainApp& m) { return !m.randomTimes.value(); }},
        {";RANDOMPOWER=ON", [](const MainApp& m) { return m.randomPower.value(); }},
        {";RANDOMPOWER=5", [](const MainApp& m) { return !m.randomPower.value(); }},
        {";LOOPBOOST=3,1", [](const MainApp& m) { return m.loopPower.value() && m.loopBoostA.text() == QLatin1String("3"); }},
        {";LOOPBOOST=1,2,3", [](const MainApp& m) { return !m.loopPower.value(); }},
        {";LOOPTIMEOUT=15", [](const MainApp& m) { return m.loopTimeout.value() && m.loopRuntime.text() == QLatin1String("15"); }},
        {";LOOPTIMEOUT=0", [](const MainApp& m) { return m.loopTimeout.value() && m.loopRuntime.text() == QLatin1String("15"); }},
        {";LOOPTIMEOUT=XYZ", [](const MainApp& m) { return m.loopTimeout.value(); }},
        {";LOOPTIMEOUT=", [](const MainApp& m) { return !m.loopTimeout.value(); }},
    };
    for (const Case& c : cases) {
        s.send(c.line);
        EXPECT_TRUE(c.holds(a)) << c.line;
    }
    EXPECT_TRUE(s.extendedLines().isEmpty());  // none of them answers
}

TEST(ExtendedCommands, GotoQueuesSettingsAndTheFirstTenthAndRampsAtItsPace) {
    Slave s;
    struct Case {
        const char* line;
        qint64 period;
    } cases[] = {{";GOTO=50,40,50,50", 3000}, {";GOTO=50,40,50,50,30", 3000}, {";GOTO=50,40,50,50,31", 3100}};
    for (const Case& c : cases) {
        s.send(c.line);
        EXPECT_EQ(s->rampTimer.period(), c.period) << c.line;
    }
    const size_t mark = s.mark();
    s.send(";GOTO=55,40,60,70,45,6,h", 0);
    EXPECT_TRUE(s->continueAfterPlayback);
    EXPECT_FALSE(s->manualControl);
    EXPECT_EQ(s->cmdSequence, QStringList({"C60", "D70", "A6", "B4", "M6", "H"}));
    s.advance(1300);  // the stack: H, M6, B4, A6, D70, C60
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"H", "M6", "B4", "A6", "D70", "C60"}));
    EXPECT_EQ(s->rampTimer.period(), 4500);
    s.advance(45000);
    EXPECT_EQ(s.box().levelA(), 55);
    EXPECT_EQ(s->rampTimer.mode(), Timer::Off);
    EXPECT_TRUE(s->manualControl);

    // Six or eight items leave the mode alone; an empty value does nothing at all.
    s.send(";GOTO=10,10,50,50,30,3", 0);
    EXPECT_EQ(s->cmdSequence.size(), 4);
    s->rampTimer.setMode(Timer::Multiple);
    s.send(";GOTO=");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Multiple);
    // Too few items: everything has stopped already when the access fails.
    s.send(";GOTO=1,2");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Off);
    EXPECT_EQ(s.boundary.reports().size(), 1);
}

TEST(ExtendedCommands, MoveWaitsClampsAndReportsAnImpossibleMove) {
    Slave s;
    s.box().setLevelA(95);
    s.box().setLevelB(5);
    s.advance(2600);
    s.send(";MOVE=+10,-10,20");
    EXPECT_EQ(s.extendedLines().value(0), QStringLiteral(";STATUS:percent=WAIT"));
    EXPECT_EQ(s->moveSteps, 5);
    EXPECT_EQ(s->directionA, 1);
    EXPECT_EQ(s->directionB, -1);
    s.advance(25000);
    EXPECT_EQ(s.box().levelA(), 100);
    EXPECT_EQ(s.box().levelB(), 0);
    EXPECT_TRUE(s.extendedLines().contains(QStringLiteral(";STATUS:percent=DONE")));

    s->autoAdjust = false;
    s.remoteControl.sent.clear();
    s.send(";MOVE=0,100,10");
    EXPECT_EQ(s.extendedLines(), QStringList({";STATUS:percent=WAIT", ";ERROR:1=Too many steps, or time period too short"}));
    // A wrong count does nothing, not even resetAll.
    s->rampTimer.setMode(Timer::Multiple);
    s.send(";MOVE=1,2");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Multiple);
}

TEST(ExtendedCommands, PlayHaltStopAndTheStepCommands) {
    Slave s;
    s->rampTimer.setMode(Timer::Multiple);
    s.send(";PLAY=1,2,3");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Multiple);  // wrong count: not even resetAll
    struct Case {
        const char* line;
        qint64 period;
        qint64 ticks;
    } cases[] = {{";PLAY=60,10,50,50,10,120,30,2,H", 6000, 120},
                 {";PLAY=50,50,50,50,10,120,30,2,H", 3000, 120},
                 {";PLAY=40,40,50,50,45,120,30,2,L", 4500, 120}};
    for (const Case& c : cases) {
        s.send(c.line);
        EXPECT_EQ(s->rampTimer.period(), c.period) << c.line;
        EXPECT_EQ(s->sequenceTicks, c.ticks);
        EXPECT_EQ(s->tickCounter.text(), QStringLiteral("RISE"));
        EXPECT_FALSE(s->continueAfterPlayback);
    }
    EXPECT_EQ(s->cmdSequence, QStringList({"A4", "B4", "C50", "D50", "M2", "L"}));
    s.advance(20000);
    const int level = s.box().levelA();
    EXPECT_GT(level, 0);

    // HALT stops the timers and leaves the output on; STOPSEQ turns it off.
    s.send(";HALT");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Off);
    s.advance(3000);
    EXPECT_EQ(s.box().levelA(), level);
    size_t mark = s.mark();
    s.send(";STOPSEQ", 600);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"K", "K", "K"}));

    // UP: two steps 500 ms apart; only the second reply reaches the peer.
    s.advance(2600);
    s.box().setLevelA(10);
    s.box().setLevelB(10);
    s.advance(2500);
    s.remoteControl.sent.clear();
    mark = s.mark();
    s.send(";UP", 0);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"A11", "B11"}));
    s.advance(50);
    EXPECT_EQ(s.peerLines(), QStringList{QString::fromLatin1(s.box().statusLine())});
    EXPECT_FALSE(s->showSecondStatus);

    mark = s.mark();
    for (const char* line : {";APLUS", ";BMINUS", ";CPLUS", ";DMINUS"}) s.send(line, 50);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"A12", "B10", "C51", "D49"}));
}

TEST(ExtendedCommands, SequenceMarksMessagesAndSave) {
    Slave s;
    for (const char* name : {"One", "Two", "Three", "Four", "Five"}) s.addFavourite(QString::fromLatin1(name));
    s.send(";SEQUNSET=2");
    EXPECT_FALSE(s->favsList.cellCheck(2, 4));
    s.send(";SEQSET=2");
    EXPECT_TRUE(s->favsList.cellCheck(2, 4));
    s.send(";SEQSET=5");  // past the end: nothing
    EXPECT_TRUE(s.boundary.reports().isEmpty());
    s.send(";SEQSET=-1");  // passes the count test, fails at the list's bound check
    EXPECT_EQ(s.boundary.reports().size(), 1);
    s.send(";CLEARSEQ");
    for (int r = 0; r < 5; ++r) EXPECT_FALSE(s->favsList.cellCheck(r, 4));

    s.send(";MSG=A=B");
    EXPECT_TRUE(s->msgWindow.window.visible());
    EXPECT_EQ(s->msgWindow.messageBox.text(), QStringLiteral("\rA=B"));

    s.send(";SAVE");
    EXPECT_EQ(s->favsList.listCount(), 6);
    EXPECT_TRUE(s->favsList.cell(5, 0).startsWith(QStringLiteral("R-")));
}

TEST(StatusCommands, GetStatusAnswersItsTwentyEightLines) {
    Slave s;
    s->delayFirst.setValue(true);
    s->firstDelay.setText(QStringLiteral("3"));
    s.send(";getstatus");
    const QStringList lines = s.extendedLines();
    ASSERT_EQ(lines.size(), 28);
    EXPECT_EQ(lines[0], QStringLiteral(";STATUS:delayfirst=true"));
    EXPECT_EQ(lines[1], QStringLiteral(";STATUS:delayvalue=3"));
    EXPECT_EQ(lines[14], QStringLiteral(";STATUS:checks=true"));
    EXPECT_EQ(lines[16], QStringLiteral(";STATUS:timeout=600"));
    EXPECT_EQ(lines[21], QStringLiteral(";STATUS:percent=DONE"));
    EXPECT_EQ(lines[24], QStringLiteral(";STATUS:version=2.6.1"));
    EXPECT_EQ(lines[25], QStringLiteral(";STATUS:buildno=25"));
    EXPECT_EQ(lines[26], QStringLiteral(";STATUS:type=QTR,25"));
    EXPECT_EQ(lines[27], QStringLiteral(";STATUS:connection=tcp"));

    // During a ramp the percent line reads the ramp's step.
    s.send(";GOTO=50,50,50,50,40");
    s.advance(4000 * 3 + 100);
    s.remoteControl.sent.clear();
    s.send(";GETSTATUS");
    EXPECT_EQ(s.extendedLines().value(21), QStringLiteral(";STATUS:percent=40"));
}

TEST(StatusCommands, ProgressSystemAndGetFavs) {
    Slave s;
    s.send(";PROGRESS");
    EXPECT_EQ(s.extendedLines().last(), QStringLiteral(";PROGRESS:100,0,sequence"));  // rampStep starts at 10
    s->seqComplete = true;
    s->rampStep = 1;
    s.send(";PROGRESS");
    EXPECT_EQ(s.extendedLines().last(), QStringLiteral(";PROGRESS:10,0,done"));
    s->randomPlay = true;
    s->loopMode = true;
    s.send(";PROGRESS");
    EXPECT_EQ(s.extendedLines().last(), QStringLiteral(";PROGRESS:10,0,loop"));

    s.send(";SYSTEM");
    EXPECT_EQ(s.extendedLines().last(), QStringLiteral(";STATUS:type=QTR,25"));
    EXPECT_TRUE(s.logLines().contains(QStringLiteral("Entered system sub")));  // though the log is off

    s.send(";GETFAVS");
    EXPECT_EQ(s.extendedLines().last(), QStringLiteral(";NODATA"));
    s.addFavourite(QStringLiteral("Slow, wave"));
    s->favsList.setCellState(0, 4, 0);
    s.remoteControl.sent.clear();
    s.send(";GETFAVS");
    EXPECT_EQ(s.extendedLines(), QStringList{";FAV:Slow, wave,30,180,10,0,Pulse,40,20,50,60,L"});
}

TEST(HttpMode, TheAnswerEndsTheExchangeAndTheSlaveListensAgain) {
    Slave s;
    s->_activityToggle_Action();
    s.remoteControl.peerDrops();
    s.advance(1);
    s.remoteControl.peerConnects();
    s.advance(1);
    s.send("GET /;GETSTATUS HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    // This first client came while the slave was in TCP mode: its greeting stands before the head.
    const QString answer = QString::fromUtf8(s.remoteControl.sent);
    EXPECT_TRUE(answer.startsWith(QStringLiteral(";STATUS:type=QTR,25\r\nHTTP/1.0 200 OK\r\nAccess-Control-Allow-Origin: *\r\n"
                                                 "Connection: close\r\nContent-Type: text/plain\r\n\r\n;STATUS:delayfirst=")));
    EXPECT_TRUE(answer.endsWith(QStringLiteral(";STATUS:connection=http\r\n")));
    EXPECT_FALSE(s.remoteControl.isConnected());
    EXPECT_TRUE(s.remoteControl.isListening());

    // SYSTEM has no head; PROGRESS goes out bare and the next device reply closes the exchange.
    for (const QByteArray& request : {QByteArray("GET /;SYSTEM HTTP/1.1\r\n\r\n")}) {
        s.remoteControl.peerConnects();
        s.advance(1);
        s.remoteControl.sent.clear();
        s.send(request);
        EXPECT_EQ(QString::fromUtf8(s.remoteControl.sent), QStringLiteral(";STATUS:type=QTR,25\r\n"));
        EXPECT_FALSE(s.remoteControl.isConnected());
    }
    s.remoteControl.peerConnects();
    s.advance(1);
    s.remoteControl.sent.clear();
    s.send("GET /;PROGRESS HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(s.remoteControl.isConnected());
    s.advance(2600);
    const QString progress = QString::fromUtf8(s.remoteControl.sent);
    EXPECT_TRUE(progress.startsWith(QStringLiteral(";PROGRESS:")));
    EXPECT_TRUE(progress.contains(QStringLiteral("\r\nHTTP/1.0 200 OK\r\n"))) << progress.toStdString();
    EXPECT_FALSE(s.remoteControl.isConnected());

    // A slave idle since start-up starts its time-out with a request, like any line.
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Single);
}

TEST(Discovery, ASlaveAdvertisesUntilTheFirstPeerAndAScanHearsTheFirstSlave) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("mode=slave\n"));
    rig.connect();
    rig.advance(15000);
    const auto& sent = rig.udp.record->sent;
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(rig.udp.record->socketsMade, 3);  // a fresh socket per advertisement
    EXPECT_EQ(sent[0].timeMs, 5000);
    EXPECT_EQ(sent[0].address, QStringLiteral("127.255.255.255"));
    EXPECT_EQ(sent[0].fromPort, 37846);
    EXPECT_EQ(sent[0].data, QByteArray("127.0.0.1"));

    rig.remoteControl.peerConnects();
    rig.advance(1);
    rig.remoteControl.peerDrops();
    rig.advance(20000);
    EXPECT_EQ(sent.size(), 3u);  // stopped for good until the next Connect
    rig->Connect.push();
    rig.advance(5000);
    EXPECT_EQ(sent.size(), 4u);

    // The scan: the first datagram fills the host, and the socket closes.
    rig->prefsWindow.scanButton.push();
    EXPECT_TRUE(rig.advertising.isConnected());
    EXPECT_EQ(rig.advertising.port, 37846);
    rig.advertising.receive({QStringLiteral("127.0.0.5"), 37846, QByteArray("127.0.0.5")});
    rig.advertising.receive({QStringLiteral("127.0.0.6"), 37846, QByteArray("127.0.0.6")});
    rig.advance(1);
    EXPECT_EQ(rig->prefsWindow.remoteHost.text(), QStringLiteral("127.0.0.5"));
    EXPECT_FALSE(rig.advertising.isConnected());
}
