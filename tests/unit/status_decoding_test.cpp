// Status decoding: how one status line of the box moves the window, and where it is relayed.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

TEST(StatusDecoding, BatteryLevelsPowerAndTheClockZeroedByAnyLevelChange) {
    Rig rig;
    rig.connectLogging(QStringLiteral("2.119"));
    const size_t mark = rig.mark();
    const auto power = [&] {  // Hi, Lo, Dynamic
        return QStringLiteral("%1%2%3")
            .arg(int(rig->powerHi.value()))
            .arg(int(rig->powerLo.value()))
            .arg(int(rig->powerDynamic.value()));
    };
    // The battery is a percentage of 320 to 742, not clamped; 711 is 92.65: both ends pinned.
    // Levels are halved and cut on the slider, but the change test still sees 50.5 against 50.
    // The power letter compares without case; an unknown one leaves the buttons as they were.
    const struct {
        const char* line;
        bool zeroed;
        const char* power;
        const char* battery;
    } cases[] = {
        {"300:101:40:30:20:0:D:0:2.119", true, "001", "Battery -5%"},
        {"711:100:40:30:20:0:h:0:2.119", false, "100", "Battery 93%"},  // no level change
        {"700:100:42:30:20:0:D:0:2.119", true, "001", "Battery 90%"},
        {"700:100:40:32:20:0:X:0:2.119", true, "001", "Battery 90%"},
        {"700:100:40:30:22:0:L:0:2.119", true, "010", "Battery 90%"},   // D in a mode with a D
        {"700:100:40:30:22:2:H:0:2.119", false, "100", "Battery 90%"},  // D meaning nothing
    };
    for (const auto& c : cases) {
        rig->statusRefresh(QStringLiteral("700:100:40:30:20:0:X:0:2.119"));  // power as it was
        rig->elapsedTime = 30;
        rig->statusRefresh(QLatin1String(c.line));
        EXPECT_EQ(rig->elapsedTime, c.zeroed ? 0 : 30) << c.line;
        EXPECT_EQ(power(), c.power) << c.line;
        EXPECT_EQ(rig->batteryLabel.text(), c.battery) << c.line;
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

TEST(StatusDecoding, ANewFirmwareBoxGetsIntenseOnceTheHighRateAndTheJoinEcho) {
    Rig rig;
    rig.box().setJoined(true);
    rig.connectLogging(QStringLiteral("2.119"));
    // The reply to the wake-up CR switched the line ("Z" at the low rate, then a reopen at 57600)
    // and ticked the join box while the firmware was still unknown: no echo.
    EXPECT_EQ(rig.commandsSince(0), QStringList({QString(), QStringLiteral("Z")}));
    const auto& z = rig.serial.writes.at(1);
    EXPECT_EQ(z.bytes + QByteArray::number(z.baud) + '@' + QByteArray::number(z.timeMs),
              "Z\r9600@10");
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    EXPECT_TRUE(rig->joinChannels.value());
    // Polls go on at the high rate; a reply that unjoins is echoed.
    rig.box().setJoined(false);
    const size_t mark = rig.mark();
    rig.advance(7500);
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"V", "J0", "V", "V"}));
    // A later Connect clears the flag but opens at the rate last set; the next reply switches
    // once more, and "Intense" stays one row.
    rig->Connect.push();
    EXPECT_EQ(rig.serial.writes.back().baud, 57600);
    rig.advance(100);
    EXPECT_EQ(rig.logLines().count(QStringLiteral("High speed enabled")), 2);
    EXPECT_EQ(rig->ModeControl.rows().count(QStringLiteral("Intense")), 1);
}

TEST(StatusDecoding, WithTheLogClosedTheRateSwitchLeavesThePortShutAndIsTriedAgain) {
    Rig rig;
    rig.box().setFirmware(QStringLiteral("2.119"));
    rig.connect();
    EXPECT_EQ(rig.commandsSince(0), (QStringList{QString(), QStringLiteral("Z")}));
    EXPECT_FALSE(rig.serial.isOpen());
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

TEST(StatusDecoding, ASlaveRelaysFullLinesHoldsTheFirstAfterAChangeAndKeepsItsHostInfo) {
    Rig rig;
    rig.settings(QStringLiteral("mode=slave\n"));
    rig.connectLogging();
    rig.peerJoins(rig.remoteControl);
    rig.remoteControl.sent.clear();
    // A short reply only shows its text: the firmware field is not read, nothing is relayed.
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.119:9"));
    EXPECT_EQ(rig->veltoStatus.text(), "700:0:0:100:100:0:L:0:2.119:9");
    EXPECT_EQ(rig->ModeControl.listCount(), 14);
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.106\n"));  // its LF is kept
    EXPECT_EQ(rig.remoteControl.sent, "700:0:0:100:100:0:L:0:2.106\n");
    rig->systemMode = QStringLiteral("solo");  // which relays nothing
    rig.advance(2500);
    EXPECT_EQ(rig.remoteControl.sent.count("\n"), 1);
    rig->systemMode = QStringLiteral("slave");
    rig.remoteControl.peerDrops();  // which stops the box: let the reply to its "K" pass
    rig.advance(2500);
    // The broker and an HTTP client: the head goes with the held reply, the settled one after.
    rig->brokerConnected = true;
    rig.peerJoins(rig.brokerSocket);
    rig.peerJoins(rig.remoteControl);
    rig->httpSlave = true;
    rig->httpResponse = false;
    rig.remoteControl.sent.clear();
    rig->showSecondStatus = true;
    rig.advance(2500);
    const QByteArray head = rig.remoteControl.sent;
    EXPECT_TRUE(head.startsWith("HTTP/1.0 200 OK\r\n") && head.endsWith("\r\n\r\n"));
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());
    rig.advance(2500);
    const QByteArray line = rig.box().statusLine() + "\r\n";
    EXPECT_EQ(rig.brokerSocket.sent, line);
    EXPECT_EQ(rig.remoteControl.sent, head + line);
    EXPECT_TRUE(rig.remoteControl.isListening());
    EXPECT_FALSE(rig->showSecondStatus);
    const QString from = QStringLiteral("Connection from 127.0.0.1");
    // The host info stays while the peer or the broker is there, and on a solo copy.
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
