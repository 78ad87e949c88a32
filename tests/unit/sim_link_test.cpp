// The simulated box behind the fake port: replies come as data events at exact virtual times.

#include <gtest/gtest.h>

#include "platform/virtual_clock.h"
#include "support/sim_link.h"

namespace velto {
namespace {

struct Rig {
    VirtualClock clock;
    FakeSerialPort port{clock};
    SimLink link{port, clock};
    std::vector<std::pair<qint64, QByteArray>> reads;

    Rig() {
        port.onDataAvailable = [this] { reads.emplace_back(clock.nowMs(), port.readAll()); };
        port.open();
    }
};

TEST(SimLink, DeliversRepliesAfterTheLatencyAsSeparateReads) {
    Rig rig;
    rig.link.latencyMs = 15;
    rig.link.gapMs = 4;
    rig.link.box.inject(sim::Sim2B::Fault::SplitReply);
    rig.clock.advance(100);
    rig.port.write("A10\r");
    rig.clock.advance(14);
    EXPECT_TRUE(rig.reads.empty());
    rig.clock.advance(10);
    ASSERT_EQ(rig.reads.size(), 2u);
    EXPECT_EQ(rig.reads[0].first, 115);
    EXPECT_EQ(rig.reads[1].first, 119);
    EXPECT_EQ(rig.reads[0].second + rig.reads[1].second, "700:20:0:100:100:0:L:0:2.106\n");

    // A reply never overtakes the tail of the one before it.
    rig.reads.clear();
    rig.link.box.inject(sim::Sim2B::Fault::SplitReply);
    rig.port.write("V\r");
    rig.clock.advance(1);
    rig.port.write("V\r");
    rig.clock.advance(100);
    ASSERT_EQ(rig.reads.size(), 3u);
    EXPECT_EQ(rig.reads[0].second + rig.reads[1].second, "700:20:0:100:100:0:L:0:2.106\n");
    EXPECT_EQ(rig.reads[2].second, "700:20:0:100:100:0:L:0:2.106\n");
}

TEST(SimLink, WrongRateGetsNoAnswerAndAGoneLinkDeliversNothing) {
    Rig rig;
    rig.port.write("Z\r");
    rig.port.write("V\r");
    rig.clock.advance(1000);
    EXPECT_TRUE(rig.reads.empty());
    EXPECT_EQ(rig.link.box.noiseBytes(), 2);

    rig.port.close();
    rig.port.setBaudRate(sim::Sim2B::kHighBaud);
    rig.port.open();
    rig.port.write("V\r");
    rig.clock.advance(1000);
    ASSERT_EQ(rig.reads.size(), 1u);

    auto port = std::make_unique<FakeSerialPort>(rig.clock);
    auto link = std::make_unique<SimLink>(*port, rig.clock);
    int events = 0;
    port->onDataAvailable = [&] { ++events; };
    port->open();
    port->write("V\r");
    link.reset();
    rig.clock.advance(1000);
    EXPECT_EQ(events, 0);
}

}  // namespace
}  // namespace velto
