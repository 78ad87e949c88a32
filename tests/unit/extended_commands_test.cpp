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
    // Each line, and the settings it leaves as ";GETSTATUS" reads them back.
    const std::pair<const char*, const char*> cases[] = {
        {";CHECKS=OFF", "checks=false"},
        {";CHECKS=NO", "checks=true"},  // only an off word is off
        {";TIMEOUT", "timeout=600"},
        {";DELAYFIRST=2.5", "delayfirst=true|delayvalue=2.5"},
        {";DELAYFIRST=", "delayfirst=false"},
        {";RANDOMDELAY=5,5", "delaybetween=true|mindelay=5"},
        {";RANDOMDELAY=6,5", "delaybetween=false|maxdelay=5"},
        {";RANDOMDELAY=TRUE", "delaybetween=true"},  // an on word
        {";RANDOMRUN=10,20", "randomtimes=true|maxrun=20"},
        {";LOOPBOOST=3,1", "looppower=true|loopboosta=3"},
        {";LOOPBOOST=1,2,3", "looppower=false"},
        {";LOOPTIMEOUT=15", "looptimeout=true|loopruntime=15"},
        {";LOOPTIMEOUT=0", "looptimeout=true|loopruntime=15"},
        {";LOOPTIMEOUT=", "looptimeout=false"},
    };
    for (const auto& [line, settings] : cases) {
        s.send(line);
        EXPECT_TRUE(s.extendedLines().isEmpty()) << line;  // none of them answers
        s.send(";GETSTATUS");
        const QStringList status = s.extendedLines();
        for (const QString& setting : QString::fromLatin1(settings).split(u'|'))
            EXPECT_TRUE(status.contains(";STATUS:" + setting)) << line << setting.toStdString();
        s.remoteControl.sent.clear();
    }
}

TEST(ExtendedCommands, GotoQueuesSettingsAndTheFirstTenthAndRampsAtItsPace) {
    Slave s;
    s.send(";GOTO=50,40,50,50,31");
    EXPECT_EQ(s->rampTimer.period(), 3100);
    const size_t mark = s.mark();
    s.send(";GOTO=55,40,60,70,45,6,h", 0);
    EXPECT_EQ(s->cmdSequence, QStringList({"C60", "D70", "A6", "B4", "M6", "H"}));
    s.advance(1300);  // taken from the tail
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"H", "M6", "B4", "A6", "D70", "C60"}));
    s.advance(45000);
    EXPECT_EQ(s.box().levelA(), 55);
    EXPECT_EQ(s->rampTimer.mode(), Timer::Off);
    EXPECT_TRUE(s->manualControl);
    // Six items leave the mode alone; an empty value does nothing at all.
    s.send(";GOTO=10,10,50,50,30,3", 0);
    EXPECT_EQ(s->cmdSequence.size(), 4);
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
    s->autoAdjust = false;
    s.send(";MOVE=+10,-10,20");
    // Clamped to the range: five steps each way (the move itself is the panel's).
    EXPECT_EQ(QList<qint64>({s->moveSteps, s->directionA, s->directionB}),
              QList<qint64>({5, 1, -1}));
    s.send(";MOVE=0,100,10");
    EXPECT_EQ(s.extendedLines(),
              QStringList({";STATUS:percent=WAIT", ";STATUS:percent=WAIT",
                           ";ERROR:1=Too many steps, or time period too short"}));
    // A wrong count does nothing, not even resetAll.
    s->rampTimer.setMode(Timer::Multiple);
    s.send(";MOVE=1,2");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Multiple);
}

TEST(ExtendedCommands, PlayStopAndTheStepCommands) {
    Slave s;
    s->rampTimer.setMode(Timer::Multiple);
    s.send(";PLAY=1,2,3");
    EXPECT_EQ(s->rampTimer.mode(), Timer::Multiple);  // wrong count: not even resetAll
    s.send(";PLAY=40,40,50,50,45,120,30,2,L");
    EXPECT_EQ(s->rampTimer.period(), 4500);
    EXPECT_EQ(s->sequenceTicks, 120);
    EXPECT_EQ(s->tickCounter.text(), "RISE");
    EXPECT_EQ(s->cmdSequence, QStringList({"A4", "B4", "C50", "D50", "M2", "L"}));
    // STOPSEQ sends "K" and pushes the stop of playback, which sends two more.
    size_t mark = s.mark();
    s.send(";STOPSEQ", 600);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"K", "K", "K"}));
    s.send(";PLAYLOOP");
    EXPECT_TRUE(s.logLines().contains("Random: starting loop"));
    s.send(";STOPSEQ", 600);
    // UP: two steps 500 ms apart; only the second reply reaches the peer.
    s.box().setLevelA(10);
    s.box().setLevelB(10);
    s.advance(2600);
    s.remoteControl.sent.clear();
    mark = s.mark();
    s.send(";UP", 0);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"A11", "B11"}));
    s.advance(50);
    EXPECT_EQ(s.peerLines(), QStringList{QString::fromLatin1(s.box().statusLine())});
}

TEST(ExtendedCommands, StepsSequenceMarksMessagesAndSave) {
    Slave s;
    for (const char* name : {"One", "Two", "Three"}) addFav(s, {.name = name});
    const size_t mark = s.mark();
    // A row past the end does nothing; -1 passes the count test and fails at the list's bounds.
    for (const char* line : {";APLUS", ";BPLUS", ";CPLUS", ";DMINUS", ";SEQUNSET=1", ";SEQUNSET=2",
                             ";SEQSET=1", ";SEQSET=3", ";SEQSET=-1"})
        s.send(line, 50);
    EXPECT_EQ(s.commandsAfter(mark), QStringList({"A1", "B1", "C51", "D49"}));
    EXPECT_EQ(QList<bool>({s->favsList.cellCheck(1, 4), s->favsList.cellCheck(2, 4)}),
              QList<bool>({true, false}));
    EXPECT_EQ(s.boundary.reports().size(), 1);
    s.send(";CLEARSEQ");
    EXPECT_FALSE(s->favsList.cellCheck(1, 4));
    s.send(";MSG=A=B");
    EXPECT_TRUE(s->msgWindow.window.visible());
    EXPECT_EQ(s->msgWindow.messageBox.text(), "\rA=B");
    s.send(";SAVE");
    EXPECT_TRUE(s->favsList.cell(3, 0).startsWith("R-"));
}

TEST(StatusCommands, GetStatusProgressSystemAndGetFavs) {
    Slave s;
    s->firstDelay.setText("3");
    s.send(";getstatus");
    const QStringList lines = s.extendedLines();
    ASSERT_EQ(lines.size(), 28);
    const std::pair<int, const char*> expected[] = {
        {0, ";STATUS:delayfirst=false"}, {1, ";STATUS:delayvalue=3"},  {14, ";STATUS:checks=true"},
        {16, ";STATUS:timeout=600"},     {21, ";STATUS:percent=DONE"}, {26, ";STATUS:type=QTR,25"},
        {27, ";STATUS:connection=tcp"}};
    for (const auto& [i, line] : expected) EXPECT_EQ(lines[i], line);
    // During a ramp the percent line reads the ramp's step.
    s.send(";GOTO=50,50,50,50,40");
    s.advance(4000 * 3 + 100);
    s.remoteControl.sent.clear();
    s.send(";GETSTATUS");
    EXPECT_EQ(s.extendedLines().value(21), ";STATUS:percent=40");
    s.remoteControl.sent.clear();
    s.send(";PROGRESS");
    s->seqComplete = true;
    s->rampTimer.setMode(Timer::Off);
    s.send(";PROGRESS");
    s->randomPlay = s->loopMode = true;
    s.send(";PROGRESS");
    s.send(";SYSTEM");
    s.send(";GETFAVS");
    addFav(s, {.name = "Slow, wave"});
    s->favsList.setCellState(0, 4, 0);
    s.send(";GETFAVS");
    EXPECT_EQ(s.extendedLines(),
              QStringList({";PROGRESS:40,0,sequence", ";PROGRESS:40,0,done", ";PROGRESS:40,0,loop",
                           ";STATUS:type=QTR,25", ";NODATA",
                           ";FAV:Slow, wave,30,180,10,0,Pulse,40,20,50,60,L"}));
    EXPECT_TRUE(s.logLines().contains("Entered system sub"));  // though the log is off
}

TEST(HttpMode, TheAnswerEndsTheExchangeAndTheSlaveListensAgain) {
    const QByteArray head =
        "HTTP/1.0 200 OK\r\nAccess-Control-Allow-Origin: *\r\nConnection: close\r\n"
        "Content-Type: text/plain\r\n\r\n";
    Slave s;
    s.remoteControl.peerDrops();
    s.advance(1);
    s.peerJoins(s.remoteControl);
    s.send("GET /;GETSTATUS HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    // This first client came while the slave was in TCP mode: its greeting stands before the head.
    EXPECT_TRUE(s.remoteControl.sent.startsWith(
        QByteArray(";STATUS:type=QTR,25\r\n" + head + ";STATUS:delayfirst=")));
    EXPECT_TRUE(s.remoteControl.sent.endsWith(";STATUS:connection=http\r\n"));
    EXPECT_TRUE(s.remoteControl.isListening());
    // A slave idle since start-up starts its time-out with a request, like any line.
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Single);
    // SYSTEM has no head. PROGRESS goes out bare, and the next device reply, behind a head,
    // closes the exchange.
    s.remoteControl.sent.clear();
    for (const char* request :
         {"GET /;SYSTEM HTTP/1.1\r\n\r\n", "GET /;PROGRESS HTTP/1.1\r\n\r\n"}) {
        s.peerJoins(s.remoteControl);
        s.send(request);
    }
    EXPECT_TRUE(s.remoteControl.isConnected());
    s.advance(2600);
    EXPECT_EQ(QString::fromLatin1(s.remoteControl.sent),
              QString::fromLatin1(";STATUS:type=QTR,25\r\n;PROGRESS:10,0,sequence\r\n" + head +
                                  s.box().statusLine() + "\r\n"));
    EXPECT_FALSE(s.remoteControl.isConnected());
}

TEST(Discovery, ASlaveAdvertisesEveryFiveSecondsUntilTheFirstPeer) {
    Rig rig;
    rig.settings("mode=slave\n");
    rig.connect();
    rig.advance(15000);
    const auto& sent = rig.udp.record->sent;
    ASSERT_EQ(sent.size(), 3u);
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
}
