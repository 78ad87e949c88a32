#include <gtest/gtest.h>

#include <vector>

#include "platform/boundary.h"
#include "platform/timer.h"
#include "platform/virtual_clock.h"

using namespace velto;

namespace {
struct Fixture {
    VirtualClock clock;
    std::vector<std::pair<QString, qint64>> fired;
    void record(Timer& t) {
        t.action = [this, &t] { fired.emplace_back(t.name(), clock.nowMs()); };
    }
    std::vector<qint64> times(const QString& name) const {
        std::vector<qint64> out;
        for (const auto& [n, at] : fired)
            if (n == name) out.push_back(at);
        return out;
    }
};
}  // namespace

TEST(Timer, ModesPeriodsAndResetFollowTheFrameworkRules) {
    Fixture f;
    Timer repeat(f.clock, QStringLiteral("repeat"), 1000, Timer::Multiple);
    Timer single(f.clock, QStringLiteral("single"), 300, Timer::Off);
    f.record(repeat);
    f.record(single);
    single.setMode(Timer::Single);
    f.clock.advance(2500);
    EXPECT_EQ(f.times(QStringLiteral("repeat")), (std::vector<qint64>{1000, 2000}));
    EXPECT_EQ(f.times(QStringLiteral("single")), (std::vector<qint64>{300}));
    EXPECT_EQ(single.mode(), Timer::Off);  // a single shot turns itself off
    // Setting the mode it already has does not restart the count.
    repeat.setMode(Timer::Multiple);
    f.clock.advance(500);
    EXPECT_EQ(f.times(QStringLiteral("repeat")).back(), 3000);
    // A period change waits for the next round; Reset counts from now.
    repeat.setPeriod(400);
    f.clock.advance(1000);  // to 4000: fires at 4000 (old round), then 4400 comes next
    EXPECT_EQ(f.times(QStringLiteral("repeat")).back(), 4000);
    f.clock.advance(300);   // 4300
    repeat.reset();
    f.clock.advance(450);   // 4750: due at 4700
    EXPECT_EQ(f.times(QStringLiteral("repeat")).back(), 4700);
    // Disabled timers never fire; enabling starts a fresh count.
    repeat.setEnabled(false);
    f.clock.advance(2000);
    EXPECT_EQ(f.times(QStringLiteral("repeat")).back(), 4700);
    repeat.setEnabled(true);
    f.clock.advance(399);
    EXPECT_EQ(f.times(QStringLiteral("repeat")).back(), 4700);
    f.clock.advance(1);
    EXPECT_EQ(f.times(QStringLiteral("repeat")).back(), 7150);
}

TEST(Timer, TiesFireInArmingOrderAndPauseRunsOtherEvents) {
    Fixture f;
    Timer first(f.clock, QStringLiteral("first"), 200, Timer::Off);
    Timer second(f.clock, QStringLiteral("second"), 200, Timer::Off);
    f.record(first);
    f.record(second);
    second.setMode(Timer::Multiple);
    first.setMode(Timer::Multiple);
    f.clock.advance(200);
    ASSERT_EQ(f.fired.size(), 2u);
    EXPECT_EQ(f.fired[0].first, QStringLiteral("second"));
    // pause(500) inside a handler lets the other timer run, and returns after more than 500 ms.
    f.fired.clear();
    first.setMode(Timer::Off);
    qint64 resumedAt = -1;
    f.clock.post(0, [&] { f.clock.pause(500); resumedAt = f.clock.nowMs(); });
    f.clock.advance(1);
    EXPECT_EQ(resumedAt, 200 + 1 + 500);
    EXPECT_EQ(f.times(QStringLiteral("second")), (std::vector<qint64>{400, 600}));
}

TEST(Timer, AFailingHandlerIsReportedAndTheClockGoesOn) {
    VirtualClock clock;
    ExceptionBoundary boundary;
    QStringList reported;
    boundary.setReporter([&](const QString& what) { reported.append(what); });
    clock.setBoundary(&boundary);
    Timer t(clock, QStringLiteral("t"), 100, Timer::Multiple);
    int runs = 0;
    t.action = [&] {
        ++runs;
        QStringList empty;
        (void)at(empty, 3);
    };
    clock.advance(350);
    EXPECT_EQ(runs, 3);
    ASSERT_EQ(reported.size(), 3);
    EXPECT_TRUE(reported[0].contains(QStringLiteral("OutOfBoundsException")));
}
