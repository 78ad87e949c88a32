// Status decoding: how one status line of the box moves the window, and where it is relayed.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

// Connects a solo rig to a box of `firmware`. The log is open so that on a 2.119 box the switch
// to the high rate completes and the line goes on answering.
void connectTo(Rig& rig, const QString& firmware = QStringLiteral("2.106")) {
    rig.box().setFirmware(firmware);
    rig.open();
    rig->_activityToggle_Action();
    rig->Connect.push();
    rig.advance(100);
}

// A line as the box sends it, ending in LF, into the program's serial port.
void deliver(Rig& rig, const char* line) {
    rig.serial.deliver(QByteArray(line) + '\n');
}

QStringList withoutPolls(QStringList commands) {
    commands.removeAll(QStringLiteral("V"));
    return commands;
}

// A peer connects to `socket`. What the connection itself says to the peer is not the decoder's
// and is dropped from the record.
void peerArrives(Rig& rig, FakeTcpSocket& socket) {
    socket.peerConnects();
    rig.advance(1);
    socket.sent.clear();
}

}  // namespace

TEST(StatusDecoding, BatteryIsAPercentageOfTheRange320To742WithNoClamp) {
    Rig rig;
    connectTo(rig);
    const struct {
        const char* line;
        const char* battery;
    } cases[] = {
        {"320:0:0:100:100:0:L:0:2.106", "Battery 0%"},
        {"742:0:0:100:100:0:L:0:2.106", "Battery 100%"},
        {"531:0:0:100:100:0:L:0:2.106", "Battery 50%"},
        {"300:0:0:100:100:0:L:0:2.106", "Battery -5%"},
        {"800:0:0:100:100:0:L:0:2.106", "Battery 114%"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        deliver(rig, c.line);
        EXPECT_EQ(rig->batteryLabel.text(), QString::fromLatin1(c.battery));
        EXPECT_EQ(rig->veltoStatus.text(), QString::fromLatin1(c.line));
    }
}

TEST(StatusDecoding, LevelsAreHalvedAndAnyDifferenceZeroesTheClock) {
    Rig rig;
    connectTo(rig);
    const size_t mark = rig.serial.writes.size();

    // An odd half step is cut down on the slider, but the change test still sees 50.5 against
    // 50: the clock is zeroed at every such reply.
    for (int i = 0; i < 2; ++i) {
        rig->elapsedTime = 30;
        deliver(rig, "700:101:40:30:20:0:L:0:2.106");
        EXPECT_EQ(rig->channelA.value(), 50);
        EXPECT_EQ(rig->elapsedTime, 0);
    }
    EXPECT_EQ(rig->channelB.value(), 20);
    EXPECT_EQ(rig->channelC.value(), 15);
    EXPECT_EQ(rig->channelD.value(), 10);
    // The number labels follow their sliders, as a user's move would have them.
    EXPECT_EQ(rig->settingA.text(), QStringLiteral("50"));
    EXPECT_EQ(rig->settingB.text(), QStringLiteral("20"));
    EXPECT_EQ(rig->settingC.text(), QStringLiteral("15"));
    EXPECT_EQ(rig->settingD.text(), QStringLiteral("10"));

    // From here on the sliders stand at A 50, B 20, C 15, D 10 in mode 0.
    deliver(rig, "700:100:40:30:20:0:L:0:2.106");
    const struct {
        const char* line;
        bool zeroed;
    } cases[] = {
        {"700:100:40:30:20:0:L:0:2.106", false},  // nothing differs
        {"600:100:40:30:20:0:H:0:2.106", false},  // battery and power are no level change
        {"700:100:42:30:20:0:L:0:2.106", true},   // B
        {"700:100:40:32:20:0:L:0:2.106", true},   // C
        {"700:100:40:30:22:0:L:0:2.106", true},   // D in a mode with a setting D
        {"700:100:40:30:22:2:L:0:2.106", false},  // D in the modes where it means nothing
        {"700:100:40:30:22:9:L:0:2.106", false}, {"700:100:40:30:22:10:L:0:2.106", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        rig->elapsedTime = 30;
        deliver(rig, c.line);
        EXPECT_EQ(rig->elapsedTime, c.zeroed ? 0 : 30);
        // Back to the reference state for the next row.
        deliver(rig, "700:100:40:30:20:0:L:0:2.106");
        ASSERT_EQ(rig->channelB.value(), 20);
        ASSERT_EQ(rig->channelC.value(), 15);
        ASSERT_EQ(rig->channelD.value(), 10);
    }

    // A value beyond a slider's range is clipped by the slider.
    deliver(rig, "700:250:40:0:2:0:L:0:2.106");
    EXPECT_EQ(rig->channelA.value(), 100);
    EXPECT_EQ(rig->channelC.value(), 2);
    EXPECT_EQ(rig->channelD.value(), 2);

    // The window followed the device and said nothing back to it.
    EXPECT_EQ(withoutPolls(rig.commandsSince(mark)), QStringList{});
}

TEST(StatusDecoding, SettingDIsLeftAloneInModes2_9_10OnBothFirmwareFamilies) {
    for (const char* firmware : {"2.106", "2.119"}) {
        for (const int mode : {2, 9, 10, 5}) {
            SCOPED_TRACE(testing::Message() << "firmware " << firmware << ", mode " << mode);
            Rig rig;
            connectTo(rig, QString::fromLatin1(firmware));
            ASSERT_EQ(rig->channelD.value(), 50);
            rig.box().setMode(mode);
            rig.box().setSettingD(80);
            rig.advance(2500);
            ASSERT_EQ(rig->ModeControl.listIndex(), mode);
            EXPECT_EQ(rig->channelD.value(), mode == 5 ? 80 : 50);
            EXPECT_EQ(rig->settingD.text(), QString::number(mode == 5 ? 80 : 50));
        }
    }
}

TEST(StatusDecoding, PowerLetterPicksOneRadioButtonAndAnUnknownLetterChangesNothing) {
    Rig rig;
    connectTo(rig, QStringLiteral("2.119"));
    const size_t mark = rig.serial.writes.size();
    const struct {
        const char* line;
        bool hi, lo, dynamic;
    } cases[] = {
        {"700:0:0:100:100:0:H:0:2.119", true, false, false},
        {"700:0:0:100:100:0:D:0:2.119", false, false, true},
        {"700:0:0:100:100:0:L:0:2.119", false, true, false},
        {"700:0:0:100:100:0:h:0:2.119", true, false, false},  // letters compare without case
        {"700:0:0:100:100:0:X:0:2.119", true, false, false},  // as it was
        {"700:0:0:100:100:0::0:2.119", true, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        deliver(rig, c.line);
        EXPECT_EQ(rig->powerHi.value(), c.hi);
        EXPECT_EQ(rig->powerLo.value(), c.lo);
        EXPECT_EQ(rig->powerDynamic.value(), c.dynamic);
    }
    // The radio buttons' handlers ran under systemRefresh: no power command went out.
    EXPECT_EQ(withoutPolls(rig.commandsSince(mark)), QStringList{});
}

TEST(StatusDecoding, FirmwareFieldSetsTheVersionTheLabelAndDynamicPower) {
    const struct {
        const char* firmware;
        qint64 version;
        const char* label;
        bool dynamic;
    } cases[] = {
        {"2.106", 2106, "Firmware 2.106", false},
        {"2.000B", 2104, "Firmware 2.000B \u00df", false},
        {"2.000b", 2104, "Firmware 2.000b \u00df", false},
        {"2.000", 2000, "Firmware 2.000", false},
        {"2.100B", 2100, "Firmware 2.100B", false},
        {"2.118", 2118, "Firmware 2.118", false},
        {"2.119", 2119, "Firmware 2.119", true},
        {"2.2", 2200, "Firmware 2.2", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.firmware);
        Rig rig;
        EXPECT_FALSE(rig->powerDynamic.enabled());  // no box has answered yet
        connectTo(rig, QString::fromLatin1(c.firmware));
        EXPECT_EQ(rig->firmwareVersion, c.version);
        EXPECT_EQ(rig->firmwareLabel.text(), QString::fromUtf8(c.label));
        EXPECT_EQ(rig->powerDynamic.enabled(), c.dynamic);
        EXPECT_EQ(rig->ModeControl.listCount(), c.dynamic ? 15 : 14);
    }
}

TEST(StatusDecoding, ANewFirmwareBoxGetsIntenseOnceAndTheHighRateWithTheLogOpen) {
    Rig rig;
    connectTo(rig, QStringLiteral("2.119"));

    // The reply to the wake-up CR switched the line: "Z" at the low rate, then a reopen at 57600.
    ASSERT_GE(rig.serial.writes.size(), 2u);
    EXPECT_EQ(rig.serial.writes[1].bytes, QByteArray("Z\r"));
    EXPECT_EQ(rig.serial.writes[1].baud, 9600);
    EXPECT_EQ(rig.serial.writes[1].timeMs, 10);
    EXPECT_TRUE(rig.serial.isOpen());
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    EXPECT_TRUE(rig->highSpeedEnabled);
    EXPECT_TRUE(rig->powerDynamic.enabled());

    // Polls go on at the high rate and the box answers them; "Intense" stays one row.
    const size_t mark = rig.serial.writes.size();
    rig.advance(7500);
    ASSERT_EQ(rig.commandsSince(mark),
              (QStringList{QStringLiteral("V"), QStringLiteral("V"), QStringLiteral("V")}));
    for (size_t i = mark; i < rig.serial.writes.size(); ++i)
        EXPECT_EQ(rig.serial.writes[i].baud, 57600);
    EXPECT_EQ(rig.box().noiseBytes(), 0);
    EXPECT_EQ(rig->ModeControl.rows().count(QStringLiteral("Intense")), 1);
    EXPECT_EQ(rig->ModeControl.list(3), QStringLiteral("Intense"));
    EXPECT_EQ(rig->ModeControl.list(4), QStringLiteral("A Split"));
    EXPECT_EQ(rig->ModeControl.list(14), QStringLiteral("Training"));
    EXPECT_EQ(rig.logLines().count(QStringLiteral("Switching to high speed serial")), 1);
    EXPECT_EQ(rig.logLines().count(QStringLiteral("High speed enabled")), 1);

    // A later Connect clears the flag but opens at the rate last set; the next reply from the
    // box switches once more.
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
    EXPECT_FALSE(rig->highSpeedEnabled);
    EXPECT_EQ(rig.serial.opens, 1);
}

TEST(StatusDecoding, FirstReplyOfANewFirmwareBoxInWaveIsLabelledByTheOldTable) {
    Rig rig;
    rig.box().setMode(6);
    connectTo(rig, QStringLiteral("2.119"));
    // Row 6 was "Waterfall" when it was chosen and the labels were set; "Intense" came after.
    EXPECT_EQ(rig->ModeControl.listIndex(), 6);
    EXPECT_EQ(rig->ModeControl.text(), QStringLiteral("Wave"));
    EXPECT_EQ(rig->cLabel.text(), QStringLiteral("Rate change"));
    EXPECT_EQ(rig->waveDiag.backdrop(), QStringLiteral("waterfall"));

    // From the next change on the labels are right.
    rig.box().setMode(3);
    rig.advance(2500);
    EXPECT_EQ(rig->cLabel.text(), QStringLiteral("Pulse feel"));
    EXPECT_EQ(rig->dLabel.text(), QStringLiteral("n/a"));
    EXPECT_EQ(rig->waveDiag.backdrop(), QStringLiteral("continuous"));
    rig.box().setMode(6);
    rig.advance(2500);
    EXPECT_EQ(rig->cLabel.text(), QStringLiteral("Rate change"));
    EXPECT_EQ(rig->waveDiag.backdrop(), QStringLiteral("wave"));
}

TEST(StatusDecoding, TheRunClockStartsAtAReplyWithALevelOnUnderManualControl) {
    const struct {
        bool manual;
        int a, b;
        bool starts;
    } cases[] = {
        {true, 0, 0, false},
        {true, 20, 0, true},
        {true, 0, 1, true},
        {false, 20, 20, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.manual << " " << c.a << " " << c.b);
        Rig rig;
        connectTo(rig);
        rig->manualControl = c.manual;
        rig.box().setLevelA(c.a);
        rig.box().setLevelB(c.b);
        rig.advance(2409);  // the poll at 2500 is answered at 2510
        ASSERT_EQ(rig->elapsedTimer.mode(), Timer::Off);
        rig.advance(1);
        EXPECT_EQ(rig->elapsedTimer.mode(), c.starts ? Timer::Multiple : Timer::Off);
        if (!c.starts) continue;

        // Counted from the reply: the first tick at 3510, and the clock runs on after manual
        // control is given up, until something stops it.
        rig.advance(999);
        EXPECT_TRUE(rig->tickCounter.text().isEmpty());
        rig.advance(1);
        EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("1s"));
        rig->manualControl = false;
        rig.advance(5000);
        EXPECT_EQ(rig->elapsedTimer.mode(), Timer::Multiple);
        EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("6s"));
    }
}

TEST(StatusDecoding, JoinFollowsTheBoxAndIsEchoedOnlyByNewerFirmware) {
    {
        SCOPED_TRACE("2.106");
        Rig rig;
        rig.box().setJoined(true);
        connectTo(rig);
        // The first reply ticks the box while the firmware is still unknown: no echo.
        EXPECT_TRUE(rig->joinChannels.value());
        EXPECT_EQ(rig.commandsSince(0), QStringList{QString()});

        // A reply that moves everything at once sends just the join echo.
        rig.box().setJoined(false);
        rig.box().setLevelA(30);
        rig.box().setLevelB(40);
        rig.box().setSettingC(60);
        rig.box().setSettingD(70);
        rig.box().setMode(4);
        rig.box().setPower('H');
        size_t mark = rig.serial.writes.size();
        rig.advance(2500);
        EXPECT_FALSE(rig->joinChannels.value());
        EXPECT_EQ(rig->channelA.value(), 30);
        EXPECT_EQ(rig->ModeControl.listIndex(), 4);
        EXPECT_TRUE(rig->powerHi.value());
        EXPECT_EQ(rig.commandsSince(mark),
                  (QStringList{QStringLiteral("V"), QStringLiteral("J0")}));

        rig.box().setJoined(true);
        mark = rig.serial.writes.size();
        rig.advance(2500);
        EXPECT_EQ(rig.commandsSince(mark),
                  (QStringList{QStringLiteral("V"), QStringLiteral("J1")}));
        // The box agrees, so its answer to "J1" changes nothing and is not echoed.
        EXPECT_TRUE(rig.box().joined());
        mark = rig.serial.writes.size();
        rig.advance(2500);
        EXPECT_EQ(rig.commandsSince(mark), QStringList{QStringLiteral("V")});
    }
    {
        SCOPED_TRACE("2.000B");
        Rig rig;
        connectTo(rig, QStringLiteral("2.000B"));
        rig.box().setJoined(true);
        const size_t mark = rig.serial.writes.size();
        rig.advance(2500);
        EXPECT_TRUE(rig->joinChannels.value());
        EXPECT_EQ(rig.commandsSince(mark), QStringList{QStringLiteral("V")});
    }
}

TEST(StatusDecoding, AReplyWithoutNineFieldsOnlyShowsItsText) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("mode=slave\n"));
    rig.box().setLevelA(20);
    connectTo(rig);
    ASSERT_EQ(rig->channelA.value(), 20);
    const QString battery = rig->batteryLabel.text();
    const QString firmware = rig->firmwareLabel.text();

    // A peer is there: hostInfo stays. The short lines are not relayed.
    peerArrives(rig, rig.remoteControl);
    rig->hostInfo.setText(QStringLiteral("Connection from 127.0.0.1"));
    const size_t mark = rig.serial.writes.size();
    rig.serial.deliver("?\r\n");  // passes the line check and reaches the decoder
    EXPECT_EQ(rig->veltoStatus.text(), QStringLiteral("?"));
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0"));
    EXPECT_EQ(rig->veltoStatus.text(), QStringLiteral("700:0:0:100:100:0:L:0"));
    rig->statusRefresh(QStringLiteral("700:0:0:100:100:0:L:0:2.119:9"));
    EXPECT_EQ(rig->channelA.value(), 20);
    EXPECT_EQ(rig->batteryLabel.text(), battery);
    EXPECT_EQ(rig->firmwareLabel.text(), firmware);
    EXPECT_EQ(rig->ModeControl.listCount(), 14);
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Connection from 127.0.0.1"));
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    EXPECT_EQ(rig.serial.writes.size(), mark);

    // With neither the peer nor the broker connected, any line clears hostInfo on a slave.
    rig.remoteControl.peerDrops();
    rig.advance(1);
    rig->statusRefresh(QStringLiteral("garbage"));
    EXPECT_TRUE(rig->hostInfo.text().isEmpty());
    peerArrives(rig, rig.brokerSocket);  // its Connected event writes hostInfo itself
    rig->hostInfo.setText(QStringLiteral("Connection from 127.0.0.1"));
    rig->statusRefresh(QStringLiteral("garbage"));
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Connection from 127.0.0.1"));

    // A solo copy never touches it.
    rig->systemMode = QStringLiteral("solo");
    rig.brokerSocket.peerDrops();
    rig.advance(1);
    rig->statusRefresh(QStringLiteral("garbage"));
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Connection from 127.0.0.1"));
}

TEST(StatusDecoding, ASlaveRelaysEachReplyAndHoldsTheFirstAfterARemoteChange) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("mode=slave\n"));
    connectTo(rig);
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

    // A remote change: the reply to the command is held, the next one (the poll's) relayed, to
    // the peer and to the broker alike.
    rig->brokerConnected = true;
    peerArrives(rig, rig.brokerSocket);
    rig.remoteControl.sent.clear();
    rig->showSecondStatus = true;
    rig->sendStimData(QStringLiteral("A20"));
    rig.advance(20);
    EXPECT_EQ(rig->statusCount, 1);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());
    rig.advance(2500);
    ASSERT_EQ(rig.box().levelA(), 20);
    EXPECT_EQ(rig.remoteControl.sent, rig.box().statusLine() + "\r\n");
    EXPECT_EQ(rig.brokerSocket.sent, rig.box().statusLine() + "\r\n");
    EXPECT_FALSE(rig->showSecondStatus);
    EXPECT_EQ(rig->statusCount, 0);
    rig.advance(2500);
    EXPECT_EQ(rig.remoteControl.sent.count("\r\n"), 2);

    // The broker alone keeps the same count.
    rig.remoteControl.peerDrops();  // which stops the box: let the reply to its "K" pass
    rig.advance(2500);
    rig.brokerSocket.sent.clear();
    rig->showSecondStatus = true;
    rig.advance(2500);
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());
    rig.advance(2500);
    EXPECT_EQ(rig.brokerSocket.sent, rig.box().statusLine() + "\r\n");
    EXPECT_FALSE(rig->showSecondStatus);
    EXPECT_EQ(rig->statusCount, 0);
}

TEST(StatusDecoding, AnHttpSlaveAnswersOneRequestWithHeadAndReplyThenListensAgain) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("mode=slave\nhttp=true\n"));
    connectTo(rig);
    ASSERT_TRUE(rig->httpResponse);
    const QByteArray line = rig.box().statusLine() + "\r\n";

    // A client is connected but no request is pending: nothing goes to it.
    peerArrives(rig, rig.remoteControl);
    rig.advance(2500);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    EXPECT_EQ(rig.remoteControl.disconnects, 0);
    const int listens = rig.remoteControl.listens;

    // A request: head and reply, then the socket is dropped and listens again.
    rig->httpResponse = false;
    rig.advance(2500);
    const QByteArray& sent = rig.remoteControl.sent;
    EXPECT_TRUE(sent.startsWith("HTTP/1.0 200 OK\r\n"));
    EXPECT_TRUE(sent.endsWith(QByteArray(QByteArray("\r\n\r\n") + line)));
    EXPECT_EQ(sent.count("HTTP/1.0"), 1);
    EXPECT_EQ(rig.remoteControl.disconnects, 1);
    EXPECT_EQ(rig.remoteControl.listens, listens + 1);
    EXPECT_TRUE(rig->httpResponse);

    // A request for a change: the head goes before the held reply, the settled reply after it,
    // and only then is the client let go.
    peerArrives(rig, rig.remoteControl);
    rig->httpResponse = false;
    rig->showSecondStatus = true;
    rig->sendStimData(QStringLiteral("B15"));
    rig.advance(20);
    const QByteArray head = rig.remoteControl.sent;
    EXPECT_TRUE(head.startsWith("HTTP/1.0 200 OK\r\n"));
    EXPECT_TRUE(head.endsWith("\r\n\r\n"));
    EXPECT_TRUE(rig.remoteControl.isConnected());
    rig.advance(2500);
    EXPECT_EQ(rig.remoteControl.sent, head + rig.box().statusLine() + "\r\n");
    EXPECT_FALSE(rig.remoteControl.isConnected());
    EXPECT_TRUE(rig.remoteControl.isListening());
    EXPECT_EQ(rig.remoteControl.disconnects, 2);
}

TEST(StatusDecoding, SoloAndMasterRelayNothingAndAMasterShowsTheFarBox) {
    {
        SCOPED_TRACE("solo");
        Rig rig;
        connectTo(rig);
        peerArrives(rig, rig.remoteControl);
        rig.advance(2600);
        EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    }
    SCOPED_TRACE("master");
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"),
                  QStringLiteral("mode=master\nhost=127.0.0.2\n"));
    connectTo(rig);
    peerArrives(rig, rig.remoteControl);
    // The far box's line, as the peer relays it, goes through the same decoding.
    rig.remoteControl.peerSends("742:60:80:40:30:5:H:0:2.119\r\n");
    rig.advance(1);
    EXPECT_EQ(rig->channelA.value(), 30);
    EXPECT_EQ(rig->channelB.value(), 40);
    EXPECT_EQ(rig->channelC.value(), 20);
    EXPECT_EQ(rig->channelD.value(), 15);
    EXPECT_EQ(rig->ModeControl.listIndex(), 5);
    EXPECT_TRUE(rig->powerHi.value());
    EXPECT_EQ(rig->batteryLabel.text(), QStringLiteral("Battery 100%"));
    EXPECT_EQ(rig->ModeControl.list(3), QStringLiteral("Intense"));
    // Nothing echoed to the peer, nothing relayed back to it.
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    // The far box's firmware still runs the rate switch on the local port, though a master
    // never opened it.
    EXPECT_TRUE(rig.serial.writes.empty());
    EXPECT_EQ(rig.serial.baudRate(), 57600);
    EXPECT_EQ(rig.serial.resets, 1);
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Switching to high speed serial")));
}
