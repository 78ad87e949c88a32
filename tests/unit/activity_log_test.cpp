// The activity log: its line format, the logging rule, and the life of its window.

#include <gtest/gtest.h>

#include <QLocale>

#include "support/rig.h"

using namespace velto;

TEST(ActivityLog, ALineIsTheLocalLongTimeTheTrimmedTextAndCrLf) {
    Rig rig;
    rig.advance(3723000);  // one hour, two minutes and three seconds after noon
    const QString time = QLocale::system().toString(QTime(13, 2, 3), QLocale::LongFormat);
    ActivityLog& log = rig->activityLog;
    QStringList echoed;
    log.lineLogged.connect([&](const QString& line) { echoed.append(line); });
    log.logItem(QStringLiteral("Connecting to broker\r\n"));
    log.logItem(QStringLiteral("two\rparts\ninside"));
    EXPECT_EQ(log.log.text(), time + QStringLiteral(": Connecting to broker\r\n") + time +
                                  QStringLiteral(": two\rparts\ninside\r\n"));
    EXPECT_EQ(echoed.first(), time + QStringLiteral(": Connecting to broker"));
    // Only the last ten thousand lines are kept.
    for (int i = 0; i < 25000; ++i) log.logItem(QStringLiteral("line ") + QString::number(i));
    EXPECT_LE(log.log.lineCount(), ActivityLog::kMaxLines);
    EXPECT_TRUE(log.log.text().endsWith(QStringLiteral(": line 24999\r\n")));
    EXPECT_TRUE(log.log.text().contains(QStringLiteral(": line 16000\r\n")));
}

TEST(ActivityLog, LogsOnlyWhileOpenAndForgetsItsTextWhenClosed) {
    Rig rig;
    rig.connect();
    rig->resetAll();
    EXPECT_TRUE(rig->activityLog.log.text().isEmpty());  // logging is off at start
    rig->_activityToggle_Action();
    EXPECT_TRUE(rig->activityLog.window.visible());
    rig->resetAll();
    rig->activityLog.logSerial.setValue(true);
    rig.advance(2500);
    EXPECT_EQ(rig.logLines().mid(0, 2),
              QStringList({"Mode change: timers reset", "2B raw 700:0:0:100:100:0:L:0:2.106"}));
    // Off and on again: an empty log, the serial trace unticked.
    rig->_activityToggle_Action();
    EXPECT_FALSE(rig->serverLogging);
    EXPECT_FALSE(rig->activityLog.window.visible());
    rig->_activityToggle_Action();
    EXPECT_TRUE(rig->activityLog.log.text().isEmpty());
    EXPECT_FALSE(rig->activityLog.logSerial.value());
    // The user's close inverts the flag, as the toggle's does.
    rig->activityLog.window.close();
    EXPECT_FALSE(rig->serverLogging);
}
