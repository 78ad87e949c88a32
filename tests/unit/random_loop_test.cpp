// Random and loop playback: the rounds, the waits, the boost that outlives a run, the time
// limit, the stop, and "veltorandom.ini".

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {

// Rise 20 s, Run 1 s, Fall 5 s with the rule off: 26 s a favourite.
Fav quick(const char* mode) {
    return {.name = mode, .rise = "20", .run = "1", .fall = "5", .mode = mode};
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
    Fav off = quick("Throb");
    off.ticked = false;
    rig.add({quick("Bounce"), off, quick("Wave"), quick("Milk")});
    rig->delayFirst.setValue(true);
    rig->firstDelay.setText("0.5");
    rig.fromNow();
    rig->randomStart.push();
    EXPECT_EQ(rig->randMode.text(), "Waiting");
    rig.advance(110000);

    const std::vector<Sent> sent = rig.sent();
    QStringList modes = commandsOnly(sent).filter(QRegularExpression("^M"));
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

TEST(Random, NoRowTicked) {
    Player rig;
    rig->randomStart.push();
    EXPECT_TRUE(rig->randomStatus.text() == "Complete" && !rig->randomPlay);
    // A loop reads past the end of its empty round; the boundary reports it.
    rig->randomLoop.push();
    EXPECT_EQ(rig.boundary.reports().size(), 1);

    // With a wait between favourites it rolls over for ever instead.
    Player waits;
    waits->delayBetween.setValue(true);
    waits->minDelay.setText("1"), waits->maxDelay.setText("1");
    waits->randomLoop.push();
    EXPECT_EQ(waits->randMode.text(), "Waiting 1");
    waits.advance(1999);
    EXPECT_EQ(waits->randomStatus.text(), "Loop 3");
    waits.advance(1);
    EXPECT_EQ(waits->randomStatus.text(), "Loop 4");
    EXPECT_TRUE(waits.boundary.reports().isEmpty());
}

TEST(Random, LoopBoostGrowsEachRoundOutlivesTheRunAndOnlyARandomRunVaries) {
    Player rig(false, false);
    rig.add({quick("Pulse")});
    rig->loopPower.setValue(true);
    rig->loopBoostA.setText("2.5");
    rig->loopBoostB.setText("10");  // 10 or more is ignored
    rig->randomLoop.push();
    std::vector<qint64> targets{rig->targetA};
    for (int round = 2; round <= 4; ++round) {
        rig.advance(26000);
        targets.push_back(rig->targetA);
        EXPECT_EQ(rig->targetB, 20);
    }
    // Truncated 2.5 x rounds on top of 40; the first round has no boost.
    EXPECT_EQ(targets, (std::vector<qint64>{40, 42, 45, 47}));

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
    EXPECT_EQ(rig.logLines(), QStringList{"Random: starting loop"});  // with the log closed too
    EXPECT_EQ(rig->loopTimer.mode(), Timer::Off);                     // no limit unless ticked
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
    EXPECT_EQ(rig->randomTimer.mode(), Timer::Off);
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
