// Status decoding: how one status line of the box moves the window, and where it is relayed.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

QString power(Rig& rig) {
    return QStringLiteral("%1%2%3")
        .arg(int(rig->powerHi.value()))
        .arg(int(rig->powerLo.value()))
        .arg(int(rig->powerDynamic.value()));
}

}  // namespace

TEST(StatusDecoding, BatteryLevelsPowerAndTheClockZeroedByAnyLevelChange) {
    Rig rig;
    rig.connectLogging(QStringLiteral("2.119"));
    const size_t mark = rig.mark();
    // The battery is a percentage of 320 to 742, not clamped; 711 is 92.65: both ends pinned.
    for (const auto& [line, battery] : {std::pair{"300:0:0:100:100:0:L:0:2.119", "Battery -5%"},
                                        std::pair{"711:0:0:100:100:0:L:0:2.119", "Battery 93%"}}) {
        rig->statusRefresh(QLatin1String(line));
        EXPECT_EQ(rig->batteryLabel.text(), battery);
    }
    // Levels are halved and cut on the slider, but the change test still sees 50.5 against 50.
    // The power letter compares without case; an unknown one leaves the buttons as they were.
    const struct {
        const char* line;
        bool zeroed;
        const char* power;  // Hi, Lo, Dynamic
    } cases[] = {
        {"700:101:40:30:20:0:D:0:2.119", true, "001"},
        {"600:100:40:30:20:0:h:0:2.119", false, "100"},  // battery and power are no level change
        {"700:100:42:30:20:0:D:0:2.119", true, "001"},
        {"700:100:40:32:20:0:X:0:2.119", true, "001"},
        {"700:100:40:30:22:0:L:0:2.119", true, "010"},   // D in a mode with a setting D
        {"700:100:40:30:22:2:H:0:2.119", false, "100"},  // D in the modes where it means nothing
        {"700:100:40:30:22:9:L:0:2.119", false, "010"},
        {"700:100:40:30:22:10:D:0:2.119", false, "001"},
    };
    for (const auto& c : cases) {
        rig->statusRefresh(QStringLiteral("700:100:40:30:20:0:X:0:2.119"));  // power as it was
        rig->elapsedTime = 30;
        rig->statusRefresh(QLatin1String(c.line));
        EXPECT_EQ(rig->elapsedTime, c.zeroed ? 0 : 30) << c.line;
        EXPECT_EQ(power(rig), c.power) << c.line;
        EXPECT_EQ(rig->veltoStatus.text(), c.line);
    }
    rig->statusRefresh(QStringLiteral("700:250:40:0:2:0:L:0:2.119"));  // beyond a slider's range
    EXPECT_EQ((QList<int>{rig->channelA.value(), rig->channelB.value(), rig->channelC.value(),
                          rig->channelD.value()}),
              (QList<int>{100, 20, 2, 2}));
    // The controls' handlers ran under systemRefresh: they followed the box and said nothing.
    EXPECT_EQ(rig.commandsAfter(mark), QStringList{});
}

TEST(StatusDecoding, FirmwareFieldSetsTheVersionTheLabelAndDynamicPower) {
    const struct {
        const char* firmware;
        qint64 version;
        const char* label;
    } cases[] = {
        {"2.000b", 2104, "Firmware 2.000b \u00df"}, {"2.000", 2000, "Firmware 2.000"},
        {"2.100B", 2100, "Firmware 2.100B"},        {"2.118", 2118, "Firmware 2.118"},
        {"2.119", 2119, "Firmware 2.119"},
    };
    for (const auto& c : cases) {
        Rig rig;
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
    const auto& z = rig.serial.writes.at(1);
    EXPECT_EQ(z.bytes + QByteArray::number(z.baud) + '@' + QByteArray::number(z.timeMs),
              "Z\r9600@10");
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    // Polls go on at the high rate and the box answers them.
    const size_t mark = rig.mark();
    rig.advance(7500);
    ASSERT_EQ(rig.commandsSince(mark), QStringList({"V", "V", "V"}));
    EXPECT_EQ(rig.box().noiseBytes(), 0);
    // A later Connect clears the flag but opens at the rate last set; the next reply switches
    // once more, and "Intense" stays one row.
    rig->Connect.push();
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
    EXPECT_FALSE(rig->highSpeedEnabled);
    // The poll goes nowhere; the next status line, from whatever source, runs the switch again.
    rig.advance(2500);
    rig->statusRefresh(QString::fromLatin1(rig.box().statusLine()));
    EXPECT_EQ(rig.commandsSince(0).size(), 2);
    EXPECT_EQ(rig.serial.resets, 2);
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
        rig->manualControl = false;
        rig.advance(1);
        EXPECT_EQ(rig->tickCounter.text(), "1s");
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
    rig.box().setMode(4);
    rig.box().setPower('H');
    size_t mark = rig.mark();
    rig.advance(2500);
    EXPECT_FALSE(rig->joinChannels.value());
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"V", "J0"}));
    Rig older;
    older.connectLogging(QStringLiteral("2.000B"));
    older.box().setJoined(true);
    mark = older.mark();
    older.advance(2500);
    EXPECT_TRUE(older->joinChannels.value());
    EXPECT_EQ(older.commandsSince(mark), QStringList{"V"});
}

TEST(StatusDecoding, AShortReplyOnlyShowsItsTextAndHostInfoIsClearedOnlyWithNoPeer) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\n"));
    rig.box().setLevelA(20);
    rig.connectLogging();
    rig.peerJoins(rig.remoteControl);
    rig.remoteControl.sent.clear();
    const QString from = QStringLiteral("Connection from 127.0.0.1");
    rig->hostInfo.setText(from);
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.119:9"));
    EXPECT_EQ(rig->veltoStatus.text(), "700:0:0:100:100:0:L:0:2.119:9");
    EXPECT_EQ(rig->channelA.value(), 20);
    EXPECT_EQ(rig->ModeControl.listCount(), 14);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());  // not relayed
    // A slave's hostInfo stays while the peer or the broker is there, and on a solo copy.
    const std::pair<FakeTcpSocket*, const char*> steps[] = {{&rig.remoteControl, "slave"},
                                                            {nullptr, "slave"},
                                                            {&rig.brokerSocket, "slave"},
                                                            {nullptr, "solo"}};
    for (const auto& [connected, mode] : steps) {
        rig.remoteControl.peerDrops();
        rig.brokerSocket.peerDrops();
        rig.advance(1);
        if (connected) rig.peerJoins(*connected);
        rig->systemMode = QLatin1String(mode);
        rig->hostInfo.setText(from);
        rig->statusRefresh(QStringLiteral("garbage"));
        EXPECT_EQ(rig->hostInfo.text(), connected || mode[1] == 'o' ? from : QString()) << mode;
    }
}

// The peer's held reply after a remote change is the extended commands' (";UP").
TEST(StatusDecoding, ALineWithItsLfGoesAsItIsAndTheBrokerHoldsTheFirstAfterARemoteChange) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\n"));
    rig.connectLogging();
    rig.peerJoins(rig.remoteControl);
    rig.remoteControl.sent.clear();
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.106\n"));
    EXPECT_EQ(rig.remoteControl.sent, "700:0:0:100:100:0:L:0:2.106\n");
    rig->systemMode = QStringLiteral("solo");  // which relays nothing
    rig.advance(2500);
    EXPECT_EQ(rig.remoteControl.sent.count("\n"), 1);
    rig->systemMode = QStringLiteral("slave");
    rig.remoteControl.peerDrops();  // which stops the box: let the reply to its "K" pass
    rig.advance(2500);
    rig->brokerConnected = true;
    rig.peerJoins(rig.brokerSocket);
    rig.brokerSocket.sent.clear();
    rig->showSecondStatus = true;
    rig.advance(2500);
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());
    rig.advance(2500);
    EXPECT_EQ(rig.brokerSocket.sent, rig.box().statusLine() + "\r\n");
    EXPECT_FALSE(rig->showSecondStatus);
}

TEST(StatusDecoding, AnHttpSlaveSendsTheHeadBeforeTheHeldReplyAndTheSettledOneAfter) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\nhttp=true\n"));
    rig.connectLogging();
    rig.peerJoins(rig.remoteControl);
    rig.remoteControl.sent.clear();
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
    EXPECT_TRUE(rig->httpResponse);
}
