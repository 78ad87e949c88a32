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
    using M = const MainApp&;
    const struct {
        const char* line;
        std::function<bool(M)> holds;
    } cases[] = {
        {";CHECKS=OFF", [](M m) { return !m.remoteChecks; }},
        {";CHECKS", [](M m) { return m.remoteChecks; }},
        {";checks=false", [](M m) { return !m.remoteChecks; }},
        {";CHECKS=NO", [](M m) { return m.remoteChecks; }},
        {";TIMEOUT=ABC", [](M m) { return m.slaveTimeout == 0; }},
        {";TIMEOUT", [](M m) { return m.slaveTimeout == 600; }},
        {";DELAYFIRST=ON", [](M m) { return m.delayFirst.value(); }},
        {";DELAYFIRST=", [](M m) { return !m.delayFirst.value(); }},
        {";DELAYFIRST=2.5", [](M m) { return m.delayFirst.value() && m.firstDelay.text() == "2.5"; }},
        {";RANDOMDELAY=5,5", [](M m) { return m.delayBetween.value() && m.minDelay.text() == "5"; }},
        {";RANDOMDELAY=6,5", [](M m) { return !m.delayBetween.value() && m.maxDelay.text() == "5"; }},
        {";RANDOMDELAY=TRUE", [](M m) { return m.delayBetween.value(); }},
        {";RANDOMDELAY=6", [](M m) { return !m.delayBetween.value(); }},
        {";RANDOMRUN=10,20", [](M m) { return m.randomTimes.value() && m.maxRun.text() == "20"; }},
        {";RANDOMRUN=OFF", [](M m) { return !m.randomTimes.value(); }},
        {";RANDOMPOWER=ON", [](M m) { return m.randomPower.value(); }},
        {";RANDOMPOWER=5", [](M m) { return !m.randomPower.value(); }},
        {";LOOPBOOST=3,1", [](M m) { return m.loopPower.value() && m.loopBoostA.text() == "3"; }},
        {";LOOPBOOST=1,2,3", [](M m) { return !m.loopPower.value(); }},
        {";LOOPTIMEOUT=15", [](M m) { return m.loopTimeout.value() && m.loopRuntime.text() == "15"; }},
        {";LOOPTIMEOUT=0", [](M m) { return m.loopTimeout.value() && m.loopRuntime.text() == "15"; }},
        {";LOOPTIMEOUT=", [](M m) { return !m.loopTimeout.value(); }},
    };
    for (const auto& c : cases) {
        s.send(c.line);
        EXPECT_TRUE(c.holds(*s)) << c.line;
    }
    EXPECT_TRUE(s.extendedLines().isEmpty());  // none of them answers
}

TEST(ExtendedCommands, GotoQueuesSettingsAndTheFirstTenthAndRampsAtItsPace) {
    Slave s;
    const std::pair<const char*, qint64> gotos[] = {
        {";GOTO=50,40,50,50", 3000}, {";GOTO=50,40,50,50,30", 3000}, {";GOTO=50,40,50,50,31", 3100}};
    for (const auto& [line, period] : gotos) {
        s.send(line);
        EXPECT_EQ(s->rampTimer.period(), period) << line;
    }
    const size_t mark = s.mark();
    s.send(";GOTO=55,40,60,70,45,6,h", 0);
    EXPECT_TRUE(s->continueAfterPlayback);
    EXPECT_FALSE(s->manualControl);
    EXPECT_EQ(s->cmdSequence, QStringList({"C60", "D70", "A6", "B4", "M6", "H"}));
    s.advance(1300);  // taken from the tail
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
    EXPECT_EQ(s.extendedLines().value(0), ";STATUS:percent=WAIT");
    // Clamped to the range: five steps each way (the move itself is the panel's).
    EXPECT_EQ(QList<qint64>({s->moveSteps, s->directionA, s->directionB}), QList<qint64>({5, 1, -1}));

    s->autoAdjust = false;
    s.remoteControl.sent.clear();
    s.send(";MOVE=0,100,10");
    EXPECT_EQ(s.extendedLines(),
              QStringList({";STATUS:percent=WAIT", ";ERROR:1=Too many steps, or time period too short"}));
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
    const std::pair<const char*, qint64> plays[] = {{";PLAY=60,10,50,50,10,120,30,2,H", 6000},
                                                    {";PLAY=50,50,50,50,10,120,30,2,H", 3000},
                                                    {";PLAY=40,40,50,50,45,120,30,2,L", 4500}};
    for (const auto& [line, period] : plays) {
        s.send(line);
        EXPECT_EQ(s->rampTimer.period(), period) << line;
        EXPECT_EQ(s->sequenceTicks, 120);
        EXPECT_EQ(s->tickCounter.text(), "RISE");
        EXPECT_FALSE(s->continueAfterPlayback);
    }
    EXPECT_EQ(s->cmdSequence, QStringList({"A4", "B4", "C50", "D50", "M2", "L"}));
    s.advance(20000);
    EXPECT_GT(s.box().levelA(), 0);

    // STOPSEQ sends "K" and pushes the stop of playback, which sends two more.
    size_t mark = s.mark();
    s.send(";STOPSEQ", 600);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"K", "K", "K"}));
    s.send(";PLAYRANDOM");
    EXPECT_EQ(s->randomStatus.text(), "Complete");  // nothing marked: over at once
    s.send(";PLAYLOOP");
    EXPECT_TRUE(s.logLines().contains("Random: starting loop"));
    s.send(";STOPSEQ", 600);

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
    for (const char* name : {"One", "Two", "Three", "Four", "Five"}) s.addFavourite(name);
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
    EXPECT_EQ(s->msgWindow.messageBox.text(), "\rA=B");

    s.send(";SAVE");
    EXPECT_EQ(s->favsList.listCount(), 6);
    EXPECT_TRUE(s->favsList.cell(5, 0).startsWith("R-"));
}

TEST(StatusCommands, GetStatusAnswersItsTwentyEightLines) {
    Slave s;
    s->delayFirst.setValue(true);
    s->firstDelay.setText("3");
    s.send(";getstatus");
    const QStringList lines = s.extendedLines();
    ASSERT_EQ(lines.size(), 28);
    const std::pair<int, const char*> expected[] = {
        {0, ";STATUS:delayfirst=true"}, {1, ";STATUS:delayvalue=3"},    {14, ";STATUS:checks=true"},
        {16, ";STATUS:timeout=600"},    {21, ";STATUS:percent=DONE"},   {24, ";STATUS:version=2.6.1"},
        {25, ";STATUS:buildno=25"},     {26, ";STATUS:type=QTR,25"},    {27, ";STATUS:connection=tcp"}};
    for (const auto& [i, line] : expected) EXPECT_EQ(lines[i], line);

    // During a ramp the percent line reads the ramp's step.
    s.send(";GOTO=50,50,50,50,40");
    s.advance(4000 * 3 + 100);
    s.remoteControl.sent.clear();
    s.send(";GETSTATUS");
    EXPECT_EQ(s.extendedLines().value(21), ";STATUS:percent=40");
}

TEST(StatusCommands, ProgressSystemAndGetFavs) {
    Slave s;
    s.send(";PROGRESS");
    EXPECT_EQ(s.extendedLines().last(), ";PROGRESS:100,0,sequence");  // rampStep starts at 10
    s->seqComplete = true;
    s->rampStep = 1;
    s.send(";PROGRESS");
    EXPECT_EQ(s.extendedLines().last(), ";PROGRESS:10,0,done");
    s->randomPlay = s->loopMode = true;
    s.send(";PROGRESS");
    EXPECT_EQ(s.extendedLines().last(), ";PROGRESS:10,0,loop");

    s.send(";SYSTEM");
    EXPECT_EQ(s.extendedLines().last(), ";STATUS:type=QTR,25");
    EXPECT_TRUE(s.logLines().contains("Entered system sub"));  // though the log is off

    s.send(";GETFAVS");
    EXPECT_EQ(s.extendedLines().last(), ";NODATA");
    s.addFavourite("Slow, wave");
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
    s.peerJoins(s.remoteControl);
    s.send("GET /;GETSTATUS HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    // This first client came while the slave was in TCP mode: its greeting stands before the head.
    const QString answer = QString::fromUtf8(s.remoteControl.sent);
    EXPECT_TRUE(answer.startsWith(";STATUS:type=QTR,25\r\nHTTP/1.0 200 OK\r\nAccess-Control-Allow-Origin: *\r\n"
                                  "Connection: close\r\nContent-Type: text/plain\r\n\r\n;STATUS:delayfirst="));
    EXPECT_TRUE(answer.endsWith(";STATUS:connection=http\r\n"));
    EXPECT_FALSE(s.remoteControl.isConnected());
    EXPECT_TRUE(s.remoteControl.isListening());
    // A slave idle since start-up starts its time-out with a request, like any line.
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Single);

    // SYSTEM has no head.
    s.peerJoins(s.remoteControl);
    s.remoteControl.sent.clear();
    s.send("GET /;SYSTEM HTTP/1.1\r\n\r\n");
    EXPECT_EQ(s.remoteControl.sent, ";STATUS:type=QTR,25\r\n");
    EXPECT_FALSE(s.remoteControl.isConnected());
    // PROGRESS goes out bare, and the next device reply, behind a head, closes the exchange.
    s.peerJoins(s.remoteControl);
    s.remoteControl.sent.clear();
    s.send("GET /;PROGRESS HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(s.remoteControl.isConnected());
    s.advance(2600);
    const QString progress = QString::fromUtf8(s.remoteControl.sent);
    EXPECT_TRUE(progress.startsWith(";PROGRESS:"));
    EXPECT_TRUE(progress.contains("\r\nHTTP/1.0 200 OK\r\n")) << progress.toStdString();
    EXPECT_FALSE(s.remoteControl.isConnected());
}

TEST(Discovery, ASlaveAdvertisesUntilTheFirstPeerAndAScanHearsTheFirstSlave) {
    Rig rig;
    rig.settings("mode=slave\n");
    rig.connect();
    rig.advance(15000);
    const auto& sent = rig.udp.record->sent;
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(rig.udp.record->socketsMade, 3);  // a fresh socket per advertisement
    EXPECT_EQ(sent[0].timeMs, 5000);
    EXPECT_EQ(sent[0].address, "127.255.255.255");
    EXPECT_EQ(sent[0].fromPort, 37846);
    EXPECT_EQ(sent[0].data, "127.0.0.1");

    rig.peerJoins(rig.remoteControl);
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
    rig.advertising.receive({"127.0.0.5", 37846, "127.0.0.5"});
    rig.advertising.receive({"127.0.0.6", 37846, "127.0.0.6"});
    rig.advance(1);
    EXPECT_EQ(rig->prefsWindow.remoteHost.text(), "127.0.0.5");
    EXPECT_FALSE(rig.advertising.isConnected());
}
