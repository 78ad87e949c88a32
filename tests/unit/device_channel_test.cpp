// The serial command channel: the gate, the assembly of replies, the reply check and its
// correction loop, with the simulated box behind the fake port.

#include <gtest/gtest.h>

#include <tuple>

#include "support/rig.h"

using namespace velto;
using sim::Sim2B;

TEST(DeviceChannel, TheGateTrimsFramesAndRemembersTheCommand) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    rig->activityLog.logSerial.setValue(true);
    size_t mark = rig.mark();
    rig->elapsedTime = 5;
    rig->sendStimData(QStringLiteral("   "));
    EXPECT_EQ(rig.mark(), mark);
    EXPECT_EQ(rig->elapsedTime, 5);
    rig->sendStimData(QStringLiteral(" A40 "));
    EXPECT_EQ(rig.serial.writes.back().bytes, QByteArray("A40\r"));
    EXPECT_EQ(rig->lastCommand, QStringLiteral(" A40 "));
    EXPECT_EQ(rig->elapsedTime, 0);
    EXPECT_EQ(rig.logLines().last(), QStringLiteral("Sent A40"));
    rig.advance(50);
    EXPECT_TRUE(rig->lastCommand.isEmpty());  // emptied when the reply passed
    // "K" stops the clock and hands control back; "K " is sent as "K" but is not "K".
    rig->manualControl = false;
    rig->overrideTimeout = true;
    rig->elapsedTimer.setMode(Timer::Multiple);
    rig->sendStimData(QStringLiteral("K "));
    EXPECT_EQ(rig.serial.writes.back().bytes, QByteArray("K\r"));
    EXPECT_FALSE(rig->manualControl);
    rig->sendStimData(QStringLiteral("k"));
    EXPECT_TRUE(rig->manualControl);
    EXPECT_FALSE(rig->overrideTimeout);
    EXPECT_EQ(rig->elapsedTimer.mode(), Timer::Off);
    // The serial trace needs both the log and its check box.
    rig->activityLog.logSerial.setValue(false);
    const int lines = rig.logLines().size();
    rig->sendStimData(QStringLiteral("A1"));
    rig.advance(50);
    EXPECT_EQ(rig.logLines().size(), lines);
}

TEST(DeviceChannel, RepliesAreJoinedSplitAndCleanedBeforeTheCheck) {
    Rig rig;
    rig.connect();
    // A reply torn over two reads is joined.
    rig.box().setLevelB(30);
    rig.box().inject(Sim2B::Fault::SplitReply);
    rig.advance(2500);
    EXPECT_EQ(rig->channelB.value(), 30);
    // Two lines in one read: only the first counts.
    rig.serial.deliver("700:20:20:100:100:0:L:0:2.106\n700:90:90:100:100:0:L:0:2.106\n");
    EXPECT_EQ(rig->veltoStatus.text(), QStringLiteral("700:20:20:100:100:0:L:0:2.106"));
    // "?" with CR LF is not taken out; trimmed it is "?", which passes and only shows.
    rig.serial.deliver("?\r\n");
    EXPECT_EQ(rig->veltoStatus.text(), QStringLiteral("?"));
    EXPECT_EQ(rig->channelA.value(), 10);
    // A device that never ends its line can't grow the buffer without end.
    rig.serial.deliver(QByteArray(200 * 1024, 'x'));
    EXPECT_LE(rig->veltoResults.size(), MainApp::kMaxSerialBuffer);
    rig.serial.deliver("\n");
    EXPECT_TRUE(rig->veltoResults.isEmpty());
}

TEST(DeviceChannel, TheReplyCheckComparesTheFieldOfTheLastCommand) {
    Rig rig;
    rig.open();
    rig->checkResponses = true;
    // The field of the last command against its halved value; mode numbers are not halved, and
    // letters ignore case. 101 halves to 50.5, which no level equals.
    for (const auto& [reply, commands, passes] :
         std::vector<std::tuple<const char*, const char*, bool>>{
             {"512:100:0:100:80:7:d:0:2.106", "A50 a50 B0 C50 D40 M7 Y K J1 E", true},
             {"512:100:0:100:80:7:d:0:2.106", "A51 B1 C40 D50 M1 H L Axyz", false},
             {"512:101:0:100:80:0:L:0:2.106", "L", true},
             {"512:101:0:100:80:0:L:0:2.106", "A50", false}}) {
        for (const QString& command : QString::fromLatin1(commands).split(QLatin1Char(' '))) {
            rig->lastCommand = command;
            EXPECT_EQ(rig->validateResponse(QLatin1String(reply)), passes) << command.toStdString();
        }
    }
    // Without correction, or on a master, only the field count matters.
    rig->lastCommand = QStringLiteral("A51");
    rig->checkResponses = false;
    EXPECT_TRUE(rig->validateResponse(QStringLiteral("512:100:0:100:80:0:L:0:2.106")));
    rig->checkResponses = true;
    rig->systemMode = QStringLiteral("MASTER");
    EXPECT_TRUE(rig->validateResponse(QStringLiteral("512:100:0:100:80:0:L:0:2.106")));
    // The field count is tested always and logged.
    rig->_activityToggle_Action();
    EXPECT_FALSE(rig->validateResponse(QStringLiteral("512:100:0:100:100:0:L:0")));
    EXPECT_EQ(rig.logLines().last(), QStringLiteral("Bad response length =7"));
}

TEST(DeviceChannel, AWrongReplyIsCorrectedBySendingTheCommandAgain) {
    Rig rig;
    rig.settings(QStringLiteral("errorcorrection=true\n"));
    rig.connect();
    rig->_activityToggle_Action();
    // The box does not take the level once: the reply fails and "A50" goes out again at once.
    rig.box().inject(Sim2B::Fault::WrongLevel);
    size_t mark = rig.mark();
    rig->channelA.setValue(50);
    rig.advance(15);
    EXPECT_EQ(rig->lastCmd.text(), QStringLiteral("Error detected. Correcting..."));
    rig.advance(100);
    EXPECT_EQ(rig.commandsAfter(mark), QStringList({"A50", "A50"}));
    EXPECT_TRUE(rig->lastCmd.text().isEmpty());
    EXPECT_EQ(rig.box().levelA(), 50);
    // A poll reply overtaking a level command fails against it and repeats the command.
    rig.advance(2500 - (rig.clock.nowMs() % 2500));  // the poll goes out
    mark = rig.mark();
    rig.advance(5);
    rig->channelA.setValue(60);  // while the poll's reply is in flight
    rig.advance(100);
    EXPECT_EQ(rig.commandsAfter(mark), QStringList({"A60", "A60"}));
    // A short reply, or a lone "?", is logged and corrected the same way.
    for (const auto& [fault, level, length] :
         std::vector<std::tuple<Sim2B::Fault, int, const char*>>{
             {Sim2B::Fault::BadLength, 5, "7"}, {Sim2B::Fault::LoneQuestion, 6, "-1"}}) {
        rig.box().inject(fault);
        mark = rig.mark();
        rig->channelB.setValue(level);
        rig.advance(100);
        const QString b = QStringLiteral("B%1").arg(level);
        EXPECT_EQ(rig.commandsAfter(mark), QStringList({b, b}));
        EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Bad response length =") + length));
    }
    // With nothing pending, a bad poll reply sends nothing.
    rig.box().inject(Sim2B::Fault::BadLength);
    mark = rig.mark();
    rig.advance(2500);
    EXPECT_EQ(rig.commandsAfter(mark), QStringList{});
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}
