// Sequences: ticked rows top to bottom, the dip to zero between two favourites, the power
// warning, the end without a fall, and the stop.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {

// Rise 20 s (2 s a tenth), Run 1 s, Fall 5 s (0.5 s a tenth): 26 s a favourite.
Fav quick(const char* mode, const char* level, bool ticked = true, const char* power = "L") {
    Fav f;
    f.name = QLatin1String(mode);
    f.mode = QLatin1String(mode);
    f.a = f.b = QLatin1String(level);
    f.rise = QStringLiteral("20");
    f.run = QStringLiteral("1");
    f.fall = QStringLiteral("5");
    f.power = QLatin1String(power);
    f.ticked = ticked;
    return f;
}

QStringList modesSent(const std::vector<Sent>& sent) {
    return commandsOnly(sent).filter(QRegularExpression(QStringLiteral("^M")));
}

}  // namespace

TEST(Sequence, TickedRowsPlayTopToBottomWithADipToZeroBetween) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    rig->autoAdjust = false;
    addFav(rig, quick("Pulse", "50", false));
    addFav(rig, quick("Bounce", "10"));
    addFav(rig, quick("Wave", "20"));
    addFav(rig, quick("Throb", "70", false));
    addFav(rig, quick("Milk", "30"));
    size_t mark = rig.mark();
    qint64 t0 = rig.clock.nowMs();
    rig->createSequence.push();
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Sequence"));
    EXPECT_EQ(rig->stimSequence, (std::vector<qint64>{4, 2}));
    rig.advance(78000);
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("DONE"));
    EXPECT_TRUE(rig->manualControl);
    rig.advance(2000);

    const std::vector<Sent> sent = sentSince(rig, mark, t0);
    EXPECT_EQ(modesSent(sent), (QStringList{"M1", "M5", "M8"}));
    // The next block goes out above the zeros of the fall before, and the outputs stay at zero
    // until the first tick of the new rise.
    std::vector<Sent> joint;
    for (const Sent& s : sent)
        if (s.t > 26000 && s.t <= 28400) joint.push_back(s);
    EXPECT_EQ(joint, (std::vector<Sent>{{26200, "L"}, {26400, "M5"}, {26600, "D60"}, {26800, "C50"}, {27000, "B2"},
                                        {27200, "A2"}, {27400, "B0"}, {27600, "A0"}, {28200, "B4"}, {28400, "A4"}}));
    // Only the last favourite sends its zeros twice.
    EXPECT_EQ(std::vector<Sent>(sent.end() - 4, sent.end()),
              (std::vector<Sent>{{78200, "B0"}, {78400, "A0"}, {78600, "B0"}, {78800, "A0"}}));
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Sequence"));  // kept until a resetAll
    EXPECT_EQ(rig.logLines().count(QStringLiteral("Sequence completed (no more commands)")), 1);

    // Order comes from the rows, and the ticks travel with them.
    rig->favsList.moveRow(4, 0);
    mark = rig.mark();
    rig->createSequence.push();
    rig.advance(80000);
    EXPECT_EQ(modesSent(sentSince(rig, mark, 0)), (QStringList{"M8", "M1", "M5"}));

    // Unticked everywhere: nothing plays and randMode is cleared at once.
    rig->seqAllOff();
    for (int row = 0; row < rig->favsList.listCount(); ++row)
        EXPECT_FALSE(rig->favsList.cellCheck(row, 4));
    mark = rig.mark();
    rig->createSequence.push();
    rig.advance(5000);
    EXPECT_TRUE(rig->randMode.text().isEmpty());
    EXPECT_TRUE(sentSince(rig, mark, 0).empty());
}

TEST(Sequence, MixedPowerAsksFirst) {
    Rig rig;
    rig.connect();
    addFav(rig, quick("Pulse", "10", true, "H"));
    addFav(rig, quick("Bounce", "10", true, "h"));
    rig->createSequence.push();
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    EXPECT_FALSE(rig->cmdSequence.isEmpty());

    addFav(rig, quick("Wave", "10", true, "L"));
    const size_t mark = rig.mark();
    rig->createSequence.push();  // the scripted answer is Cancel
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{"Warning: this sequence contains both High and Low power settings"});
    EXPECT_EQ(rig->stimSequence.size(), 3u);  // left for the next resetAll
    EXPECT_TRUE(rig->randMode.text().isEmpty());
    rig.advance(5000);
    EXPECT_TRUE(sentSince(rig, mark, 0).empty());

    rig.dialogs.answers.push_back(true);
    rig->createSequence.push();
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Sequence"));
    rig.advance(1300);
    EXPECT_EQ(commandsOnly(sentSince(rig, mark, 0)).first(), QStringLiteral("H"));
}

TEST(Sequence, NoFallEndsTheSequenceWithAKill) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    rig->autoAdjust = false;
    Fav first = quick("Pulse", "40");
    first.fall = QStringLiteral("4");
    addFav(rig, first);
    addFav(rig, quick("Bounce", "40"));
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    rig->createSequence.push();
    EXPECT_EQ(rig->fallTime, 0);
    rig.advance(80000);
    // The run ends at 21 s with "K" in place of a fall, and nothing plays after it.
    const std::vector<Sent> sent = sentSince(rig, mark, t0);
    EXPECT_EQ(sent.back(), (Sent{21200, "K"}));
    EXPECT_FALSE(commandsOnly(sent).contains(QStringLiteral("A0")));
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("DONE"));
    EXPECT_EQ(rig->stimSequence, std::vector<qint64>{1});
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Sequence"));
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Sequence completed (no fall)")));
}

TEST(Sequence, StopSendsThreeKillsUnlessAFallIsUnderWay) {
    // As a peer's stop does it: "K" straight away, then the stop's two from the queue.
    Rig rig;
    rig.connect();
    rig->autoAdjust = false;
    addFav(rig, quick("Pulse", "40"));
    addFav(rig, quick("Bounce", "40"));
    rig->createSequence.push();
    rig.advance(5000);
    size_t mark = rig.mark();
    qint64 t0 = rig.clock.nowMs();
    rig->sendStimData(QStringLiteral("K"));
    rig->playbackStop.push();
    rig.advance(60000);
    EXPECT_EQ(sentSince(rig, mark, t0), (std::vector<Sent>{{0, "K"}, {200, "K"}, {400, "K"}}));
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("STOP"));
    EXPECT_TRUE(rig->stimSequence.empty());
    EXPECT_TRUE(rig->manualControl);

    // During a fall the fall's next tick ends it: zeros twice, above the last "K".
    Rig fall;
    fall.connect();
    fall->autoAdjust = false;
    addFav(fall, quick("Pulse", "40"));
    addFav(fall, quick("Bounce", "40"));
    t0 = fall.clock.nowMs();
    fall->createSequence.push();
    fall.advance(22600);  // three tenths into the fall
    mark = fall.mark();
    fall->playbackStop.push();
    fall.advance(60000);
    EXPECT_EQ(sentSince(fall, mark, t0), (std::vector<Sent>{{22800, "K"}, {23000, "B0"}, {23200, "A0"},
                                                            {23400, "B0"}, {23600, "A0"}, {23800, "K"}}));
    EXPECT_EQ(fall->tickCounter.text(), QStringLiteral("DONE"));
}
