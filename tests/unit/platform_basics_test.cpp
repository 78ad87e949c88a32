// The platform's basics: text helpers, virtual timers, and the all-or-nothing save of every file.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <limits>
#include <tuple>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#include <csignal>
#endif

#include "platform/boundary.h"
#include "platform/save_file.h"
#include "platform/text.h"
#include "platform/timer.h"
#include "platform/virtual_clock.h"

using namespace velto;

TEST(Text, NumbersFormatsFieldsAndPositions) {
    const std::pair<const char*, double> cases[] = {{"  12abc", 12}, {"+", 0},      {"abc", 0},
                                                    {".5", 0.5},     {"1e3", 1000}, {"7e", 7},
                                                    {"2.000B", 2}};
    for (const auto& [text, value] : cases)
        EXPECT_DOUBLE_EQ(Val(QString::fromLatin1(text)), value) << text;
    EXPECT_EQ(ValInt(QStringLiteral("-30.9")), -30);
    EXPECT_EQ(ValInt(QStringLiteral("1e300")), std::numeric_limits<qint64>::max());
    // Format rounds halves away from zero and never writes minus zero.
    for (const auto& [x, format, text] : std::vector<std::tuple<double, const char*, const char*>>{
             {2.5, "#", "3"}, {2.4999, "#", "2"}, {-0.2, "#", "0"}, {-0.0474, "#%", "-5%"}})
        EXPECT_EQ(Format(x, QLatin1String(format)), text) << x;
    EXPECT_THROW(Format(1, QStringLiteral("0.00")), std::invalid_argument);
    // Fields and positions count from one, and comparisons ignore case.
    EXPECT_EQ(CountFields(QStringLiteral("l1\n\nl2\n"), QStringLiteral("\n")), 4);
    EXPECT_EQ(NthField(QStringLiteral("a=b=c"), QStringLiteral("="), 2), QStringLiteral("b"));
    EXPECT_EQ(NthField(QStringLiteral("a=b"), QStringLiteral("="), 3), QString());
    EXPECT_EQ(InStr(QStringLiteral("Firmware 2.000B"), QStringLiteral("b")), 15);
    EXPECT_EQ(Replace(QStringLiteral("a-a"), QStringLiteral("A"), QStringLiteral("b")),
              QStringLiteral("b-a"));
    EXPECT_EQ(ReplaceAll(QStringLiteral("a-A"), QStringLiteral("a"), QStringLiteral("b")),
              QStringLiteral("b-b"));
    EXPECT_FALSE(same(QStringLiteral("K "), QStringLiteral("K")));
    EXPECT_EQ(QStringList({Str(4.0), Str(2.5)}), QStringList({"4", "2.5"}));
}

TEST(Timer, ModesPeriodsAndResetFollowTheFrameworkRules) {
    VirtualClock clock;
    ExceptionBoundary boundary;
    QStringList reported;
    boundary.setReporter([&](const QString& what) { reported.append(what); });
    clock.setBoundary(&boundary);
    Timer failing(clock, QStringLiteral("failing"), 3000, Timer::Multiple);
    const QStringList empty;
    failing.action = [&] { (void)at(empty, 3); };
    Timer repeat(clock, QStringLiteral("repeat"), 1000, Timer::Multiple);
    Timer single(clock, QStringLiteral("single"), 300, Timer::Off);
    std::vector<qint64> repeats, singles;
    repeat.action = [&] { repeats.push_back(clock.nowMs()); };
    single.action = [&] { singles.push_back(clock.nowMs()); };
    single.setMode(Timer::Single);
    clock.advance(2500);
    EXPECT_EQ(singles, std::vector<qint64>{300});  // a single shot turns itself off
    repeat.setMode(Timer::Multiple);               // the mode it has: the count goes on
    clock.advance(500);
    repeat.setPeriod(400);  // waits for the next round: 4000, not 3400
    clock.advance(1300);
    repeat.reset();  // counts from 4300
    clock.advance(450);
    repeat.setEnabled(false);  // never fires while disabled; enabling counts afresh
    clock.advance(2000);
    repeat.setEnabled(true);
    clock.advance(400);
    EXPECT_EQ(repeats, (std::vector<qint64>{1000, 2000, 3000, 4000, 4700, 7150}));
    // A failing handler is reported, and its timer and the clock go on.
    ASSERT_EQ(reported.size(), 2);
    EXPECT_TRUE(reported[0].contains(QStringLiteral("OutOfBoundsException")));
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

TEST(SaveWhole, AFailedWriteLeavesTheOldFileWhole) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("veltoprefs.ini"));
    ASSERT_TRUE(saveWhole(path, "old\n"));
    EXPECT_FALSE(saveWhole(dir.filePath(QStringLiteral("gone/mine.qvf")), "x"));
#ifdef Q_OS_UNIX
    // A write the disk refuses half-way (a file size limit holds even for root) leaves the old
    // file as it was, and nothing beside it.
    const QByteArray big(64 * 1024, 'x');
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    auto* previous = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, saved.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_FALSE(saveWhole(path, big));
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("old\n"));
    EXPECT_EQ(
        QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot),
        QStringList{"veltoprefs.ini"});
#endif
}
