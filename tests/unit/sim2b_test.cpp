// The simulated box is the yardstick of every device test, so its protocol is pinned here.

#include <gtest/gtest.h>

#include "sim2b.h"
#include "sim_options.h"

namespace velto::sim {
namespace {

using Fault = Sim2B::Fault;

QByteArray joined(const std::vector<QByteArray>& chunks) {
    QByteArray all;
    for (const QByteArray& chunk : chunks) all += chunk;
    return all;
}

TEST(Sim2B, AnswersEveryCommandWithOneStatusLine) {
    Sim2B box;
    EXPECT_EQ(box.statusLine(), "700:0:0:100:100:0:L:0:2.106");
    for (const char* command : {"", "V", "S", "XYZ", "A", "AX", "J2", "HH"}) {
        SCOPED_TRACE(command);
        const auto chunks = box.receive(QByteArray(command) + '\r');
        ASSERT_EQ(chunks.size(), 1u);
        EXPECT_EQ(chunks[0], "700:0:0:100:100:0:L:0:2.106\n");
    }
    // Several commands in one write get an answer each; a torn command waits for its CR.
    EXPECT_EQ(box.receive("A10\rB2").size(), 1u);
    EXPECT_TRUE(box.receive("0").empty());
    const auto last = box.receive("\r");
    ASSERT_EQ(last.size(), 1u);
    EXPECT_EQ(last[0], "700:20:40:100:100:0:L:0:2.106\n");
    EXPECT_EQ(box.commands().mid(8), QStringList({"A10", "B20"}));
}

struct CommandCase {
    const char* firmware;
    const char* commands;  // CR-separated
    const char* status;
};

// A readable, stable name for each case in test listings: "2.106 A55|B7|C0|D99".
void PrintTo(const CommandCase& c, std::ostream* os) {
    *os << c.firmware << ' ' << QString::fromLatin1(c.commands).replace(QLatin1Char('\r'), QLatin1Char('|')).toStdString();
}

class Sim2BCommands : public testing::TestWithParam<CommandCase> {};

TEST_P(Sim2BCommands, ChangeTheStateAsTheBoxDoes) {
    const CommandCase& c = GetParam();
    Sim2B box;
    box.setFirmware(QString::fromLatin1(c.firmware));
    box.receive(QByteArray(c.commands) + '\r');
    EXPECT_EQ(box.statusLine(), c.status) << c.commands;
}

INSTANTIATE_TEST_SUITE_P(
    Table, Sim2BCommands,
    testing::Values(CommandCase{"2.106", "A55\rB7\rC0\rD99", "700:110:14:0:198:0:L:0:2.106"},
                    CommandCase{"2.106", "A150\rB-3\rC250", "700:200:0:200:100:0:L:0:2.106"},
                    CommandCase{"2.106", "a20\r d30 ", "700:40:0:100:60:0:L:0:2.106"},
                    CommandCase{"2.106", "A30\rAX\rA 5", "700:60:0:100:100:0:L:0:2.106"},
                    // 14 modes below 2.119, 15 from it; an index beyond the list is ignored.
                    CommandCase{"2.106", "M13", "700:0:0:100:100:13:L:0:2.106"},
                    CommandCase{"2.106", "M5\rM14\rM-1", "700:0:0:100:100:5:L:0:2.106"},
                    CommandCase{"2.119", "M5\rM14", "700:0:0:100:100:14:L:0:2.119"},
                    CommandCase{"2.119", "M5\rM15", "700:0:0:100:100:5:L:0:2.119"},
                    // A power command drops both outputs; dynamic power only from 2.119.
                    CommandCase{"2.106", "A50\rB40\rC60\rH", "700:0:0:120:100:0:H:0:2.106"},
                    CommandCase{"2.106", "A50\rH\rA50\rL", "700:0:0:100:100:0:L:0:2.106"},
                    CommandCase{"2.106", "A50\rY", "700:100:0:100:100:0:L:0:2.106"},
                    CommandCase{"2.119", "A50\rY", "700:0:0:100:100:0:D:0:2.119"},
                    // Join from past 2.104; joined, an A level is also the B level.
                    CommandCase{"2.104", "J1\rA30", "700:60:0:100:100:0:L:0:2.104"},
                    CommandCase{"2.000B", "J1\rA30", "700:60:0:100:100:0:L:0:2.000B"},
                    CommandCase{"2.105", "J1\rA30\rB10", "700:60:20:100:100:0:L:1:2.105"},
                    CommandCase{"2.105", "J1\rJ0\rA30", "700:60:0:100:100:0:L:0:2.105"},
                    CommandCase{"2.106", "A30\rB20\rC10\rK", "700:0:0:20:100:0:L:0:2.106"},
                    CommandCase{"2.119", "A30\rB20\rC10\rD5\rM7\rY\rJ1\rE",
                                "700:0:0:100:100:0:L:1:2.119"}));

TEST(Sim2B, FirmwareNumberAndModeList) {
    struct {
        const char* text;
        int version;
        int modes;
    } const cases[] = {{"2.106", 2106, 14}, {"2.000B", 2104, 14}, {"2.000b", 2104, 14},
                       {"2.000", 2000, 14}, {"2.118", 2118, 14},  {"2.119", 2119, 15},
                       {"2.2x", 2200, 15},  {"3", 3000, 15},      {"beta", 0, 14}};
    for (const auto& c : cases) {
        Sim2B box;
        box.setMode(13);
        box.setFirmware(QString::fromLatin1(c.text));
        EXPECT_EQ(box.firmwareVersion(), c.version) << c.text;
        EXPECT_EQ(box.modeCount(), c.modes) << c.text;
    }
    // A box that loses a mode keeps a valid index.
    Sim2B box;
    box.setFirmware(QStringLiteral("2.119"));
    box.setMode(14);
    box.setFirmware(QStringLiteral("2.106"));
    EXPECT_EQ(box.mode(), 13);
}

TEST(Sim2B, HighRateSwitchAndNoise) {
    Sim2B box;
    // What follows "Z" in the same write was sent at the old rate.
    EXPECT_TRUE(box.receive("Z\rV\r").empty());
    EXPECT_EQ(box.baud(), Sim2B::kHighBaud);
    // Still at the low rate, the host is only noise: no answer, and a half command it
    // interrupts is lost.
    EXPECT_TRUE(box.receiveAt(Sim2B::kHighBaud, "A4").empty());
    EXPECT_TRUE(box.receiveAt(Sim2B::kLowBaud, "V\r").empty());
    EXPECT_EQ(box.noiseBytes(), 4);
    const auto reply = box.receiveAt(Sim2B::kHighBaud, "0\r");
    ASSERT_EQ(reply.size(), 1u);
    EXPECT_EQ(box.levelA(), 0);
    EXPECT_EQ(box.commands(), QStringList({"Z", "0"}));
}

TEST(Sim2B, FaultsMisshapeOnlyTheArmedReplies) {
    const QByteArray line = "700:0:0:100:100:0:L:0:2.106\n";
    {
        Sim2B box;
        box.inject(Fault::DropReply, 2);
        box.inject(Fault::LoneQuestion);
        EXPECT_TRUE(box.receive("V\rV\r").empty());
        EXPECT_EQ(joined(box.receive("V\r")), "?\n");
        EXPECT_EQ(joined(box.receive("V\r")), line);
    }
    {
        Sim2B box;
        box.inject(Fault::BadLength);
        EXPECT_EQ(joined(box.receive("V\r")), "700:0:0:100:100:0:L:0\n");
        EXPECT_EQ(joined(box.receive("V\r")), line);
    }
    {
        Sim2B box;
        box.inject(Fault::SplitReply);
        const auto torn = box.receive("V\r");
        ASSERT_EQ(torn.size(), 2u);
        EXPECT_FALSE(torn[0].contains('\n'));
        EXPECT_EQ(torn[0] + torn[1], line);
        EXPECT_EQ(box.receive("V\r").size(), 1u);
    }
    {
        // The held answer comes first, with the state of its own time.
        Sim2B box;
        box.inject(Fault::DoubleReply);
        EXPECT_TRUE(box.receive("A10\r").empty());
        const auto both = box.receive("A20\r");
        ASSERT_EQ(both.size(), 1u);
        EXPECT_EQ(both[0], "700:20:0:100:100:0:L:0:2.106\n700:40:0:100:100:0:L:0:2.106\n");
        EXPECT_EQ(box.receive("V\r").size(), 1u);
    }
    {
        // A level not taken: the answer is one step off and a re-send puts it right.
        Sim2B box;
        box.inject(Fault::WrongLevel, 2);
        EXPECT_EQ(joined(box.receive("A50\r")), "700:102:0:100:100:0:L:0:2.106\n");
        EXPECT_EQ(box.levelA(), 0);
        EXPECT_EQ(joined(box.receive("V\rD100\r")), line + "700:0:0:100:198:0:L:0:2.106\n");
        EXPECT_EQ(joined(box.receive("A50\r")), "700:100:0:100:100:0:L:0:2.106\n");
        EXPECT_EQ(box.pending(Fault::WrongLevel), 0);
    }
    {
        Sim2B box;
        box.inject(Fault::SplitReply, 3);
        box.clearFaults();
        EXPECT_EQ(box.receive("V\r").size(), 1u);
    }
}

TEST(Sim2B, ReportsEachCommandTaken) {
    Sim2B box;
    QStringList seen;
    box.onCommand = [&](const QString& command) { seen << command; };
    box.receive(" a5 \r\rZ\r");
    EXPECT_EQ(seen, QStringList({"a5", "", "Z"}));
    EXPECT_EQ(box.commands(), seen);
}

TEST(SimOptions, SetTheBoxAndReportMistakes) {
    Sim2B box;
    SimOptions options;
    const QStringList args = {"--firmware",
                              "2.119",
                              "--battery",
                              "300",
                              "--drop",
                              "2",
                              "--split",
                              "--split",
                              "--double",
                              "--bad-length",
                              "--lone-question",
                              "--wrong-level",
                              "--gap",
                              "50",
                              "--trace",
                              "/tmp/t",
                              "--exit-with-parent"};
    EXPECT_EQ(applyOptions(args, box, options), QString());
    EXPECT_EQ(box.firmwareVersion(), 2119);
    EXPECT_EQ(box.battery(), 300);
    EXPECT_EQ(box.pending(Fault::DropReply), 2);
    EXPECT_EQ(box.pending(Fault::SplitReply), 2);
    for (Fault f : {Fault::DoubleReply, Fault::BadLength, Fault::LoneQuestion, Fault::WrongLevel})
        EXPECT_EQ(box.pending(f), 1);
    EXPECT_EQ(options.gapMs, 50);
    EXPECT_EQ(options.trace, "/tmp/t");
    EXPECT_TRUE(options.exitWithParent);
    EXPECT_FALSE(options.help);

    for (const QStringList& bad : {QStringList{"--fast"}, QStringList{"--drop"},
                                   QStringList{"--drop", "x"}, QStringList{"--gap", "-1"}}) {
        Sim2B other;
        SimOptions ignored;
        EXPECT_FALSE(applyOptions(bad, other, ignored).isEmpty()) << bad.join(' ').toStdString();
    }
}

}  // namespace
}  // namespace velto::sim
