// Status decoding: how one status line of the box moves the window, and where it is relayed.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

void deliver(Rig& rig, const char* line) { rig.serial.deliver(QByteArray(line) + '\n'); }

QList<int> levels(Rig& rig) {
    return {rig->channelA.value(), rig->channelB.value(), rig->channelC.value(),
            rig->channelD.value()};
}

// A peer connects; what the connection itself says to it is not the decoder's.
void peerArrives(Rig& rig, FakeTcpSocket& socket) {
    rig.peerJoins(socket);
    socket.sent.clear();
}

}  // namespace

TEST(StatusDecoding, BatteryLevelsAndTheClockZeroedByAnyLevelChange) {
    Rig rig;
    rig.connectLogging();
    const size_t mark = rig.mark();
    // The battery is a percentage of 320 to 742, not clamped.
    for (const auto& [line, battery] : std::vector<std::pair<const char*, const char*>>{
             {"531:0:0:100:100:0:L:0:2.106", "Battery 50%"},
             {"300:0:0:100:100:0:L:0:2.106", "Battery -5%"},
             {"800:0:0:100:100:0:L:0:2.106", "Battery 114%"},
             {"711:0:0:100:100:0:L:0:2.106", "Battery 93%"}}) {  // 92.65: both ends pinned
        deliver(rig, line);
        EXPECT_EQ(rig->batteryLabel.text(), battery);
        EXPECT_EQ(rig->veltoStatus.text(), line);
    }
    // Levels are halved; an odd half step is cut on the slider, but the change test still sees
    // 50.5 against 50, so the clock is zeroed at every such reply.
    for (int i = 0; i < 2; ++i) {
        rig->elapsedTime = 30;
        deliver(rig, "700:101:40:30:20:0:L:0:2.106");
        EXPECT_EQ(rig->elapsedTime, 0);
    }
    EXPECT_EQ(levels(rig), (QList<int>{50, 20, 15, 10}));
    EXPECT_EQ(rig->settingA.text() + rig->settingB.text() + rig->settingC.text() +
                  rig->settingD.text(), "50201510");
    deliver(rig, "700:100:40:30:20:0:L:0:2.106");
    const std::pair<const char*, bool> cases[] = {
        {"700:100:40:30:20:0:L:0:2.106", false},  // nothing differs
        {"600:100:40:30:20:0:H:0:2.106", false},  // battery and power are no level change
        {"700:100:42:30:20:0:L:0:2.106", true},   {"700:100:40:32:20:0:L:0:2.106", true},
        {"700:100:40:30:22:0:L:0:2.106", true},   // D in a mode with a setting D
        {"700:100:40:30:22:2:L:0:2.106", false},  // D in the modes where it means nothing
        {"700:100:40:30:22:9:L:0:2.106", false},  {"700:100:40:30:22:10:L:0:2.106", false},
    };
    for (const auto& [line, zeroed] : cases) {
        rig->elapsedTime = 30;
        deliver(rig, line);
        EXPECT_EQ(rig->elapsedTime, zeroed ? 0 : 30) << line;
        deliver(rig, "700:100:40:30:20:0:L:0:2.106");
        ASSERT_EQ(levels(rig), (QList<int>{50, 20, 15, 10}));
    }
    deliver(rig, "700:250:40:0:2:0:L:0:2.106");  // beyond a slider's range: clipped
    EXPECT_EQ(levels(rig), (QList<int>{100, 20, 2, 2}));
    EXPECT_EQ(rig.commandsAfter(mark), QStringList{});  // followed the device, said nothing
}

TEST(StatusDecoding, PowerLetterPicksOneRadioButtonAndAnUnknownLetterChangesNothing) {
    Rig rig;
    rig.connectLogging(QStringLiteral("2.119"));
    const size_t mark = rig.mark();
    // Letters compare without case; an unknown or missing one leaves the buttons as they were.
    for (const auto& [letter, hiLoDynamic] : std::vector<std::pair<QString, const char*>>{
             {"H", "100"}, {"D", "001"}, {"L", "010"}, {"h", "100"}, {"X", "100"}, {"", "100"}}) {
        deliver(rig, qPrintable(QStringLiteral("700:0:0:100:100:0:%1:0:2.119").arg(letter)));
        EXPECT_EQ(QStringLiteral("%1%2%3").arg(int(rig->powerHi.value()))
                      .arg(int(rig->powerLo.value())).arg(int(rig->powerDynamic.value())),
                  hiLoDynamic) << qPrintable(letter);
    }
    // The radio buttons' handlers ran under systemRefresh: no power command went out.
    EXPECT_EQ(rig.commandsAfter(mark), QStringList{});
}

TEST(StatusDecoding, FirmwareFieldSetsTheVersionTheLabelAndDynamicPower) {
    const struct {
        const char* firmware;
        qint64 version;
        const char* label;
    } cases[] = {
        {"2.000B", 2104, "Firmware 2.000B \u00df"}, {"2.000b", 2104, "Firmware 2.000b \u00df"},
        {"2.000", 2000, "Firmware 2.000"},          {"2.100B", 2100, "Firmware 2.100B"},
        {"2.118", 2118, "Firmware 2.118"},          {"2.119", 2119, "Firmware 2.119"},
        {"2.2", 2200, "Firmware 2.2"},
    };
    for (const auto& c : cases) {
        Rig rig;
        EXPECT_FALSE(rig->powerDynamic.enabled());  // no box has answered yet
        rig.connectLogging(QLatin1String(c.firmware));
        EXPECT_EQ(rig->firmwareVersion, c.version) << c.firmware;
        EXPECT_EQ(rig->firmwareLabel.text(), QString::fromUtf8(c.label));
        EXPECT_EQ(rig->powerDynamic.enabled(), c.version >= 2119) << c.firmware;
        EXPECT_EQ(rig->ModeControl.listCount(), c.version >= 2119 ? 15 : 14) << c.firmware;
    }
}

TEST(StatusDecoding, ANewFirmwareBoxGetsIntenseOnceAndTheHighRateWithTheLogOpen) {
    Rig rig;
    rig.connectLogging(QStringLiteral("2.119"));
    // The reply to the wake-up CR switched the line: "Z" at the low rate, then a reopen at 57600.
    ASSERT_GE(rig.serial.writes.size(), 2u);
    EXPECT_EQ(rig.serial.writes[1].bytes, QByteArray("Z\r"));
    EXPECT_EQ(rig.serial.writes[1].baud, 9600);
    EXPECT_EQ(rig.serial.writes[1].timeMs, 10);
    EXPECT_TRUE(rig.serial.isOpen());
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    EXPECT_TRUE(rig->highSpeedEnabled);
    // Polls go on at the high rate and the box answers them; "Intense" stays one row.
    const size_t mark = rig.mark();
    rig.advance(7500);
    ASSERT_EQ(rig.commandsSince(mark), QStringList({"V", "V", "V"}));
    EXPECT_EQ(rig.box().noiseBytes(), 0);  // none went at the low rate
    EXPECT_EQ(rig->ModeControl.rows().count(QStringLiteral("Intense")), 1);
    EXPECT_EQ(rig->ModeControl.rows().mid(3, 2), QStringList({"Intense", "A Split"}));
    EXPECT_EQ(rig.logLines().count(QStringLiteral("Switching to high speed serial")), 1);
    EXPECT_EQ(rig.logLines().count(QStringLiteral("High speed enabled")), 1);
    // A later Connect clears the flag but opens at the rate last set; the next reply switches
    // once more.
    rig->Connect.push();
    EXPECT_FALSE(rig->highSpeedEnabled);
    EXPECT_EQ(rig.serial.writes.back().bytes, QByteArray("\r"));
    EXPECT_EQ(rig.serial.writes.back().baud, 57600);
    rig.advance(100);
    EXPECT_TRUE(rig->highSpeedEnabled);
    EXPECT_EQ(rig.logLines().count(QStringLiteral("High speed enabled")), 2);
    EXPECT_EQ(rig->ModeControl.rows().count(QStringLiteral("Intense")), 1);
}

TEST(StatusDecoding, WithTheLogClosedTheRateSwitchLeavesThePortShutAndIsTriedAgain) {
    Rig rig;
    rig.box().setFirmware(QStringLiteral("2.119"));
    rig.connect();
    EXPECT_EQ(rig.commandsSince(0), (QStringList{QString(), QStringLiteral("Z")}));
    EXPECT_FALSE(rig.serial.isOpen());
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    EXPECT_EQ(rig.serial.resets, 1);
    EXPECT_FALSE(rig->highSpeedEnabled);
    // The poll goes nowhere; the next status line, from whatever source, runs the switch again.
    rig.advance(2500);
    EXPECT_EQ(rig.commandsSince(0).size(), 2);
    rig->statusRefresh(QString::fromLatin1(rig.box().statusLine()));
    EXPECT_EQ(rig.serial.resets, 2);
    EXPECT_FALSE(rig.serial.isOpen());
    EXPECT_EQ(rig.serial.opens, 1);
}

TEST(StatusDecoding, TheRunClockStartsAtAReplyWithALevelOnUnderManualControl) {
    const struct {
        bool manual;
        int a, b;
    } cases[] = {{true, 0, 0}, {true, 20, 0}, {true, 0, 1}, {false, 20, 20}};
    for (const auto& c : cases) {
        const bool starts = c.manual && (c.a || c.b);
        Rig rig;
        rig.connectLogging();
        rig->manualControl = c.manual;
        rig.box().setLevelA(c.a);
        rig.box().setLevelB(c.b);
        rig.advance(2409);  // the poll at 2500 is answered at 2510
        ASSERT_EQ(rig->elapsedTimer.mode(), Timer::Off);
        rig.advance(1);
        EXPECT_EQ(rig->elapsedTimer.mode(), starts ? Timer::Multiple : Timer::Off) << c.a << c.b;
        if (!starts) continue;
        // Counted from the reply, and on after manual control is given up.
        rig.advance(999);
        EXPECT_TRUE(rig->tickCounter.text().isEmpty());
        rig.advance(1);
        EXPECT_EQ(rig->tickCounter.text(), "1s");
        rig->manualControl = false;
        rig.advance(5000);
        EXPECT_EQ(rig->tickCounter.text(), "6s");
    }
}

TEST(StatusDecoding, JoinFollowsTheBoxAndIsEchoedOnlyByNewerFirmware) {
    Rig rig;
    rig.box().setJoined(true);
    rig.connectLogging();
    // The first reply ticks the box while the firmware is still unknown: no echo.
    EXPECT_TRUE(rig->joinChannels.value());
    EXPECT_EQ(rig.commandsSince(0), QStringList{QString()});
    // A reply that moves everything at once sends just the join echo.
    rig.box().setJoined(false);
    rig.box().setLevelA(30);
    rig.box().setSettingC(60);
    rig.box().setMode(4);
    rig.box().setPower('H');
    size_t mark = rig.mark();
    rig.advance(2500);
    EXPECT_FALSE(rig->joinChannels.value());
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"V", "J0"}));
    rig.box().setJoined(true);
    mark = rig.mark();
    rig.advance(5000);  // the box agrees, so its answer to "J1" is not echoed
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"V", "J1", "V"}));
    Rig older;
    older.connectLogging(QStringLiteral("2.000B"));
    older.box().setJoined(true);
    mark = older.mark();
    older.advance(2500);
    EXPECT_TRUE(older->joinChannels.value());
    EXPECT_EQ(older.commandsSince(mark), QStringList{"V"});
}

TEST(StatusDecoding, AReplyWithoutNineFieldsOnlyShowsItsText) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\n"));
    rig.box().setLevelA(20);
    rig.connectLogging();
    const QString labels = rig->batteryLabel.text() + rig->firmwareLabel.text();
    // A peer is there: hostInfo stays. The short lines are not relayed.
    peerArrives(rig, rig.remoteControl);
    const QString from = QStringLiteral("Connection from 127.0.0.1");
    rig->hostInfo.setText(from);
    const size_t mark = rig.mark();
    rig.serial.deliver("?\r\n");  // passes the line check and reaches the decoder
    EXPECT_EQ(rig->veltoStatus.text(), "?");
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0"));
    EXPECT_EQ(rig->veltoStatus.text(), "700:0:0:100:100:0:L:0");
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.119:9"));
    EXPECT_EQ(rig->channelA.value(), 20);
    EXPECT_EQ(rig->batteryLabel.text() + rig->firmwareLabel.text(), labels);
    EXPECT_EQ(rig->ModeControl.listCount(), 14);
    EXPECT_EQ(rig->hostInfo.text(), from);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    EXPECT_EQ(rig.mark(), mark);
    // With neither the peer nor the broker connected, any line clears hostInfo on a slave.
    rig.remoteControl.peerDrops();
    rig.advance(1);
    rig->statusRefresh(QStringLiteral("garbage"));
    EXPECT_TRUE(rig->hostInfo.text().isEmpty());
    peerArrives(rig, rig.brokerSocket);
    rig->hostInfo.setText(from);
    rig->statusRefresh(QStringLiteral("garbage"));
    EXPECT_EQ(rig->hostInfo.text(), from);
    rig->systemMode = QStringLiteral("solo");  // a solo copy never touches it
    rig.brokerSocket.peerDrops();
    rig.advance(1);
    rig->statusRefresh(QStringLiteral("garbage"));
    EXPECT_EQ(rig->hostInfo.text(), from);
}

// The peer's held reply after a remote change is the extended commands' (";UP"); the broker
// keeps its own count.
TEST(StatusDecoding, ASlaveRelaysEachReplyAndTheBrokerHoldsTheFirstAfterARemoteChange) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\n"));
    rig.connectLogging();
    peerArrives(rig, rig.remoteControl);
    // A line from the serial path has lost its LF: CR LF is added. One that still ends in LF
    // goes as it is.
    rig.advance(2500);
    EXPECT_EQ(rig.remoteControl.sent, rig.box().statusLine() + "\r\n");
    EXPECT_GE(rig.remoteControl.flushes, 1);
    rig.remoteControl.sent.clear();
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.106\n"));
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.106\r\n"));
    EXPECT_EQ(rig.remoteControl.sent,
              QByteArray("700:0:0:100:100:0:L:0:2.106\n700:0:0:100:100:0:L:0:2.106\r\n"));
    rig.remoteControl.peerDrops();  // which stops the box: let the reply to its "K" pass
    rig.advance(2500);
    rig->brokerConnected = true;
    peerArrives(rig, rig.brokerSocket);
    rig->showSecondStatus = true;
    rig.advance(2500);
    EXPECT_EQ(rig->statusCount, 1);
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());
    rig.advance(2500);
    EXPECT_EQ(rig.brokerSocket.sent, rig.box().statusLine() + "\r\n");
    EXPECT_FALSE(rig->showSecondStatus);
    EXPECT_EQ(rig->statusCount, 0);
    rig.advance(2500);
    EXPECT_EQ(rig.brokerSocket.sent.count("\r\n"), 2);
}

TEST(StatusDecoding, AnHttpSlaveSendsTheHeadBeforeTheHeldReplyAndTheSettledOneAfter) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\nhttp=true\n"));
    rig.connectLogging();
    ASSERT_TRUE(rig->httpResponse);
    // A client is connected but no request is pending: nothing goes to it.
    peerArrives(rig, rig.remoteControl);
    rig.advance(2500);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    EXPECT_EQ(rig.remoteControl.disconnects, 0);
    // A request for a change: the head goes before the held reply, the settled reply after it,
    // and only then is the client let go.
    rig->httpResponse = false;
    rig->showSecondStatus = true;
    rig->sendStimData(QStringLiteral("B15"));
    rig.advance(20);
    const QByteArray head = rig.remoteControl.sent;
    EXPECT_TRUE(head.startsWith("HTTP/1.0 200 OK\r\n") && head.endsWith("\r\n\r\n"));
    EXPECT_TRUE(rig.remoteControl.isConnected());
    rig.advance(2500);
    EXPECT_EQ(rig.remoteControl.sent, head + rig.box().statusLine() + "\r\n");
    EXPECT_TRUE(rig.remoteControl.isListening());
    EXPECT_EQ(rig.remoteControl.disconnects, 1);
    EXPECT_TRUE(rig->httpResponse);
}

TEST(StatusDecoding, SoloRelaysNothingAndAMastersFarBoxStillSwitchesTheLocalRate) {
    Rig solo;
    solo.connectLogging();
    peerArrives(solo, solo.remoteControl);
    solo.advance(2600);
    EXPECT_TRUE(solo.remoteControl.sent.isEmpty());
    Rig rig;
    rig.settings(QStringLiteral("mode=master\nhost=127.0.0.2\n"));
    rig.connectLogging();
    peerArrives(rig, rig.remoteControl);
    rig.remoteControl.peerSends("742:60:80:40:30:5:H:0:2.119\r\n");
    rig.advance(1);
    EXPECT_EQ(levels(rig), (QList<int>{30, 40, 20, 15}));
    EXPECT_EQ(rig->ModeControl.listIndex(), 5);
    EXPECT_EQ(rig->ModeControl.list(3), "Intense");
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());  // nothing echoed, nothing relayed back
    // The far box's firmware runs the rate switch on the local port, though a master never
    // opened it.
    EXPECT_TRUE(rig.serial.writes.empty());
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    EXPECT_EQ(rig.serial.resets, 1);
}
