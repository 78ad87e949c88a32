// Sequences (ticked rows top to bottom, the dip to zero between, the power warning, the end
// without a fall, the stop), random runs and loops (rounds, waits, boost, limit), their settings.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {

// Rise 20 s (2 s a tenth), Run 1 s, Fall 5 s (0.5 s a tenth) with the rule off: 26 s a favourite.
Fav quick(const char* mode, const char* a = "40", const char* b = "20", bool ticked = true,
          const char* power = "L") {
    return {mode, "20", "1", "5", mode, a, b, "50", "60", power, ticked};
}

std::vector<qint64> timesOf(const std::vector<Sent>& sent, const char* command) {
    std::vector<qint64> out;
    for (const Sent& s : sent)
        if (s.cmd == QLatin1String(command)) out.push_back(s.t);
    return out;
}

}  // namespace

TEST(Random, EachTickedRowOnceAfterTheFirstDelayThenComplete) {
    Player rig(false, false);
    rig.add({quick("Bounce"), quick("Throb", "40", "20", false), quick("Wave"), quick("Milk")});
    rig->delayFirst.setValue(true);
    rig->firstDelay.setText("0.5");
    rig.fromNow();
    rig->randomStart.push();
    rig.advance(110000);
    const std::vector<Sent> sent = rig.sent();
    QStringList modes = rig.commandsAfter(rig.from).filter(QRegularExpression("^M"));
    modes.sort();
    EXPECT_EQ(modes, (QStringList{"M1", "M5", "M8"}));
    EXPECT_EQ(timesOf(sent, "L"), (std::vector<qint64>{30200, 56200, 82200}));
    // A random run ends each favourite with one pair of zeros only.
    EXPECT_EQ(std::vector<Sent>(sent.end() - 3, sent.end()),
              timed("107700 A4, 108200 B0, 108400 A0"));
    EXPECT_EQ(rig->randomStatus.text(), "Complete");
    // Neither the end of the run nor its last fall gives manual control back.
    EXPECT_TRUE(!rig->randomPlay && rig->randomSequence.empty() && !rig->manualControl);
}

TEST(Random, LoopBoostGrowsEachRoundOutlivesTheRunAndOnlyARandomRunVaries) {
    Player rig(false, false);
    rig.add({quick("Pulse")});
    rig->loopPower.setValue(true);
    rig->loopBoostA.setText("2.5");
    rig->loopBoostB.setText("10");  // 10 or more is ignored
    rig->randomLoop.push();
    EXPECT_EQ(rig->targetA, 40);  // the first round has no boost
    rig.advance(3 * 26000);       // the fourth round: 40 + 2.5 x 3, truncated
    EXPECT_TRUE(rig->targetA == 47 && rig->targetB == 20) << rig->targetA;

    // Stop pushes the stop of playback.
    rig.advance(5000);
    rig.fromNow();
    rig->randomStop.push();
    rig.advance(5000);
    EXPECT_EQ(rig.sent(), timed("200 K, 400 K"));
    EXPECT_TRUE(rig->randomStatus.text() == "Stopped" && !rig->randomPlay);

    // Nothing resets the count, so a plain random run starts boosted: 99 + 5 x 3, unclamped.
    // Random times draw the run from the range, cut to whole seconds.
    rig->favsList.setCell(0, 6, "99");
    rig->loopBoostA.setText("5");
    rig->randomTimes.setValue(true);
    rig->minRun.setText("7"), rig->maxRun.setText("7.9");
    rig->randomStart.push();
    EXPECT_TRUE(rig->targetA == 114 && rig->sequenceTicks == 7) << rig->targetA;
    // Random power: 0.90 to 1.09 of the boosted target, truncated.
    rig->randomPower.setValue(true);
    rig->randomStart.push();
    EXPECT_TRUE(rig->targetA >= 102 && rig->targetA <= 124) << rig->targetA;
    // By hand, nothing varies.
    rig->halt.push();
    rig->favsList.setListIndex(0);
    rig->playSelected.push();
    EXPECT_TRUE(rig->targetA == 99 && rig->sequenceTicks == 1) << rig->targetA;
}

TEST(Random, ARoundEndsWithTwoWaitsAndTheTimeLimitEndsTheRunWhenAFallEnds) {
    Player rig(false, false);
    rig.add({quick("Pulse"), quick("Bounce")});
    rig->randomLoop.push();
    EXPECT_EQ(rig->loopTimer.mode(), Timer::Off);  // no limit unless ticked
    rig->loopRuntime.setText("0");
    rig->loopTimeout.setValue(true);
    rig->randomLoop.push();
    EXPECT_EQ(rig->loopTimer.mode(), Timer::Off);
    rig->delayBetween.setValue(true);
    rig->minDelay.setText("20"), rig->maxDelay.setText("20");
    rig->loopRuntime.setText("1.5");
    rig.fromNow();
    rig->randomLoop.push();
    // The limit passes during the double wait; the favourite after it still plays in full.
    rig.advance(89999);
    EXPECT_FALSE(rig->terminateLoop);
    rig.advance(1);
    EXPECT_TRUE(rig->terminateLoop);
    rig.advance(110000);
    const std::vector<Sent> sent = rig.sent();
    // Favourites at 0 and 46 s within the round; the next round waits 20 s and 20 s more.
    EXPECT_EQ(timesOf(sent, "L"), (std::vector<qint64>{200, 46200, 112200}));
    EXPECT_EQ(sent.back(), (Sent{138400, "A0"}));
    EXPECT_EQ(rig->randomStatus.text(), "Time up");
    // The run is over, but the flags still say random and loop until the next resetAll.
    EXPECT_TRUE(rig->randomPlay && rig->loopMode);
}

TEST(Random, SettingsFileReadAtStartUpAndSaved) {
    Rig rig;
    rig->minDelay.setText("kept");
    rig.writePref(
        "veltorandom.ini",
        "DelayFirst=TRUE\ndelayvalue=2.5\ndelaybetween=yes\ndelaymax=9\nrandomrun=true\nrunmin=10\n"
        "runmax=20=x\nrandompower=false\nlooppower=true\nloopboosta=2.5\nloopboostb=1\n"
        "looptimeout=true\nloopruntime=45\nother=1\n\n");
    rig.open();
    // Written back: all fourteen keys, in order. "yes" is no "true"; a missing line keeps the
    // field; a value is cut at the second "=".
    rig->saveRandom();
    const QString path = rig.prefPath("veltorandom.ini");
    EXPECT_EQ(readText(path),
              "delayfirst=true\ndelayvalue=2.5\ndelaybetween=false\ndelaymin=kept\ndelaymax=9\n"
              "randomrun=true\nrunmin=10\nrunmax=20\nrandompower=false\nlooppower=true\n"
              "loopboosta=2.5\nloopboostb=1\nlooptimeout=true\nloopruntime=45\n");
    // A mixed box counts as unticked.
    rig->delayFirst.setState(2);
    rig->saveRandom();
    EXPECT_TRUE(readText(path).startsWith("delayfirst=false\n"));
}

TEST(Sequence, TickedRowsPlayTopToBottomWithADipToZeroBetween) {
    Player rig(true, false);
    rig.add({quick("Pulse", "50", "50", false), quick("Bounce", "10", "10"),
             quick("Wave", "20", "20"), quick("Throb", "70", "70", false),
             quick("Milk", "30", "30")});
    rig.fromNow();
    rig->createSequence.push();
    rig.advance(78000);
    EXPECT_TRUE(rig->tickCounter.text() == "DONE" && rig->manualControl);
    const std::vector<Sent> sent = rig.sent();
    EXPECT_EQ(rig.commandsAfter(rig.from).filter(QRegularExpression("^M")),
              (QStringList{"M1", "M5", "M8"}));
    // The next block goes out above the zeros of the fall before, and the outputs stay at zero
    // until the first tick of the new rise.
    std::vector<Sent> joint;
    for (const Sent& s : sent)
        if (s.t > 26000 && s.t <= 28400) joint.push_back(s);
    EXPECT_EQ(joint, timed("26200 L, 26400 M5, 26600 D60, 26800 C50, 27000 B2, 27200 A2,"
                           "27400 B0, 27600 A0, 28200 B4, 28400 A4"));

    // A run with no fall ends with "K" in its place, and nothing plays after it.
    rig->favsList.setCell(1, 3, "4");
    rig.fromNow();
    rig->createSequence.push();
    rig.advance(80000);
    EXPECT_EQ(rig.sent().back(), (Sent{21200, "K"}));
    EXPECT_TRUE(rig->tickCounter.text() == "DONE" && rig->randMode.text() == "Sequence");

    // Unticked everywhere: nothing plays, randMode is cleared, a random run is complete at once,
    // and a loop reads past the end of its empty round, which the boundary reports.
    rig->seqAllOff();
    rig.fromNow();
    rig->createSequence.push();
    EXPECT_TRUE(rig->randMode.text().isEmpty());
    rig->randomStart.push();
    EXPECT_TRUE(rig->randomStatus.text() == "Complete" && !rig->randomPlay);
    rig->randomLoop.push();
    EXPECT_EQ(rig.boundary.reports().size(), 1);
    rig.advance(5000);
    EXPECT_TRUE(rig.sent().empty());
}

TEST(Sequence, MixedPowerAsksFirst) {
    Player rig;
    rig.add({quick("Pulse", "40", "20", true, "H"), quick("Bounce", "40", "20", true, "h")});
    rig->createSequence.push();
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());  // "h" is high too
    rig.add({quick("Wave")});
    rig.fromNow();
    rig->createSequence.push();  // the scripted answer is Cancel
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{"Warning: this sequence contains both High and Low power settings"});
    rig.advance(5000);
    EXPECT_TRUE(rig.sent().empty());

    rig.dialogs.answers.push_back(true);
    rig->createSequence.push();
    rig.advance(1300);
    EXPECT_EQ(rig.commandsAfter(rig.from).first(), "H");
}

TEST(Sequence, StopSendsThreeKillsUnlessAFallIsUnderWay) {
    for (const bool inFall : {false, true}) {
        Player rig(false, false);
        rig.add({quick("Pulse"), quick("Bounce")});
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
