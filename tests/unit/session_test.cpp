// The control session: Connect in each mode, the poll, the stop buttons and the run clock.

#include <gtest/gtest.h>

#include <QRegularExpression>

#include "support/rig.h"

using namespace velto;

namespace {

/// The serial writes from the `from`-th on, each with its time since `t0`: "K@200".
QStringList timed(const Rig& rig, size_t from, qint64 t0 = 0) {
    QStringList out;
    for (size_t i = from; i < rig.serial.writes.size(); ++i)
        out << QString::fromLatin1(rig.serial.writes[i].bytes).trimmed() + QLatin1Char('@') +
                   QString::number(rig.serial.writes[i].timeMs - t0);
    return out;
}

}  // namespace

TEST(Session, SoloConnectOpensThePortWakesTheLineAndPollsEvery2500ms) {
    Rig rig;
    rig.open();
    rig->Connect.push();
    EXPECT_TRUE(rig.serial.isOpen());
    EXPECT_EQ(rig.serial.portName(), QStringLiteral("/dev/tty.usbserial"));
    ASSERT_FALSE(rig.serial.writes.empty());
    EXPECT_EQ(rig.serial.writes[0].baud, 9600);
    EXPECT_EQ(rig.serial.xmitWaits, 1);
    EXPECT_TRUE(rig->watchDog.enabled());
    EXPECT_EQ(rig.remoteControl.listens + rig.remoteControl.connects, 0);

    // The poll bypasses the gate: no lastCommand, the clock is left alone.
    rig.advance(10000);
    EXPECT_EQ(timed(rig, 0), QStringList({"@0", "V@2500", "V@5000", "V@7500", "V@10000"}));
    EXPECT_TRUE(rig->lastCommand.isEmpty());
    EXPECT_EQ(rig->veltoStatus.text(), QString::fromLatin1(rig.box().statusLine()));
    EXPECT_EQ(rig->batteryLabel.text() + rig->firmwareLabel.text(),
              QStringLiteral("Battery 90%Firmware 2.106"));

    // Connect again: the port is closed and reopened, the high-rate flag cleared, nothing else.
    rig->highSpeedEnabled = true;
    rig->Connect.push();
    EXPECT_EQ(rig.serial.opens, 2);
    EXPECT_EQ(rig.serial.closes, 1);
    EXPECT_FALSE(rig->highSpeedEnabled);
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());
}

TEST(Session, APortThatWillNotOpenShowsAMessageAndASlaveStillListens) {
    Rig rig;
    rig.settings(QStringLiteral("serial=/dev/nothing-here\nmode=slave\nport=7999\nhttp=true\n"));
    rig.open();
    rig->_activityToggle_Action();
    rig->Connect.push();
    EXPECT_EQ(rig.dialogs.messages, QStringList{"Unable to connect"});
    EXPECT_FALSE(rig->watchDog.enabled());
    EXPECT_TRUE(rig.remoteControl.isListening());
    EXPECT_EQ(rig.remoteControl.port, 7999);
    EXPECT_EQ(rig->adtimer.period(), 5000);
    EXPECT_EQ(rig->adtimer.mode(), Timer::Multiple);
    EXPECT_TRUE(rig->httpResponse);
    EXPECT_EQ(rig.logLines().last(), QStringLiteral("Address: 127.0.0.1 (HTTP mode)"));
}

TEST(Session, MasterConnectsToItsPeerAndNeverPolls) {
    Rig rig;
    rig.settings(QStringLiteral("mode=master\nhost=127.0.0.2\nport=7850\n"));
    rig.open();
    rig->advancedRemote = true;
    rig->Connect.push();
    EXPECT_FALSE(rig->advancedRemote || rig->watchDog.enabled());
    EXPECT_EQ(rig.serial.opens, 0);
    EXPECT_EQ(rig.remoteControl.connects, 1);
    EXPECT_EQ(rig.remoteControl.address + ':' + QString::number(rig.remoteControl.port),
              QStringLiteral("127.0.0.2:7850"));

    // A watchDog left on from a solo session fires, and its handler does nothing in master.
    rig->watchDog.setEnabled(true);
    rig.advance(5000);
    EXPECT_TRUE(rig.serial.writes.empty());

    // With no peer, commands are dropped silently, the clock zeroed all the same; with a peer
    // they go to it with CR LF, after its greeting.
    rig->elapsedTime = 9;
    rig->sendStimData(QStringLiteral("A10"));
    EXPECT_EQ(rig->elapsedTime, 0);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    rig.peerJoins(rig.remoteControl);
    rig->sendStimData(QStringLiteral("A10"));
    EXPECT_EQ(rig.remoteControl.sent, QByteArray(";STATUS:type=QTR,25\r\nA10\r\n"));
    EXPECT_GE(rig.remoteControl.flushes, 1);
}

TEST(Session, BrokerAndSoloBranchesOfConnect) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\nusebroker=true\n"));
    rig.open();
    rig->_activityToggle_Action();
    rig.peerJoins(rig.brokerSocket);
    rig->brokerConnected = true;
    rig->hostInfo.setText(QStringLiteral("Connection from somebody"));
    rig->Connect.push();
    EXPECT_EQ(rig.brokerSocket.disconnects, 1);
    EXPECT_FALSE(rig->brokerConnected);
    EXPECT_TRUE(rig->hostInfo.text().isEmpty());
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Connecting to broker")));

    // Solo ends an open peer link.
    rig->systemMode = QStringLiteral("Solo");
    rig.peerJoins(rig.remoteControl);
    rig->Connect.push();
    EXPECT_FALSE(rig.remoteControl.isConnected());
}

TEST(Session, StopHaltAndDefault) {
    Rig rig;
    rig.connect();
    size_t mark = rig.mark();
    rig->Reset.push();
    EXPECT_EQ(rig.commandsSince(mark), QStringList{"E"});

    // STOP with the window shown: "K" at once, then playbackStop's two "K" 200 ms apart.
    const QRegularExpression noPolls(QStringLiteral("^[^V]"));
    rig->overrideTimeout = true;
    rig->cmdSequence = {QStringLiteral("A5")};
    mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    rig->allStop.push();
    EXPECT_FALSE(rig->overrideTimeout);
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("STOP"));
    rig.advance(1000);
    EXPECT_EQ(timed(rig, mark, t0).filter(noPolls), QStringList({"K@0", "K@200", "K@400"}));
    EXPECT_EQ(rig->seqTimer.mode(), Timer::Off);  // ran dry and stopped

    // With the window hidden STOP still sends "K" but does not push playbackStop.
    rig->window.setVisible(false);
    rig->tickCounter.setText({});
    mark = rig.mark();
    rig->allStop.push();
    rig.advance(1000);
    EXPECT_EQ(timed(rig, mark).filter(noPolls).size(), 1);
    EXPECT_TRUE(rig->tickCounter.text().isEmpty());

    // Halt stops the timers and leaves the outputs alone; rampDown is not its business.
    rig->rampDown.setMode(Timer::Multiple);
    rig->rampTimer.setMode(Timer::Multiple);
    rig->cmdSequence = {QStringLiteral("A1")};
    mark = rig.mark();
    rig->halt.push();
    EXPECT_EQ(rig->rampTimer.mode(), Timer::Off);
    EXPECT_EQ(rig->rampDown.mode(), Timer::Multiple);
    EXPECT_TRUE(rig->cmdSequence.isEmpty());
    EXPECT_EQ(rig.mark(), mark);
}

TEST(Session, TheRunClockCountsWhileALevelIsOn) {
    Rig rig;
    rig.connect();
    rig.box().setLevelA(20);
    rig.advance(2500);  // the poll brings A 20: manual control starts the clock
    EXPECT_EQ(rig->elapsedTimer.mode(), Timer::Multiple);
    rig->elapsedTime = 58;
    rig->elapsedTimer.reset();
    QStringList shown;
    for (int i = 0; i < 3; ++i) {
        rig.advance(1000);
        shown << rig->tickCounter.text();
    }
    rig->elapsedTime = 124;
    rig->elapsedTimer_Action();
    EXPECT_EQ(shown << rig->tickCounter.text(), QStringList({"59s", "60s", "1m1", "2m5"}));

    // Both levels at 0: "OFF", and the count stops though the timer runs on.
    rig.box().setLevelA(0);
    rig.advance(2500);
    rig->elapsedTime = 7;
    rig->elapsedTimer_Action();
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("OFF"));
    EXPECT_EQ(rig->elapsedTime, 7);
    EXPECT_EQ(rig->elapsedTimer.mode(), Timer::Multiple);

    // A click on the clock: a message, and three timers stopped for good.
    rig->seqTimer.setMode(Timer::Multiple);
    rig->loopTimer.setMode(Timer::Single);
    EXPECT_FALSE(rig->tickCounter_MouseDown());
    EXPECT_EQ(rig.dialogs.messages.last(), QStringLiteral("Clicky click"));
    EXPECT_EQ(rig->seqTimer.mode(), Timer::Off);
    EXPECT_EQ(rig->loopTimer.mode(), Timer::Off);
    rig->systemMode = QStringLiteral("slave");
    rig->Event_Activate();
    EXPECT_EQ(rig->modeLabel.text(), QStringLiteral("Mode: slave"));
}
