// Favourite playback: the first block, the rise in tenths, the run and the fall, in virtual
// time, with the queue taken from its tail.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {

// The tick counter's text after each of the steps, `ms` apart from the last.
QStringList labelsAfter(Rig& rig, const std::vector<qint64>& steps) {
    QStringList out;
    for (qint64 ms : steps) {
        rig.advance(ms);
        out << rig->tickCounter.text();
    }
    return out;
}

}  // namespace

TEST(Ramp, TheWorkedCaseCommandByCommand) {
    Rig rig;
    rig.connect();
    rig->_activityToggle_Action();
    addFav(rig, {});  // A 40, B 20, Rise 30, Run 180, Fall 10, Pulse, low; C 50, D 60
    rig->favsList.setListIndex(0);
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    rig->playSelected.push();
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("RISE"));
    EXPECT_EQ(rig->rampTimer.period(), 3000);
    EXPECT_EQ(labelsAfter(rig, {3000, 24000, 3000}), QStringList({"10%", "90%", "100%"}));
    EXPECT_EQ(rig->sequenceTicks, 180);
    EXPECT_EQ(labelsAfter(rig, {1000, 179000}), QStringList({"179", "FALL"}));
    EXPECT_EQ(rig->rampDown.period(), 1000);
    EXPECT_EQ(labelsAfter(rig, {1000, 9000}), QStringList({"90%", "DONE"}));
    rig.advance(3000);  // then the run clock takes the label over

    // clang-format off
    const std::vector<Sent> expected{
        // Power, mode, D, C, B, A: the block leaves reversed, one every 200 ms.
        {200, "L"}, {400, "M0"}, {600, "D60"}, {800, "C50"}, {1000, "B2"}, {1200, "A4"},
        // The rise: a pair each 3 s, B first.
        {3200, "B4"}, {3400, "A8"}, {6200, "B6"}, {6400, "A12"}, {9200, "B8"}, {9400, "A16"},
        {12200, "B10"}, {12400, "A20"}, {15200, "B12"}, {15400, "A24"}, {18200, "B14"},
        {18400, "A28"}, {21200, "B16"}, {21400, "A32"}, {24200, "B18"}, {24400, "A36"},
        {27200, "B20"}, {27400, "A40"},
        // 180 s of run, then the fall in tenths each second.
        {211200, "B18"}, {211400, "A36"}, {212200, "B16"}, {212400, "A32"}, {213200, "B14"},
        {213400, "A28"}, {214200, "B12"}, {214400, "A24"}, {215200, "B10"}, {215400, "A20"},
        {216200, "B8"}, {216400, "A16"}, {217200, "B6"}, {217400, "A12"}, {218200, "B4"},
        {218400, "A8"}, {219200, "B2"}, {219400, "A4"},
        // Zero, and zero again as the single favourite ends.
        {220200, "B0"}, {220400, "A0"}, {220600, "B0"}, {220800, "A0"}};
    // clang-format on
    EXPECT_EQ(sentSince(rig, mark, t0), expected);
    EXPECT_TRUE(rig->seqComplete);
    EXPECT_TRUE(rig->manualControl);
    EXPECT_EQ(rig->seqTimer.mode(), Timer::Off);
    EXPECT_EQ(rig->rampDown.mode(), Timer::Off);
    const QStringList log = rig.logLines();
    for (const char* line :
         {"Setting to target levels", "Ramp step  1", "Next commands A 8 B4", "Target levels set",
          "Commands in buffer : 1", "Reducing levels", "rampstep 0 reached", "Playback done",
          "Sequence completed (no more commands)"})
        EXPECT_TRUE(log.contains(QLatin1String(line))) << line;
}

TEST(Ramp, TheRiseAndFallRuleAndTheFirstBlock) {
    const struct {
        bool autoAdjust;
        const char *a, *b, *rise, *fall, *mode, *queue;  // the first block as appended
        qint64 rampStep, period, fallTime;
    } cases[] = {
        // Levels above 50 want a minute of rise; a short fall becomes 10.
        {true, "60", "10", "5", "0", "Pulse", "A6 B1 C50 D60 M0 L", 1, 6000, 10},
        {true, "40", "10", "45", "10", "Pulse", "A4 B1 C50 D60 M0 L", 1, 4500, 10},
        {true, "51", "10", "45", "10", "Pulse", "A5 B1 C50 D60 M0 L", 1, 6000, 10},
        {true, "20", "20", "abc", "12", "Bounce", "A2 B2 C50 D60 M1 L", 1, 3000, 12},
        // Without the rule: Rise 0 sends the levels whole, 3 starts at seven tenths, 1 counts as 2.
        {false, "40", "20", "0", "10", "Pulse", "A40 B20 C50 D60 M0 L", 9, 1200, 10},
        {false, "40", "20", "3", "4", "Pulse", "A28 B14 C50 D60 M0 L", 7, 1000, 0},
        {false, "40", "20", "1", "5", "Pulse", "A32 B16 C50 D60 M0 L", 8, 1000, 5},
        {false, "40", "25", "12", "7", "pulse", "A4 B3 C50 D60 M0 L", 1, 1200, 7},
        // A mode that is not in the table sends no "M"; the rest plays.
        {false, "40", "20", "20", "7", "Nonsense", "A4 B2 C50 D60 L", 1, 2000, 7},
    };
    for (const auto& c : cases) {
        Rig rig;
        rig.open();
        rig->autoAdjust = c.autoAdjust;
        Fav f;
        f.a = QLatin1String(c.a);
        f.b = QLatin1String(c.b);
        f.rise = QLatin1String(c.rise);
        f.fall = QLatin1String(c.fall);
        f.mode = QLatin1String(c.mode);
        addFav(rig, f);
        rig->playStimFavourite(0, false);
        SCOPED_TRACE(std::string(c.a) + "/" + c.b + " rise " + c.rise + " fall " + c.fall);
        EXPECT_EQ(rig->cmdSequence.join(QLatin1Char(' ')), QLatin1String(c.queue));
        EXPECT_EQ(rig->rampStep, c.rampStep);
        EXPECT_EQ(rig->rampTimer.period(), c.period);
        EXPECT_EQ(rig->fallTime, c.fallTime);
        EXPECT_EQ(rig->favsList.listIndex(), 0);
        EXPECT_FALSE(rig->manualControl);
    }

    // Rise 3 shows 70% at its first tick; the mode comes from the firmware's own table.
    Rig rig;
    rig.open();
    rig->autoAdjust = false;
    rig->firmwareVersion = 2119;
    Fav f;
    f.rise = QStringLiteral("3");
    f.mode = QStringLiteral("Wave");
    addFav(rig, f);
    rig->playStimFavourite(0, false);
    EXPECT_TRUE(rig->cmdSequence.contains(QStringLiteral("M6")));
    EXPECT_EQ(labelsAfter(rig, {1000}), QStringList{"70%"});
    // A row that is not there fails, and the boundary reports it.
    rig.boundary.run([&] { rig->playStimFavourite(5, false); });
    EXPECT_EQ(rig.boundary.reports().size(), 1);
}

TEST(Ramp, StackOrderLetsTheFirstPairOvertakeTheBlockAtRiseTen) {
    Rig rig;
    rig.connect();
    rig->autoAdjust = false;
    Fav f;
    f.rise = QStringLiteral("10");
    addFav(rig, f);
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    rig->playStimFavourite(0, false);
    rig.advance(2500);
    // The tick at 1 s appends above the two level commands still queued, so they go last.
    EXPECT_EQ(sentSince(rig, mark, t0),
              (std::vector<Sent>{{200, "L"}, {400, "M0"}, {600, "D60"}, {800, "C50"}, {1000, "B4"},
                                 {1200, "A8"}, {1400, "B2"}, {1600, "A4"}, {2200, "B6"}, {2400, "A12"}}));

    // Rise 0: the levels go out whole and the rise takes two ticks of 1200 ms.
    Rig zero;
    zero.connect();
    zero->autoAdjust = false;
    f.rise = QStringLiteral("0");
    addFav(zero, f);
    zero->playStimFavourite(0, false);
    EXPECT_EQ(labelsAfter(zero, {2399}), QStringList{"90%"});
    EXPECT_EQ(zero->rampTimer.mode(), Timer::Multiple);
    EXPECT_EQ(labelsAfter(zero, {1}), QStringList{"100%"});
    EXPECT_EQ(zero->rampTimer.mode(), Timer::Off);
    EXPECT_EQ(zero->runTimer.mode(), Timer::Multiple);
}

TEST(Ramp, GoToHoldsAtTheTargetAndAnAdvancedSlaveRampsItself) {
    Rig rig;
    rig.connect();
    addFav(rig, {});
    rig->gotoSelected.push();
    rig->playSelected.push();
    EXPECT_EQ(rig.dialogs.messages, QStringList({"Select a favourite setting first, then click Set",
                                                 "Select a favourite setting first, then click Play"}));
    rig->favsList.setListIndex(0);
    const size_t mark = rig.mark();
    rig->gotoSelected.push();
    rig.advance(30000);
    EXPECT_EQ(rig->tickCounter.text(), QStringLiteral("DONE"));
    EXPECT_TRUE(rig->manualControl);
    EXPECT_EQ(rig->elapsedTimer.mode(), Timer::Multiple);
    EXPECT_EQ(rig->runTimer.mode(), Timer::Off);
    rig.advance(200000);
    const QStringList sent = commandsOnly(sentSince(rig, mark, 0));
    EXPECT_EQ(sent.last(), QStringLiteral("A40"));
    EXPECT_FALSE(sent.contains(QStringLiteral("A0")));

    // A master whose slave is one of ours hands it the whole go-to, cells as they stand.
    Rig master;
    master.settings(QStringLiteral("mode=master\nhost=127.0.0.2\n"));
    master.connect();
    master->_activityToggle_Action();
    master.peerJoins(master.remoteControl);
    Fav f;
    f.rise = QStringLiteral("5");
    f.power = QStringLiteral("H");
    addFav(master, f);
    master->favsList.setListIndex(0);
    master->advancedRemote = true;
    master.remoteControl.sent.clear();
    master->gotoSelected.push();
    EXPECT_EQ(peerLines(master), QStringList{";goto=40,20,50,60,5,0,H"});
    EXPECT_FALSE(master->manualControl);
    EXPECT_EQ(master->rampTimer.mode(), Timer::Off);
    EXPECT_TRUE(master.logLines().contains(QStringLiteral("Sending remote command ;goto=40,20,50,60,5,0,H")));

    // Without the extended language the go-to plays here and its commands go to the slave.
    master.remoteControl.sent.clear();
    master->advancedRemote = false;
    master->gotoSelected.push();
    master.advance(1300);
    EXPECT_EQ(peerLines(master), QStringList({"H", "M0", "D60", "C50", "B2", "A4"}));
}

TEST(Ramp, RunZeroCountsOnBelowZero) {
    Rig rig;
    connectSlaveWithPeer(rig);
    Fav f;
    f.run = QStringLiteral("0");
    addFav(rig, f);
    rig->playStimFavourite(0, false);
    EXPECT_EQ(labelsAfter(rig, {130000}), QStringList{"-100"});
    EXPECT_EQ(rig->sequenceTicks, -100);
    EXPECT_EQ(rig->runTimer.mode(), Timer::Multiple);
    EXPECT_EQ(rig->rampDown.mode(), Timer::Off);
    const QStringList lines = statusLines(rig);
    const qsizetype first = lines.indexOf(QStringLiteral(";STATUS:countdown=-1"));
    ASSERT_GE(first, 0);
    EXPECT_EQ(lines.at(first + 1), QStringLiteral(";STATUS:sequence=true"));
}

TEST(Ramp, HaltOrANewFavouriteDuringAFall) {
    // Halt leaves the fall running; its next tick finds rampStep 1 and ends at zero, twice.
    Rig rig;
    rig.connect();
    addFav(rig, {});
    const qint64 t0 = rig.clock.nowMs();
    rig->playStimFavourite(0, false);
    rig.advance(213500);
    size_t mark = rig.mark();
    rig->halt.push();
    EXPECT_EQ(labelsAfter(rig, {500}), QStringList{"DONE"});
    rig.advance(1500);
    EXPECT_EQ(sentSince(rig, mark, t0),
              (std::vector<Sent>{{214200, "B0"}, {214400, "A0"}, {214600, "B0"}, {214800, "A0"}}));
    EXPECT_EQ(rig->rampDown.mode(), Timer::Off);

    // A new favourite during a fall: both timers count rampStep until the fall reaches zero,
    // and the new rise starts again from 0%.
    Rig two;
    two.connect();
    addFav(two, {});
    Fav next;
    next.a = next.b = QStringLiteral("30");
    next.c = QStringLiteral("40");
    next.d = QStringLiteral("45");
    next.mode = QStringLiteral("Bounce");
    addFav(two, next);
    const qint64 s0 = two.clock.nowMs();
    two->playStimFavourite(0, false);
    two.advance(213500);
    mark = two.mark();
    two->favsList.setListIndex(1);
    two->playSelected.push();
    EXPECT_EQ(labelsAfter(two, {500, 2500}), QStringList({"DONE", "0%"}));
    EXPECT_EQ(two->rampDown.mode(), Timer::Off);
    two.advance(3500);
    EXPECT_EQ(sentSince(two, mark, s0),
              (std::vector<Sent>{{213700, "L"}, {213900, "M1"}, {214100, "B0"}, {214300, "A0"},
                                 {214500, "D45"}, {214700, "C40"}, {214900, "B3"}, {215100, "A3"},
                                 {216700, "B3"}, {216900, "A3"}, {219700, "B6"}, {219900, "A6"}}));
}

TEST(Ramp, LinesToAPeerInBothWordings) {
    // The ";STATUS:" wording, the one in use.
    Rig rig;
    connectSlaveWithPeer(rig);
    rig->autoAdjust = false;
    Fav f;
    f.rise = QStringLiteral("10");
    f.run = QStringLiteral("2");
    f.fall = QStringLiteral("5");
    addFav(rig, f);
    rig->playStimFavourite(0, false);
    rig.advance(20000);
    QStringList expected;
    for (int p = 10; p <= 100; p += 10) expected << QStringLiteral(";STATUS:percent=%1").arg(p);
    expected << ";STATUS:percent=DONE" << ";STATUS:countdown=1" << ";STATUS:sequence=true"
             << ";STATUS:countdown=0" << ";STATUS:sequence=false";
    for (int p = 90; p >= 0; p -= 10) expected << QStringLiteral(";STATUS:percent=%1").arg(p);
    expected << ";STATUS:percent=DONE";
    EXPECT_EQ(statusLines(rig), expected);

    // In a random run the status lines say so, and in a loop too.
    rig.remoteControl.sent.clear();
    rig->randomLoop.push();
    rig.advance(1000);
    EXPECT_EQ(statusLines(rig), QStringList({";STATUS:percent=10", ";STATUS:random=true", ";STATUS:loop=true"}));

    // The ";PROGRESS:" wording, with its suffixes.
    rig->useProgress = true;
    rig.remoteControl.sent.clear();
    rig->randomLoop.push();
    rig.advance(1000);
    EXPECT_EQ(statusLines(rig), QStringList{";PROGRESS:RISING 10% (loop)"});
    rig.advance(11500);
    const QStringList lines = statusLines(rig);
    EXPECT_TRUE(lines.contains(QStringLiteral(";PROGRESS:DONE")));
    EXPECT_EQ(lines.last(), QStringLiteral(";PROGRESS:FALLING 90% (loop)"));
    rig->randomStop.push();
    rig.advance(1000);  // the fall outlives the stop by one tick
    rig.remoteControl.sent.clear();
    rig->randomStart.push();
    rig.advance(1000);
    EXPECT_EQ(statusLines(rig), QStringList{";PROGRESS:RISING 10% (random)"});
    rig->halt.push();
    rig.remoteControl.sent.clear();
    rig->playStimFavourite(0, false);  // playing by hand is neither random nor loop
    rig.advance(1000);
    EXPECT_EQ(statusLines(rig), QStringList{";PROGRESS:RISING 10%"});

    // A slave in HTTP mode off the broker reports nothing.
    rig->httpSlave = true;
    rig.remoteControl.sent.clear();
    rig.advance(1000);
    EXPECT_TRUE(statusLines(rig).isEmpty());
}
