// Favourite playback (the first block, the rise in tenths, the run, the fall) and level moves
// (targets, the adjusting rule, the pairs tick by tick), in virtual time.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;
using namespace Qt::StringLiterals;

namespace {
void startMove(Rig& rig, const char* a, const char* b, const char* seconds) {
    rig->adjustA.setText(QLatin1String(a));
    rig->adjustB.setText(QLatin1String(b));
    rig->adjustTime.setText(QLatin1String(seconds));
    rig->Adjust.push();
}
}  // namespace

TEST(Ramp, TheWorkedCaseCommandByCommandThenAGoTo) {
    Player rig(true);
    rig.add({{}});  // A 40, B 20, Rise 30, Run 180, Fall 10, Pulse, low; C 50, D 60
    rig->gotoSelected.push();
    rig->playSelected.push();
    EXPECT_EQ(rig.dialogs.messages,
              QStringList({"Select a favourite setting first, then click Set",
                           "Select a favourite setting first, then click Play"}));
    rig->favsList.setListIndex(0);
    rig.fromNow();
    rig->playSelected.push();
    EXPECT_EQ(rig->tickCounter.text(), "RISE");
    EXPECT_EQ(labelsAfter(rig, {3000, 24000, 3000, 1000, 179000, 1000, 9000}),
              QStringList({"10%", "90%", "100%", "179", "FALL", "90%", "DONE"}));
    rig.advance(3000);

    // The block leaves reversed, one every 200 ms; the rise a pair each 3 s, B first; 180 s of
    // run; the fall in tenths each second; zero, and zero again as the single favourite ends.
    const std::vector<Sent> expected = timed(
        "200 L, 400 M0, 600 D60, 800 C50, 1000 B2, 1200 A4, 3200 B4, 3400 A8, 6200 B6, 6400 A12,"
        "9200 B8, 9400 A16, 12200 B10, 12400 A20, 15200 B12, 15400 A24, 18200 B14, 18400 A28,"
        "21200 B16, 21400 A32, 24200 B18, 24400 A36, 27200 B20, 27400 A40, 211200 B18,"
        "211400 A36, 212200 B16, 212400 A32, 213200 B14, 213400 A28, 214200 B12, 214400 A24,"
        "215200 B10, 215400 A20, 216200 B8, 216400 A16, 217200 B6, 217400 A12, 218200 B4,"
        "218400 A8, 219200 B2, 219400 A4, 220200 B0, 220400 A0, 220600 B0, 220800 A0");
    EXPECT_EQ(rig.sent(), expected);
    EXPECT_TRUE(rig->seqComplete && rig->manualControl && rig->rampDown.mode() == Timer::Off);
    EXPECT_TRUE(rig.logLines().contains("Setting to target levels"));

    // Go-to holds at the target: no run, no fall.
    rig.fromNow();
    rig->gotoSelected.push();
    rig.advance(30000);
    EXPECT_EQ(rig->tickCounter.text(), "DONE");
    EXPECT_TRUE(rig->manualControl && rig->elapsedTimer.mode() == Timer::Multiple);
    rig.advance(200000);
    EXPECT_EQ(rig.sent().back(), (Sent{27400, "A40"}));
}

TEST(Ramp, TheRiseAndFallRuleAndTheFirstBlock) {
    const struct {
        bool autoAdjust;
        const char *a, *b, *rise, *fall, *mode, *queue;  // the first block as appended
        qint64 rampStep, period, fallTime;
    } cases[] = {
        // Levels above 50 want a minute of rise; a short fall becomes 10.
        {true, "60", "10", "5", "0", "Pulse", "A6 B1 C50 D60 M0 L", 1, 6000, 10},
        {true, "50", "10", "45", "10", "Pulse", "A5 B1 C50 D60 M0 L", 1, 4500, 10},
        {true, "51", "10", "45", "10", "Pulse", "A5 B1 C50 D60 M0 L", 1, 6000, 10},
        {true, "20", "20", "abc", "12", "Bounce", "A2 B2 C50 D60 M1 L", 1, 3000, 12},
        // Without the rule: Rise 0 sends the levels whole, 3 starts at seven tenths, 1 counts as 2.
        {false, "40", "20", "0", "10", "Pulse", "A40 B20 C50 D60 M0 L", 9, 1200, 10},
        {false, "40", "20", "3", "4", "Wave", "A28 B14 C50 D60 M6 L", 7, 1000, 0},
        {false, "40", "20", "1", "5", "Pulse", "A32 B16 C50 D60 M0 L", 8, 1000, 5},
        // The mode comes from the firmware's own table; one not in it sends no "M".
        {false, "40", "20", "20", "7", "Nonsense", "A4 B2 C50 D60 L", 1, 2000, 7},
    };
    for (const auto& c : cases) {
        Rig rig;
        rig.open();
        rig->autoAdjust = c.autoAdjust;
        rig->firmwareVersion = 2119;
        addFav(rig, {.rise = c.rise, .fall = c.fall, .mode = c.mode, .a = c.a, .b = c.b});
        rig->playStimFavourite(0, false);
        EXPECT_EQ(rig->cmdSequence.join(u' '), c.queue) << c.a << " rise " << c.rise;
        EXPECT_EQ(QList<qint64>({rig->rampStep, rig->rampTimer.period(), rig->fallTime}),
                  QList<qint64>({c.rampStep, c.period, c.fallTime}))
            << c.a << " rise " << c.rise << " fall " << c.fall;
    }
}

TEST(Ramp, AnAdvancedSlaveRampsAGoToItself) {
    // A master whose slave is one of ours hands it the whole go-to, cells as they stand.
    Rig master;
    master.settings("mode=master\nhost=127.0.0.2\n");
    master.connect();
    master.peerJoins(master.remoteControl);
    addFav(master, {.rise = "5", .power = "H"});
    master->favsList.setListIndex(0);
    master->advancedRemote = true;
    master.remoteControl.sent.clear();
    master->gotoSelected.push();
    EXPECT_EQ(statusLines(master), QStringList{";goto=40,20,50,60,5,0,H"});
    EXPECT_FALSE(master->manualControl);
}

TEST(Ramp, HaltOrANewFavouriteDuringAFall) {
    // Halt leaves the fall running; its next tick finds rampStep 1 and ends at zero, twice. A new
    // favourite instead: both timers count rampStep to zero, and the new rise starts from nothing.
    const Fav next{.mode = "Bounce", .a = "30", .b = "30", .c = "40", .d = "45"};
    const struct {
        bool halt;
        const char* sent;  // from the start of the first favourite
    } cases[] = {{true, "214200 B0, 214400 A0, 214600 B0, 214800 A0"},
                 {false,
                  "213700 L, 213900 M1, 214100 B0, 214300 A0, 214500 D45, 214700 C40,"
                  "214900 B3, 215100 A3, 216700 B3, 216900 A3, 219700 B6, 219900 A6"}};
    for (const auto& c : cases) {
        Player rig;
        rig.add({{}, next});
        rig.fromNow();
        rig->playStimFavourite(0, false);
        rig.advance(213500);
        rig.from = rig.mark();
        if (c.halt) {
            rig->halt.push();
        } else {
            rig->favsList.setListIndex(1);
            rig->playSelected.push();
        }
        EXPECT_EQ(labelsAfter(rig, {500}), QStringList{"DONE"});
        rig.advance(c.halt ? 1500 : 6000);
        EXPECT_EQ(rig.sent(), timed(c.sent)) << c.halt;
    }
}

TEST(Ramp, LinesToAPeerInBothWordingsAndARunOfZero) {
    Rig rig;
    connectSlaveWithPeer(rig);
    rig->autoAdjust = false;
    addFav(rig, {.rise = "10", .run = "2", .fall = "5"});
    rig->playStimFavourite(0, false);
    rig.advance(20000);
    QStringList expected;
    for (int p = 10; p <= 100; p += 10) expected << u";STATUS:percent=%1"_s.arg(p);
    expected += {";STATUS:percent=DONE", ";STATUS:countdown=1", ";STATUS:sequence=true",
                 ";STATUS:countdown=0", ";STATUS:sequence=false"};
    for (int p = 90; p >= 0; p -= 10) expected << u";STATUS:percent=%1"_s.arg(p);
    expected << ";STATUS:percent=DONE";
    EXPECT_EQ(statusLines(rig), expected);

    // In a random run the status lines say so, and in a loop too.
    rig.remoteControl.sent.clear();
    rig->randomLoop.push();
    rig.advance(1000);
    EXPECT_EQ(statusLines(rig),
              QStringList({";STATUS:percent=10", ";STATUS:random=true", ";STATUS:loop=true"}));

    // The ";PROGRESS:" wording, with its suffixes: "(loop)", "(random)", or none by hand.
    rig->useProgress = true;
    rig.remoteControl.sent.clear();
    rig->randomLoop.push();
    rig.advance(12500);
    EXPECT_EQ(statusLines(rig).first(), ";PROGRESS:RISING 10% (loop)");
    EXPECT_EQ(statusLines(rig).last(), ";PROGRESS:FALLING 90% (loop)");
    rig->randomStop.push();
    rig.advance(1000);  // the fall outlives the stop by one tick
    rig.remoteControl.sent.clear();
    rig->randomStart.push();
    rig.advance(1000);
    rig->halt.push();
    rig->playStimFavourite(0, false);
    rig.advance(1000);
    EXPECT_EQ(statusLines(rig),
              QStringList({";PROGRESS:RISING 10% (random)", ";PROGRESS:RISING 10%"}));
    // Run 0 counts on below zero, and no fall starts.
    addFav(rig, {.run = "0"});
    rig->halt.push();
    rig->playStimFavourite(1, false);
    EXPECT_EQ(labelsAfter(rig, {130000}), QStringList{"-100"});
    EXPECT_TRUE(statusLines(rig).join(u'|').contains(";STATUS:countdown=-1|;STATUS:sequence=true"));

    // A slave in HTTP mode off the broker reports nothing.
    rig->httpSlave = true;
    rig.remoteControl.sent.clear();
    rig.advance(1000);
    EXPECT_TRUE(statusLines(rig).isEmpty());
}

TEST(Move, RelativeAbsoluteAndClampedTargetsAndAMoveToAFavourite) {
    const std::tuple<const char*, int, int> targets[] = {
        {"+10", 95, 100}, {"-10", 5, 0},  {"+", 40, 40},   {"+7.9", 40, 47},
        {"30", 70, 30},   {"abc", 70, 0}, {"150", 0, 100}, {" +10", 50, 10}};
    for (const auto& [text, current, target] : targets)
        EXPECT_EQ(MainApp::adjustTarget(QLatin1String(text), current), target) << text;

    Rig rig;
    connectSlaveWithPeer(rig);
    // To a favourite: cells 6 and 7 are the targets and the Rise is the time.
    rig->adjustSelected.push();
    rig->favsList.setListIndex(addFav(rig, {.rise = "40", .a = "20", .b = "8"}));
    rig->adjustSelected.push();
    EXPECT_TRUE(rig->diffA == 20 && rig->diffB == 8 && rig->moveTimer.period() == 2000);
    // Too short with the rule off: resetAll has run, no message box, an error to the peer.
    rig->autoAdjust = false;
    rig->favsList.setCell(0, 1, u"5"_s);
    rig.remoteControl.sent.clear();
    rig->adjustSelected.push();
    EXPECT_EQ(rig->moveTimer.mode(), Timer::Off);
    EXPECT_EQ(statusLines(rig), QStringList{";ERROR:1=Too many steps, or time period too short"});

    // A move: each level from the start, rounded; the steps are those of the longer way.
    rig.box().setLevelA(95);
    rig.box().setLevelB(5);
    rig.advance(2500);
    rig.remoteControl.sent.clear();
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    startMove(rig, "+10", "-2", "20");
    EXPECT_EQ(labelsAfter(rig, {4000, 16000, 4000}), QStringList({"20%", "100%", "DONE"}));
    EXPECT_TRUE(rig->manualControl && rig->elapsedTimer.mode() == Timer::Multiple &&
                rig->moveTimer.mode() == Timer::Off);
    // Each pair leaves B first; the move takes one period more than its time.
    EXPECT_EQ(sentSince(rig, mark, t0),
              timed("4200 B5, 4400 A96, 8200 B4, 8400 A97, 12200 B4,"
                    "12400 A98, 16200 B3, 16400 A99, 20200 B3, 20400 A100"));
    EXPECT_EQ(statusLines(rig),
              QStringList({";STATUS:percent=20", ";STATUS:percent=40", ";STATUS:percent=60",
                           ";STATUS:percent=80", ";STATUS:percent=100", ";STATUS:percent=DONE"}));

    // Nothing to move ends on the first tick.
    rig.remoteControl.sent.clear();
    startMove(rig, "+0", "+", "5");
    EXPECT_EQ(labelsAfter(rig, {1000}), QStringList{"DONE"});
    EXPECT_EQ(statusLines(rig), QStringList{";STATUS:percent=DONE"});

    // By hand, refused before resetAll: equal passes; a fraction is compared whole, then cut.
    const std::tuple<const char*, const char*, bool, bool, int> byHand[] = {
        {"-20", "20", false, false, 1000},
        {"-31", "30.9", false, true, 1000},
        {"-31", "30.9", true, false, 1000},
        {"-10", "30.9", false, false, 3000}};
    for (const auto& [a, time, autoAdjust, refused, period] : byHand) {
        rig->halt.push();
        rig->autoAdjust = autoAdjust;
        rig->cmdSequence = {u"X"_s};
        startMove(rig, a, "", time);
        EXPECT_EQ(rig->cmdSequence, refused ? QStringList{"X"} : QStringList{}) << a << " " << time;
        EXPECT_EQ(rig->moveTimer.period(), period) << a << " in " << time;
    }
    EXPECT_EQ(rig.dialogs.messages,
              QStringList({"Select a favourite setting first, then click Jump",
                           "Can't adjust - too many steps, or too short a time period. "
                           "Number of seconds must be more than the number of steps"}));
    // Written with the log closed: the one line of a move that is.
    EXPECT_TRUE(rig.logLines().contains(u"Move: adjusting period to 31 seconds"_s));
}
