// The control session: Connect in each mode, the poll, the stop buttons and the run clock.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

TEST(Session, SoloConnectOpensThePortWakesTheLineAndPollsEvery2500ms) {
    Rig rig;
    rig.open();
    rig->Connect.push();
    EXPECT_EQ(rig.serial.portName(), QStringLiteral("/dev/tty.usbserial"));
    EXPECT_EQ(rig.serial.writes.at(0).baud, 9600);
    EXPECT_EQ(rig.serial.xmitWaits, 1);

    // The poll bypasses the gate: no lastCommand, the clock is left alone.
    rig.advance(10000);
    std::vector<qint64> times;
    for (const auto& write : rig.serial.writes) times.push_back(write.timeMs);
    EXPECT_EQ(rig.commandsSince(0), QStringList({"", "V", "V", "V", "V"}));
    EXPECT_EQ(times, (std::vector<qint64>{0, 2500, 5000, 7500, 10000}));
    EXPECT_TRUE(rig->lastCommand.isEmpty());

    // Connect again: the port is closed and reopened, the high-rate flag cleared.
    rig->highSpeedEnabled = true;
    rig->Connect.push();
    EXPECT_EQ(rig.serial.opens, 2);
    EXPECT_EQ(rig.serial.closes, 1);
    EXPECT_FALSE(rig->highSpeedEnabled);
}

TEST(Session, MasterConnectsToItsPeerAndNeverPollsAndSoloEndsAPeerLink) {
    Rig rig;
    rig.settings(QStringLiteral("mode=master\nhost=127.0.0.2\nport=7850\n"));
    rig.open();
    rig->advancedRemote = true;
    rig->Connect.push();
    EXPECT_FALSE(rig->advancedRemote || rig->watchDog.enabled());
    EXPECT_EQ(rig.serial.opens, 0);
    EXPECT_EQ(rig.remoteControl.address + ':' + QString::number(rig.remoteControl.port),
              QStringLiteral("127.0.0.2:7850"));

    // Commands go to the peer with CR LF, after its greeting; Solo ends the link.
    rig.peerJoins(rig.remoteControl);
    rig->sendStimData(QStringLiteral("A10"));
    EXPECT_EQ(rig.remoteControl.sent, QByteArray(";STATUS:type=QTR,25\r\nA10\r\n"));
    rig->systemMode = QStringLiteral("Solo");
    rig->Connect.push();
    EXPECT_FALSE(rig.remoteControl.isConnected());
}

TEST(Session, StopHaltAndDefault) {
    Rig rig;
    rig.connect();
    size_t mark = rig.mark();
    rig->Reset.push();
    EXPECT_EQ(rig.commandsSince(mark), QStringList{"E"});

    // STOP: "K" at once, then playbackStop's two 200 ms apart while the window is shown.
    for (const bool shown : {true, false}) {
        rig->window.setVisible(shown);
        rig->overrideTimeout = true;
        mark = rig.mark();
        const qint64 t0 = rig.clock.nowMs();
        rig->allStop.push();
        EXPECT_FALSE(rig->overrideTimeout);
        rig.advance(1000);
        EXPECT_EQ(sentSince(rig, mark, t0), timed(shown ? "0 K, 200 K, 400 K" : "0 K"));
    }

    // Halt stops the timers and leaves the outputs alone.
    rig->rampTimer.setMode(Timer::Multiple);
    mark = rig.mark();
    rig->halt.push();
    EXPECT_EQ(rig->rampTimer.mode(), Timer::Off);
    EXPECT_EQ(rig.mark(), mark);
}

TEST(Session, TheRunClockCountsWhileALevelIsOn) {
    Rig rig;
    rig.connect();
    rig.box().setLevelA(20);
    rig.advance(2500);  // the poll brings A 20: manual control starts the clock
    rig->elapsedTimer.reset();
    QStringList shown;
    for (const int before : {58, 59, 60, 179}) {
        rig->elapsedTime = before;
        rig.advance(1000);
        shown << rig->tickCounter.text();
    }
    EXPECT_EQ(shown, QStringList({"59s", "60s", "1m1", "3m0"}));

    // Both levels at 0: "OFF", and the count stops.
    rig.box().setLevelA(0);
    rig.advance(2500);
    rig->elapsedTime = 7;
    rig->elapsedTimer_Action();
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("OFF"));
    EXPECT_EQ(rig->elapsedTime, 7);
}
