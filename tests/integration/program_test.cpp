// The program itself: its window, and headless against velto-sim on a pseudo-terminal, its log
// on standard output, its messages on standard error and its clean exit on a signal.

#include <gtest/gtest.h>

#include <csignal>

#include "support/sim_process.h"
#include "support/velto_process.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {

/// Sends `signal` and gives the exit code, or -1 if the process does not end.
int endOn(QProcess& process, int signal) {
    ::kill(static_cast<pid_t>(process.processId()), signal);
    const bool ended = process.waitForFinished(5000);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

bool widgetsLoaded(qint64 pid) {
    QFile maps(u"/proc/%1/maps"_s.arg(pid));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("libQt6Widgets");
}

}  // namespace

TEST(Program, HeadlessWakesTheLineSwitchesToTheHighRateLogsAndEndsCleanlyOnASignal) {
    SimProcess sim({"--firmware", "2.119"});
    VeltoProcess velto({"--headless", "--connect", "--log-serial"}, "serial=" + sim.path + '\n');
    ASSERT_TRUE(velto.said(u"2B replied 700:0:0:100:100:0:L:0:2.119"_s)) << velto.err.toStdString();
    EXPECT_TRUE(velto.out.contains(u": 2B raw 700:0:0:100:100:0:L:0:2.119"_s));
    // The first poll, 2.5 s on, comes back only if the port was reopened at the high rate in time.
    ASSERT_TRUE(runUntil(
        [&] {
            velto.read();
            return velto.out.count(u"2B replied "_s) >= 2;
        },
        8000))
        << velto.out.toStdString() << "box took " << sim.commands().join(' ').toStdString();
    EXPECT_EQ(sim.commands(), QStringList({"", "Z", "V"}));  // the lone CR wakes the line
    EXPECT_EQ(endOn(velto.process, SIGTERM), 0);
    EXPECT_FALSE(velto.err.contains(u"unhandled"_s));
}

TEST(Program, OpensItsWindowOrSaysWhyNotAndHeadlessGoesOnWithoutWidgets) {
    QTemporaryDir prefs;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    QProcess window;
    window.setProcessEnvironment(env);
    window.start(QStringLiteral(VELTO_APP_PATH), {"--prefs", prefs.path()});
    ASSERT_TRUE(window.waitForStarted(5000));
    // The window program takes over the same process: it runs on, with the widgets loaded.
    ASSERT_TRUE(runUntil([&] { return widgetsLoaded(window.processId()); }, 10000));
    EXPECT_EQ(endOn(window, SIGTERM), 0);

    // With no display at all, one line says what to do instead.
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) env.remove(name);
    QProcess blind;
    blind.setProcessEnvironment(env);
    blind.start(QStringLiteral(VELTO_APP_PATH), {"--prefs", prefs.path()});
    ASSERT_TRUE(blind.waitForFinished(5000));
    EXPECT_EQ(blind.exitCode(), 2);
    EXPECT_EQ(blind.readAllStandardError(), "no display: run velto --headless for a box server\n");

    // Headless, a port that isn't there: the message box goes to standard error, the program
    // goes on, and the widgets are never loaded.
    VeltoProcess lost({"--headless", "--connect"}, "serial=/dev/no-such-port\n");
    ASSERT_TRUE(lost.said(u"message: Unable to connect\n"_s)) << lost.err.toStdString();
    EXPECT_EQ(lost.process.state(), QProcess::Running);
    EXPECT_FALSE(widgetsLoaded(lost.process.processId()));
    EXPECT_EQ(endOn(lost.process, SIGINT), 0);
}
