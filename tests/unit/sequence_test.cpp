// Sequences: ticked rows top to bottom, the dip to zero between two favourites, the power
// warning, the end without a fall, and the stop.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {

// Rise 20 s (2 s a tenth), Run 1 s, Fall 5 s (0.5 s a tenth): 26 s a favourite.
Fav quick(const char* mode, const char* level, bool ticked = true, const char* power = "L") {
    return {mode, "20", "1", "5", mode, level, level, "50", "60", power, ticked};
}

}  // namespace

TEST(Sequence, TickedRowsPlayTopToBottomWithADipToZeroBetween) {
    Player rig(true, false);
    rig.add({quick("Pulse", "50", false), quick("Bounce", "10"), quick("Wave", "20"),
             quick("Throb", "70", false), quick("Milk", "30")});
    rig.fromNow();
    rig->createSequence.push();
    EXPECT_EQ(rig->randMode.text(), "Sequence");
    rig.advance(78000);
    EXPECT_EQ(rig->tickCounter.text(), "DONE");
    EXPECT_TRUE(rig->manualControl);
    rig.advance(2000);

    const std::vector<Sent> sent = rig.sent();
    EXPECT_EQ(commandsOnly(sent).filter(QRegularExpression("^M")), (QStringList{"M1", "M5", "M8"}));
    // The next block goes out above the zeros of the fall before, and the outputs stay at zero
    // until the first tick of the new rise.
    std::vector<Sent> joint;
    for (const Sent& s : sent)
        if (s.t > 26000 && s.t <= 28400) joint.push_back(s);
    EXPECT_EQ(joint, timed("26200 L, 26400 M5, 26600 D60, 26800 C50, 27000 B2, 27200 A2,"
                           "27400 B0, 27600 A0, 28200 B4, 28400 A4"));
    // Only the last favourite sends its zeros twice.
    EXPECT_EQ(std::vector<Sent>(sent.end() - 4, sent.end()),
              timed("78200 B0, 78400 A0, 78600 B0, 78800 A0"));
    EXPECT_EQ(rig.logLines().count("Sequence completed (no more commands)"), 1);

    // Unticked everywhere: nothing plays and randMode is cleared at once.
    rig->seqAllOff();
    rig.fromNow();
    rig->createSequence.push();
    rig.advance(5000);
    EXPECT_TRUE(rig->randMode.text().isEmpty());
    EXPECT_TRUE(rig.sent().empty());
}

TEST(Sequence, MixedPowerAsksFirst) {
    Player rig;
    rig.add({quick("Pulse", "10", true, "H"), quick("Bounce", "10", true, "h")});
    rig->createSequence.push();
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    EXPECT_FALSE(rig->cmdSequence.isEmpty());

    rig.add({quick("Wave", "10", true, "L")});
    rig.fromNow();
    rig->createSequence.push();  // the scripted answer is Cancel
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{"Warning: this sequence contains both High and Low power settings"});
    rig.advance(5000);
    EXPECT_TRUE(rig.sent().empty());

    rig.dialogs.answers.push_back(true);
    rig->createSequence.push();
    rig.advance(1300);
    EXPECT_EQ(commandsOnly(rig.sent()).first(), "H");
}

TEST(Sequence, NoFallEndsTheSequenceWithAKill) {
    Player rig(true, false);
    Fav first = quick("Pulse", "40");
    first.fall = "4";
    rig.add({first, quick("Bounce", "40")});
    rig.fromNow();
    rig->createSequence.push();
    rig.advance(80000);
    // The run ends at 21 s with "K" in place of a fall, and nothing plays after it.
    EXPECT_EQ(rig.sent().back(), (Sent{21200, "K"}));
    EXPECT_EQ(rig->tickCounter.text(), "DONE");
    EXPECT_EQ(rig->randMode.text(), "Sequence");
    EXPECT_TRUE(rig.logLines().contains("Sequence completed (no fall)"));
}

TEST(Sequence, StopSendsThreeKillsUnlessAFallIsUnderWay) {
    for (const bool inFall : {false, true}) {
        Player rig(false, false);
        rig.add({quick("Pulse", "40"), quick("Bounce", "40")});
        rig.fromNow();
        rig->createSequence.push();
        rig.advance(inFall ? 22600 : 5000);  // in the fall: three tenths into it
        rig.fromNow();
        if (!inFall) rig->sendStimData("K");  // as a peer's stop does it: "K" straight away
        rig->playbackStop.push();
        rig.advance(60000);
        if (inFall) {  // the fall's next tick ends it: zeros twice, above the last "K"
            EXPECT_EQ(rig.sent(), timed("200 K, 400 B0, 600 A0, 800 B0, 1000 A0, 1200 K"));
            EXPECT_EQ(rig->tickCounter.text(), "DONE");
        } else {  // then the stop's two from the queue
            EXPECT_EQ(rig.sent(), timed("0 K, 200 K, 400 K"));
            EXPECT_EQ(rig->tickCounter.text(), "STOP");
            EXPECT_TRUE(rig->stimSequence.empty() && rig->manualControl);
        }
    }
}
