// Random and loop playback: the rounds, the waits, the boost that outlives a run, the time
// limit, and "veltorandom.ini".

#include <gtest/gtest.h>

#include <algorithm>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {

// Rise 20 s, Run 1 s, Fall 5 s with the rule off: 26 s a favourite.
Fav quick(const char* mode, const char* a = "40", const char* b = "20") {
    Fav f;
    f.name = QLatin1String(mode);
    f.mode = QLatin1String(mode);
    f.a = QLatin1String(a);
    f.b = QLatin1String(b);
    f.rise = QStringLiteral("20");
    f.run = QStringLiteral("1");
    f.fall = QStringLiteral("5");
    return f;
}

std::vector<qint64> timesOf(const std::vector<Sent>& sent, const char* command) {
    std::vector<qint64> out;
    for (const Sent& s : sent)
        if (s.cmd == QLatin1String(command)) out.push_back(s.t);
    return out;
}

}  // namespace

TEST(Random, EachTickedRowOnceAfterTheFirstDelayThenComplete) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    rig->autoAdjust = false;
    addFav(rig, quick("Bounce"));
    Fav off = quick("Throb");
    off.ticked = false;
    addFav(rig, off);
    addFav(rig, quick("Wave"));
    addFav(rig, quick("Milk"));
    rig->delayFirst.setValue(true);
    rig->firstDelay.setText(QStringLiteral("0.5"));
    const size_t mark = rig.serial.writes.size();
    const qint64 t0 = rig.clock.nowMs();
    rig->randomStart.push();
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Waiting"));
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Running"));
    rig.advance(29999);
    EXPECT_TRUE(sentSince(rig, mark, t0).empty());
    rig.advance(1);
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Random"));
    rig.advance(80000);

    const std::vector<Sent> sent = sentSince(rig, mark, t0);
    QStringList modes = commandsOnly(sent).filter(QRegularExpression(QStringLiteral("^M")));
    modes.sort();
    EXPECT_EQ(modes, (QStringList{"M1", "M5", "M8"}));
    EXPECT_EQ(timesOf(sent, "L"), (std::vector<qint64>{30200, 56200, 82200}));
    // A random run ends each favourite with one pair of zeros only.
    EXPECT_EQ(std::vector<Sent>(sent.end() - 3, sent.end()),
              (std::vector<Sent>{{107700, "A4"}, {108200, "B0"}, {108400, "A0"}}));
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Complete"));
    EXPECT_FALSE(rig->randomPlay);
    EXPECT_TRUE(rig->randomSequence.empty());
    EXPECT_FALSE(rig->manualControl);  // neither the end of the run nor its last fall gives it back
    const QStringList log = rig.logLines();
    const qsizetype start = log.indexOf(QStringLiteral("Random: starting up"));
    ASSERT_GE(start, 0);
    EXPECT_EQ(log.value(start + 1), QStringLiteral("Random: waiting 0.5 minutes to start"));
    EXPECT_EQ(log.filter(QStringLiteral("Calling random playback")).size(), 3);
    EXPECT_TRUE(log.contains(QStringLiteral("Random: sequence completed")));
}

TEST(Random, NoRowTicked) {
    Rig rig;
    rig.connect();
    const size_t mark = rig.mark();
    rig->randomStart.push();
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Complete"));
    EXPECT_FALSE(rig->randomPlay);
    // A loop reads past the end of its empty round; the boundary reports it.
    rig->randomLoop.push();
    EXPECT_EQ(rig.boundary.reports().size(), 1);

    rig.advance(5000);
    EXPECT_TRUE(sentSince(rig, mark, 0).empty());

    // With a wait between favourites it rolls over for ever instead.
    Rig waits;
    waits.connect();
    waits->delayBetween.setValue(true);
    waits->minDelay.setText(QStringLiteral("1"));
    waits->maxDelay.setText(QStringLiteral("1"));
    waits->randomLoop.push();
    EXPECT_EQ(waits->randMode.text(), QStringLiteral("Waiting 1"));
    QStringList rounds{waits->randomStatus.text()};
    for (int i = 0; i < 2; ++i) {
        waits.advance(1000);
        rounds << waits->randomStatus.text();
    }
    EXPECT_EQ(rounds, QStringList({"Loop 2", "Loop 3", "Loop 4"}));
    EXPECT_TRUE(waits.boundary.reports().isEmpty());
}

TEST(Random, RunTimesAndPowerVaryOnlyInARandomRun) {
    Rig rig;
    rig.connect();
    Fav f;
    f.a = QStringLiteral("100");
    f.b = QStringLiteral("50");
    addFav(rig, f);
    rig->randomTimes.setValue(true);
    rig->minRun.setText(QStringLiteral("5"));
    rig->maxRun.setText(QStringLiteral("5"));
    rig->randomStart.push();
    EXPECT_EQ(rig->sequenceTicks, 5);
    rig->minRun.setText(QStringLiteral("7"));
    rig->maxRun.setText(QStringLiteral("9.9"));
    rig->randomStart.push();
    EXPECT_GE(rig->sequenceTicks, 7);
    EXPECT_LE(rig->sequenceTicks, 9);

    // ±10%, truncated: 0.90 to 1.09 of each target.
    rig->randomPower.setValue(true);
    rig->randomStart.push();
    EXPECT_GE(rig->targetA, 90);
    EXPECT_LE(rig->targetA, 109);
    EXPECT_GE(rig->targetB, 45);
    EXPECT_LE(rig->targetB, 54);
    rig->halt.push();
    rig->favsList.setListIndex(0);
    rig->playSelected.push();
    EXPECT_EQ(rig->targetA, 100);
    EXPECT_EQ(rig->sequenceTicks, 180);

    // Empty fields give a Run of 0, and the countdown runs on below zero.
    rig->minRun.setText({});
    rig->maxRun.setText({});
    rig->randomStart.push();
    EXPECT_EQ(rig->sequenceTicks, 0);
    rig.advance(60000 + 30000);
    EXPECT_EQ(rig->sequenceTicks, -30);
    EXPECT_EQ(rig->rampDown.mode(), Timer::Off);
}

TEST(Random, LoopBoostGrowsEachRoundAndOutlivesTheRun) {
    Rig rig;
    rig.connect();
    rig->autoAdjust = false;
    addFav(rig, quick("Pulse"));
    rig->loopPower.setValue(true);
    rig->loopBoostA.setText(QStringLiteral("2.5"));
    rig->loopBoostB.setText(QStringLiteral("10"));  // 10 or more is ignored
    rig->randomLoop.push();
    std::vector<qint64> targets{rig->targetA};
    for (int round = 2; round <= 4; ++round) {
        rig.advance(26000);
        targets.push_back(rig->targetA);
        EXPECT_EQ(rig->targetB, 20);
    }
    // Truncated 2.5 x rounds on top of 40; the first round has no boost.
    EXPECT_EQ(targets, (std::vector<qint64>{40, 42, 45, 47}));
    EXPECT_EQ(rig->loopCount, 3);
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Loop 4"));

    // Nothing resets the count: a new loop, and a plain random run, start boosted.
    rig->randomStop.push();
    rig->randomLoop.push();
    EXPECT_EQ(rig->targetA, 47);
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Running"));
    rig->randomStop.push();
    rig->randomStart.push();
    EXPECT_EQ(rig->targetA, 47);

    // Nothing clamps the boost either.
    rig->randomStop.push();
    rig->favsList.setCell(0, 6, QStringLiteral("99"));
    rig->loopBoostA.setText(QStringLiteral("5"));
    const size_t mark = rig.serial.writes.size();
    rig->randomStart.push();
    EXPECT_EQ(rig->targetA, 114);
    rig.advance(18500);
    EXPECT_TRUE(commandsOnly(sentSince(rig, mark, 0)).contains(QStringLiteral("A114")));
}

TEST(Random, TheTimeLimitEndsTheRunWhenAFallEnds) {
    Rig rig;
    rig.connect();
    rig->autoAdjust = false;
    addFav(rig, quick("Pulse"));
    rig->randomLoop.push();
    EXPECT_EQ(rig.logLines(), QStringList{"Random: starting loop"});  // with the log closed too
    EXPECT_EQ(rig->loopTimer.mode(), Timer::Off);                     // no limit unless ticked
    rig->loopRuntime.setText(QStringLiteral("0"));
    rig->loopTimeout.setValue(true);
    rig->randomLoop.push();
    EXPECT_EQ(rig->loopTimer.mode(), Timer::Off);

    rig->_activityToggle_Action();
    rig->loopRuntime.setText(QStringLiteral("0.5"));
    const size_t mark = rig.serial.writes.size();
    const qint64 t0 = rig.clock.nowMs();
    rig->randomLoop.push();
    EXPECT_EQ(rig->loopTimer.period(), 30000);
    rig.advance(30000);
    EXPECT_TRUE(rig->terminateLoop);
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Random"));  // round 2 plays on
    rig.advance(70000);

    const std::vector<Sent> sent = sentSince(rig, mark, t0);
    EXPECT_EQ(timesOf(sent, "L"), (std::vector<qint64>{200, 26200}));
    EXPECT_EQ(sent.back(), (Sent{52400, "A0"}));
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Time up"));
    // The run is over, but the flags still say random and loop until the next resetAll.
    EXPECT_TRUE(rig->randomPlay);
    EXPECT_TRUE(rig->loopMode);
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Random"));
    EXPECT_EQ(rig->randomTimer.mode(), Timer::Off);
    const QStringList log = rig.logLines();
    for (const char* line : {"Random: looping for 0.5 minutes",
                             "Random: run time reached; stopping soon", "Random: loop finished"})
        EXPECT_TRUE(log.contains(QLatin1String(line))) << line;
}

TEST(Random, WaitsBetweenFavouritesTwiceAtTheEndOfARound) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    rig->autoAdjust = false;
    addFav(rig, quick("Pulse"));
    addFav(rig, quick("Bounce"));
    rig->delayBetween.setValue(true);
    rig->minDelay.setText(QStringLiteral("20"));
    rig->maxDelay.setText(QStringLiteral("20"));
    // The limit passes during the double wait; the favourite after it still plays in full.
    rig->loopTimeout.setValue(true);
    rig->loopRuntime.setText(QStringLiteral("1.5"));
    const size_t mark = rig.serial.writes.size();
    const qint64 t0 = rig.clock.nowMs();
    rig->randomLoop.push();
    rig.advance(30000);
    EXPECT_EQ(rig->randMode.text(), QStringLiteral("Waiting 20"));
    rig.advance(70000);
    EXPECT_TRUE(rig->terminateLoop);
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Loop 2"));
    rig.advance(100000);

    const std::vector<Sent> sent = sentSince(rig, mark, t0);
    // Favourites at 0 and 46 s within the round; the next round waits 20 s and 20 s more.
    EXPECT_EQ(timesOf(sent, "L"), (std::vector<qint64>{200, 46200, 112200}));
    EXPECT_EQ(sent.back(), (Sent{138400, "A0"}));
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Time up"));
    EXPECT_EQ(rig.logLines().filter(QStringLiteral("Random: waiting 20")).size(), 3);
}

TEST(Random, StopPushesTheStopOfPlayback) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    addFav(rig, {});
    rig->randomLoop.push();
    rig.advance(5000);
    const size_t mark = rig.serial.writes.size();
    const qint64 t0 = rig.clock.nowMs();
    rig->randomStop.push();
    rig.advance(5000);
    EXPECT_EQ(sentSince(rig, mark, t0), (std::vector<Sent>{{200, "K"}, {400, "K"}}));
    EXPECT_EQ(rig->randomStatus.text(), QStringLiteral("Stopped"));
    EXPECT_TRUE(rig->randMode.text().isEmpty());
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("STOP"));
    EXPECT_FALSE(rig->randomPlay);
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Random: stop")));
}

TEST(Random, SettingsFileReadAtStartUpAndSaved) {
    Rig rig;
    rig->minDelay.setText(QStringLiteral("kept"));
    rig.writePref(QStringLiteral("veltorandom.ini"),
                  QStringLiteral("DelayFirst=TRUE\ndelayvalue=2.5\ndelaybetween=yes\ndelaymax=9\n"
                                 "randomrun=true\nrunmin=10\nrunmax=20=x\nrandompower=false\nlooppower=true\n"
                                 "loopboosta=2.5\nloopboostb=1\nlooptimeout=true\nloopruntime=45\nother=1\n\n"));
    rig.open();
    MainApp& a = *rig;
    auto boxes = [&a] {
        QString out;
        for (const CheckBox* b : {&a.delayFirst, &a.delayBetween, &a.randomTimes, &a.randomPower, &a.loopPower,
                                  &a.loopTimeout})
            out += b->value() ? QLatin1Char('1') : QLatin1Char('0');
        return out;
    };
    auto fields = [&a] {
        QStringList out;
        for (const TextField* f : {&a.firstDelay, &a.minDelay, &a.maxDelay, &a.minRun, &a.maxRun, &a.loopBoostA,
                                   &a.loopBoostB, &a.loopRuntime})
            out << f->text();
        return out;
    };
    // "yes" is no "true"; a missing line keeps the field; a value is cut at the second "=".
    EXPECT_EQ(boxes(), QStringLiteral("101011"));
    EXPECT_EQ(fields(), QStringList({"2.5", "kept", "9", "10", "20", "2.5", "1", "45"}));

    // A known key with no "=" fails the read there; what came before it stays.
    rig.writePref(QStringLiteral("bad.ini"), QStringLiteral("delaymin=4\nrunmin\nrunmax=8\n"));
    EXPECT_THROW(rig->readRandomSettings(rig.prefPath(QStringLiteral("bad.ini"))), OutOfBounds);
    EXPECT_EQ(fields().mid(1, 4), QStringList({"4", "9", "10", "20"}));

    // All fourteen keys, in order; a mixed box counts as unticked.
    rig->delayFirst.setState(2);
    rig->minDelay.setText(QStringLiteral("a=b"));
    rig->saveRandom();
    const QString text = readText(rig.prefPath(QStringLiteral("veltorandom.ini")));
    EXPECT_EQ(text, QStringLiteral("delayfirst=false\ndelayvalue=2.5\ndelaybetween=false\ndelaymin=a=b\n"
                                   "delaymax=9\nrandomrun=true\nrunmin=10\nrunmax=20\nrandompower=false\n"
                                   "looppower=true\nloopboosta=2.5\nloopboostb=1\nlooptimeout=true\n"
                                   "loopruntime=45\n"));

    // What one copy saves, the next one reads back, but for a field holding "=".
    Rig next;
    next.writePref(QStringLiteral("veltorandom.ini"), text);
    next.open();
    EXPECT_TRUE(next->loopTimeout.value());
    EXPECT_EQ(next->loopRuntime.text(), QStringLiteral("45"));
    EXPECT_EQ(next->minDelay.text(), QStringLiteral("a"));
}
