#include <gtest/gtest.h>

#include <vector>

#include "platform/boundary.h"
#include "platform/timer.h"
#include "platform/virtual_clock.h"

using namespace velto;

namespace {
using Times = std::vector<qint64>;

void record(Timer& timer, const VirtualClock& clock, Times& into) {
    timer.action = [&] { into.push_back(clock.nowMs()); };
}
}  // namespace

TEST(Timer, ModesPeriodsAndResetFollowTheFrameworkRules) {
    VirtualClock clock;
    Timer repeat(clock, QStringLiteral("repeat"), 1000, Timer::Multiple);
    Timer single(clock, QStringLiteral("single"), 300, Timer::Off);
    Times repeats, singles;
    record(repeat, clock, repeats);
    record(single, clock, singles);
    single.setMode(Timer::Single);
    clock.advance(2500);
    EXPECT_EQ(singles, Times{300});
    EXPECT_EQ(single.mode(), Timer::Off);  // a single shot turns itself off
    repeat.setMode(Timer::Multiple);       // the mode it has: the count goes on
    clock.advance(500);
    repeat.setPeriod(400);  // waits for the next round: 4000, not 3400
    clock.advance(1300);
    repeat.reset();  // counts from 4300
    clock.advance(450);
    repeat.setEnabled(false);  // never fires while disabled; enabling counts afresh
    clock.advance(2000);
    repeat.setEnabled(true);
    clock.advance(400);
    EXPECT_EQ(repeats, (Times{1000, 2000, 3000, 4000, 4700, 7150}));
}

TEST(Timer, TiesFireInArmingOrderAndPauseRunsOtherEvents) {
    VirtualClock clock;
    Timer first(clock, QStringLiteral("first"), 200, Timer::Off);
    Timer second(clock, QStringLiteral("second"), 200, Timer::Off);
    QStringList fired;
    for (Timer* t : {&first, &second})
        t->action = [&, t] { fired << t->name() + u'@' + QString::number(clock.nowMs()); };
    second.setMode(Timer::Multiple);
    first.setMode(Timer::Multiple);
    clock.advance(200);
    // pause(500) inside a handler lets the other timer run, and returns after more than 500 ms.
    first.setMode(Timer::Off);
    qint64 resumedAt = -1;
    clock.post(0, [&] {
        clock.pause(500);
        resumedAt = clock.nowMs();
    });
    clock.advance(1);
    EXPECT_EQ(resumedAt, 200 + 1 + 500);
    EXPECT_EQ(fired, QStringList({"second@200", "first@200", "second@400", "second@600"}));
}

TEST(Timer, AFailingHandlerIsReportedAndTheClockGoesOn) {
    VirtualClock clock;
    ExceptionBoundary boundary;
    QStringList reported;
    boundary.setReporter([&](const QString& what) { reported.append(what); });
    clock.setBoundary(&boundary);
    Timer t(clock, QStringLiteral("t"), 100, Timer::Multiple);
    t.action = [] {
        const QStringList empty;
        (void)at(empty, 3);
    };
    clock.advance(350);
    ASSERT_EQ(reported.size(), 3);
    EXPECT_TRUE(reported[0].contains(QStringLiteral("OutOfBoundsException")));
}
