// The simulated box is the yardstick of every device test, so its protocol is pinned here. Its
// faults are proven where the program meets them (device channel, serial contract).

#include <gtest/gtest.h>

#include <tuple>

#include "sim2b.h"
#include "sim_options.h"

namespace velto::sim {
namespace {

using Fault = Sim2B::Fault;

TEST(Sim2B, CommandsChangeTheStateAsTheBoxDoes) {
    const struct {
        const char* firmware;
        const char* commands;  // CR-separated
        const char* status;
    } cases[] = {
        {"2.106", "V\rXYZ\rA55\rB-3\rC250\r d99 ", "700:110:0:200:198:0:L:0:2.106"},
        // 14 modes below 2.119, 15 from it; an index beyond the list is ignored.
        {"2.106", "M5\rM14\rM-1", "700:0:0:100:100:5:L:0:2.106"},
        {"2.119", "M5\rM14", "700:0:0:100:100:14:L:0:2.119"},
        // A power command drops both outputs; dynamic power only from 2.119.
        {"2.106", "A50\rB40\rC60\rH", "700:0:0:120:100:0:H:0:2.106"},
        {"2.106", "B20\rC10\rK\rA50\rY", "700:100:0:20:100:0:L:0:2.106"},
        {"2.119", "A50\rY", "700:0:0:100:100:0:D:0:2.119"},
        // Join from 2.105; joined, an A level is also the B level.
        {"2.104", "J1\rA30", "700:60:0:100:100:0:L:0:2.104"},
        {"2.105", "J1\rA30\rB10", "700:60:20:100:100:0:L:1:2.105"},
        {"2.119", "A30\rB20\rC10\rD5\rM7\rY\rJ1\rE", "700:0:0:100:100:0:L:1:2.119"},
    };
    for (const auto& c : cases) {
        Sim2B box;
        box.setFirmware(QString::fromLatin1(c.firmware));
        // One status line answers each command.
        const QByteArray commands = QByteArray(c.commands) + '\r';
        EXPECT_EQ(box.receive(commands).size(), size_t(commands.count('\r'))) << c.commands;
        EXPECT_EQ(box.statusLine(), c.status) << c.commands;
    }
}

TEST(Sim2B, FirmwareNumberModeListAndTheHighRate) {
    for (const auto& [text, versionAndModes] : std::vector<std::pair<const char*, int>>{
             {"2.000B", 2104'14}, {"2.118", 2118'14}, {"2.119", 2119'15}, {"beta", 14}}) {
        Sim2B box;
        box.setFirmware(QString::fromLatin1(text));
        EXPECT_EQ(box.firmwareVersion() * 100 + box.modeCount(), versionAndModes) << text;
    }
    // A box that loses a mode keeps a valid index.
    Sim2B box;
    box.setFirmware(QStringLiteral("2.119"));
    box.setMode(14);
    box.setFirmware(QStringLiteral("2.106"));
    EXPECT_EQ(box.mode(), 13);
    // What follows "Z" in the same write was sent at the old rate. Still at the low rate, the
    // host is only noise: no answer, and a half command it interrupts is lost; a whole one
    // waits for its CR.
    EXPECT_TRUE(box.receive("Z\rV\r").empty());
    EXPECT_EQ(box.baud(), Sim2B::kHighBaud);
    EXPECT_TRUE(box.receiveAt(Sim2B::kHighBaud, "A4").empty());
    EXPECT_TRUE(box.receiveAt(Sim2B::kLowBaud, "V\r").empty());
    EXPECT_EQ(box.noiseBytes(), 4);
    EXPECT_EQ(box.receiveAt(Sim2B::kHighBaud, "0\r").size(), 1u);
    EXPECT_EQ(box.commands(), QStringList({"Z", "0"}));
}

TEST(SimOptions, SetTheBoxAndReportMistakes) {
    Sim2B box;
    SimOptions options;
    const QStringList args = QStringLiteral(
                                 "--firmware 2.119 --battery 300 --drop 2 --split --split "
                                 "--wrong-level --gap 50 --trace /tmp/t --exit-with-parent")
                                 .split(u' ');
    // --firmware, --trace and --exit-with-parent: proven where integration tests start the sim.
    EXPECT_EQ(applyOptions(args, box, options), QString());
    EXPECT_EQ(box.battery(), 300);
    EXPECT_EQ(box.pending(Fault::DropReply), 2);
    EXPECT_EQ(box.pending(Fault::SplitReply), 2);
    EXPECT_EQ(box.pending(Fault::WrongLevel), 1);
    EXPECT_EQ(options.gapMs, 50);
    for (const QStringList& bad : {QStringList{"--fast"}, QStringList{"--drop", "x"},
                                   QStringList{"--drop"}, QStringList{"--gap", "-1"}}) {
        Sim2B other;
        SimOptions ignored;
        EXPECT_FALSE(applyOptions(bad, other, ignored).isEmpty()) << bad.join(' ').toStdString();
    }
}

}  // namespace
}  // namespace velto::sim
