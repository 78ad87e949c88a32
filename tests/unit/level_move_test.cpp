// Level moves: targets, the adjusting rule, and the pairs the move queues tick by tick.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

namespace {
void startMove(Rig& rig, const char* a, const char* b, const char* seconds) {
    rig->adjustA.setText(QLatin1String(a));
    rig->adjustB.setText(QLatin1String(b));
    rig->adjustTime.setText(QLatin1String(seconds));
    rig->Adjust.push();
}
}  // namespace

TEST(Move, RelativeAbsoluteAndClampedTargets) {
    struct Case {
        const char* text;
        qint64 current, target;
    };
    for (const Case& c :
         {Case{"+10", 95, 100}, Case{"-10", 5, 0}, Case{"+", 40, 40}, Case{"-", 40, 40},
          Case{"+7.9", 40, 47}, Case{"30", 70, 30}, Case{"", 70, 0}, Case{"abc", 70, 0},
          Case{"150", 0, 100}, Case{" +10", 50, 10}})
        EXPECT_EQ(MainApp::adjustTarget(QLatin1String(c.text), c.current), c.target)
            << c.text << " from " << c.current;

    Rig rig;
    rig.connect();
    rig.box().setLevelA(95);
    rig.box().setLevelB(5);
    rig.advance(2500);
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    startMove(rig, "+10", "-10", "20");
    EXPECT_EQ(rig->moveSteps, 5);
    EXPECT_EQ(rig->moveTimer.period(), 4000);
    EXPECT_FALSE(rig->manualControl);
    QStringList shown;
    for (qint64 ms : {4000, 16000, 4000}) {
        rig.advance(ms);
        shown << rig->tickCounter.text();
    }
    EXPECT_EQ(shown, QStringList({"20%", "100%", "DONE"}));
    EXPECT_EQ(rig->moveTimer.mode(), Timer::Off);
    EXPECT_TRUE(rig->manualControl);
    EXPECT_EQ(rig->elapsedTimer.mode(), Timer::Multiple);
    // Each pair leaves B first; the move takes one period more than its time.
    EXPECT_EQ(sentSince(rig, mark, t0),
              (std::vector<Sent>{{4200, "B4"}, {4400, "A96"}, {8200, "B3"}, {8400, "A97"},
                                 {12200, "B2"}, {12400, "A98"}, {16200, "B1"}, {16400, "A99"},
                                 {20200, "B0"}, {20400, "A100"}}));
    EXPECT_EQ(rig->channelC.value(), 50);  // C and D are never part of a move

    // Nothing to move ends on the first tick.
    Rig still;
    connectSlaveWithPeer(still);
    const size_t stillMark = still.mark();
    startMove(still, "0", "", "5");
    EXPECT_EQ(still->moveSteps, 0);
    still.advance(1000);
    EXPECT_EQ(still->tickCounter.text(), "DONE");
    EXPECT_EQ(still->moveTimer.mode(), Timer::Off);
    EXPECT_TRUE(sentSince(still, stillMark, 0).empty());
    EXPECT_EQ(statusLines(still), QStringList{";STATUS:percent=DONE"});
}

TEST(Move, FiftyLevelsOnAAndTenOnBInFiftySeconds) {
    Rig rig;
    connectSlaveWithPeer(rig);
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    startMove(rig, "50", "10", "50");
    EXPECT_EQ(rig->moveTimer.period(), 1000);
    rig.advance(52000);
    const std::vector<Sent> sent = sentSince(rig, mark, t0);
    ASSERT_EQ(sent.size(), 100u);
    std::vector<int> bRisesAt;
    int lastB = 0;
    for (int tick = 1; tick <= 50; ++tick) {
        const Sent& b = sent[2 * (tick - 1)];
        EXPECT_EQ(b.t, 1000 * tick + 200);
        EXPECT_EQ(sent[2 * tick - 1], (Sent{1000 * tick + 400, QStringLiteral("A%1").arg(tick)}));
        const int level = b.cmd.mid(1).toInt();
        if (level != lastB) bRisesAt.push_back(tick);
        lastB = level;
    }
    // B rises by one level about every fifth tick and lands on its target with A.
    EXPECT_EQ(bRisesAt, (std::vector<int>{3, 8, 13, 18, 23, 28, 33, 38, 43, 48}));
    EXPECT_EQ(sent[98].cmd, "B10");
    const QStringList lines = statusLines(rig);
    ASSERT_EQ(lines.size(), 51);
    EXPECT_EQ(lines.first(), ";STATUS:percent=2");
    EXPECT_EQ(lines.at(24), ";STATUS:percent=50");
    EXPECT_EQ(lines.at(49), ";STATUS:percent=100");
    EXPECT_EQ(lines.last(), ";STATUS:percent=DONE");
}

TEST(Move, TooShortTimesAreLengthenedOrRefused) {
    Rig rig;
    rig.connect();
    ASSERT_FALSE(rig->serverLogging);
    startMove(rig, "20", "", "");
    // Written with the log closed: the one line of a move that is.
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Move: adjusting period to 20 seconds")));
    EXPECT_EQ(rig->moveTimer.period(), 1000);

    rig->halt.push();
    rig->autoAdjust = false;
    rig->cmdSequence = {QStringLiteral("X")};
    startMove(rig, "20", "", "10");
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{"Can't adjust - too many steps, or too short a time period. Number of "
                          "seconds must be more than the number of steps"});
    EXPECT_EQ(rig->cmdSequence, QStringList{"X"});  // refused before resetAll
    EXPECT_EQ(rig->moveTimer.mode(), Timer::Off);

    // Equal passes; a fraction is compared whole and then cut.
    struct Case {
        const char *a, *time;
        bool autoAdjust, refused;
        qint64 period;
    };
    for (const Case& c :
         {Case{"20", "20", false, false, 1000}, Case{"30", "30.9", false, false, 1000},
          Case{"31", "30.9", false, true, 0}, Case{"31", "30.9", true, false, 1000},
          Case{"10", "30.9", false, false, 3000}}) {
        rig->halt.push();
        rig.dialogs.messages.clear();
        rig->autoAdjust = c.autoAdjust;
        startMove(rig, c.a, "", c.time);
        EXPECT_EQ(rig.dialogs.messages.size(), c.refused ? 1 : 0) << c.a << " in " << c.time;
        EXPECT_EQ(rig->moveTimer.mode(), c.refused ? Timer::Off : Timer::Multiple);
        if (!c.refused) {
            EXPECT_EQ(rig->moveTimer.period(), c.period) << c.a << " in " << c.time;
        }
    }
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Move: adjusting period to 31 seconds")));
}

TEST(Move, AdjustToAFavourite) {
    Rig rig;
    connectSlaveWithPeer(rig);
    rig->_activityToggle_Action();
    rig->adjustSelected.push();
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{"Select a favourite setting first, then click Jump"});
    // Cells 6 and 7 are the targets and the Rise is the time.
    const Fav fav{.rise = QStringLiteral("40"), .a = QStringLiteral("20"), .b = QStringLiteral("8")};
    rig->favsList.setListIndex(addFav(rig, fav));
    rig->adjustSelected.push();
    EXPECT_EQ(rig->diffA, 20);
    EXPECT_EQ(rig->diffB, 8);
    EXPECT_EQ(rig->moveTimer.period(), 2000);
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Move: setting levels in 20 steps")));
    // Too short with the rule off: resetAll has run, no message box, an error to the peer,
    // and the move's figures stay as computed.
    rig->autoAdjust = false;
    rig->favsList.setCell(0, 1, QStringLiteral("5"));
    rig->cmdSequence = {QStringLiteral("X")};
    rig.remoteControl.sent.clear();
    rig->adjustSelected.push();
    EXPECT_TRUE(rig->cmdSequence.isEmpty());
    EXPECT_EQ(rig->moveTimer.mode(), Timer::Off);
    EXPECT_EQ(rig.dialogs.messages.size(), 1);
    EXPECT_EQ(rig->moveSteps, 20);
    EXPECT_EQ(statusLines(rig), QStringList{";ERROR:1=Too many steps, or time period too short"});
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Error: Invalid MOVE parameters")));
}
