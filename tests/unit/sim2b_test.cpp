// The simulated box is the yardstick of every device test, so its protocol is pinned here. Its
// faults are proven where the program meets them (device channel, the serial port test).

#include <gtest/gtest.h>

#include "sim2b.h"
#include "sim_options.h"

namespace velto::sim {
namespace {
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
        {"2.106", "B20\rC10\rK\rA50\rY", "700:100:0:20:100:0:L:0:2.106"},
        {"2.119", "A50\rY", "700:0:0:100:100:0:D:0:2.119"},
        // Join from 2.105; joined, an A level is also the B level. E resets all but the join.
        {"2.104", "J1\rA30", "700:60:0:100:100:0:L:0:2.104"},
        {"2.105", "J1\rA30\rB10", "700:60:20:100:100:0:L:1:2.105"},
        {"2.119", "A30\rB20\rC10\rD5\rM7\rY\rJ1\rE", "700:0:0:100:100:0:L:1:2.119"},
    };
    for (const auto& c : cases) {
        Sim2B box;
        box.setFirmware(QString::fromLatin1(c.firmware));
        const QByteArray commands = QByteArray(c.commands) + '\r';  // each answered by a line
        EXPECT_EQ(box.receive(commands).size(), size_t(commands.count('\r'))) << c.commands;
        EXPECT_EQ(box.statusLine(), c.status) << c.commands;
    }
}

TEST(Sim2B, TheHighRateAndTheOptions) {
    // What follows "Z" in its write was sent at the old rate. A host still at the low rate is
    // noise: no answer, and a half command it interrupts is lost; a whole one waits for its CR.
    Sim2B box;
    EXPECT_TRUE(box.receive("Z\rV\r").empty());
    EXPECT_EQ(box.baud(), Sim2B::kHighBaud);
    EXPECT_TRUE(box.receiveAt(Sim2B::kHighBaud, "A4").empty());
    EXPECT_TRUE(box.receiveAt(Sim2B::kLowBaud, "V\r").empty());
    EXPECT_EQ(box.noiseBytes(), 4);
    EXPECT_EQ(box.receiveAt(Sim2B::kHighBaud, "0\r").size(), 1u);
    EXPECT_EQ(box.commands(), QStringList({"Z", "0"}));
    SimOptions options;
    const QStringList args = QStringLiteral("--battery 300 --split --split --gap 50").split(u' ');
    EXPECT_EQ(applyOptions(args, box, options), QString());
    EXPECT_EQ(QList<int>({box.battery(), box.pending(Sim2B::Fault::SplitReply), options.gapMs}),
              QList<int>({300, 2, 50}));
    for (const QStringList& bad :
         {QStringList{"--fast"}, QStringList{"--gap", "-1"}, QStringList{"--drop"}})
        EXPECT_FALSE(applyOptions(bad, box, options).isEmpty()) << bad.join(' ').toStdString();
}
}  // namespace
}  // namespace velto::sim
