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

TEST(Move, RelativeAbsoluteAndClampedTargetsAndAMoveToAFavourite) {
    struct Case {
        const char* text;
        qint64 current, target;
    };
    for (const Case& c :
         {Case{"+10", 95, 100}, Case{"-10", 5, 0}, Case{"+", 40, 40}, Case{"+7.9", 40, 47},
          Case{"30", 70, 30}, Case{"abc", 70, 0}, Case{"150", 0, 100}, Case{" +10", 50, 10}})
        EXPECT_EQ(MainApp::adjustTarget(QLatin1String(c.text), c.current), c.target)
            << c.text << " from " << c.current;

    Rig rig;
    connectSlaveWithPeer(rig);
    // To a favourite: cells 6 and 7 are the targets and the Rise is the time.
    rig->adjustSelected.push();
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{"Select a favourite setting first, then click Jump"});
    rig->favsList.setListIndex(addFav(rig, {.rise = "40", .a = "20", .b = "8"}));
    rig->adjustSelected.push();
    EXPECT_TRUE(rig->diffA == 20 && rig->diffB == 8 && rig->moveTimer.period() == 2000);
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
    EXPECT_EQ(statusLines(rig), QStringList{";ERROR:1=Too many steps, or time period too short"});

    // A move: each level is computed from the start, rounded; the steps are those of the
    // longer way.
    rig.box().setLevelA(95);
    rig.box().setLevelB(5);
    rig.advance(2500);
    rig.remoteControl.sent.clear();
    const size_t mark = rig.mark();
    const qint64 t0 = rig.clock.nowMs();
    startMove(rig, "+10", "-2", "20");
    EXPECT_EQ(rig->moveTimer.period(), 4000);
    EXPECT_FALSE(rig->manualControl);
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
    const size_t stillMark = rig.mark();
    startMove(rig, "+0", "+", "5");
    EXPECT_EQ(labelsAfter(rig, {1000}), QStringList{"DONE"});
    EXPECT_TRUE(sentSince(rig, stillMark, 0).empty());
    EXPECT_EQ(statusLines(rig), QStringList{";STATUS:percent=DONE"});
}

TEST(Move, TooShortTimesAreLengthenedOrRefused) {
    Rig rig;
    rig.connect();
    // Equal passes; a fraction is compared whole and then cut. Refused before resetAll.
    struct Case {
        const char *a, *time;
        bool autoAdjust, refused;
        qint64 period;
    };
    for (const Case& c : {Case{"20", "", true, false, 1000}, Case{"20", "20", false, false, 1000},
                          Case{"31", "30.9", false, true, 0}, Case{"31", "30.9", true, false, 1000},
                          Case{"10", "30.9", false, false, 3000}}) {
        rig->halt.push();
        rig.dialogs.messages.clear();
        rig->autoAdjust = c.autoAdjust;
        rig->cmdSequence = {QStringLiteral("X")};
        startMove(rig, c.a, "", c.time);
        EXPECT_EQ(rig->cmdSequence, c.refused ? QStringList{"X"} : QStringList{});
        EXPECT_EQ(rig->moveTimer.mode(), c.refused ? Timer::Off : Timer::Multiple);
        if (c.refused) {
            EXPECT_EQ(rig.dialogs.messages,
                      QStringList{"Can't adjust - too many steps, or too short a time period. "
                                  "Number of seconds must be more than the number of steps"});
        } else {
            EXPECT_TRUE(rig.dialogs.messages.isEmpty()) << c.a << " in " << c.time;
            EXPECT_EQ(rig->moveTimer.period(), c.period) << c.a << " in " << c.time;
        }
    }
    // Written with the log closed: the one line of a move that is.
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral("Move: adjusting period to 31 seconds")));
}
