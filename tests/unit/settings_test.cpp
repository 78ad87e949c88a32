// "veltoprefs.ini" and start-up: every key, the bad lines, and the choice of favourites file.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

// Every key read back whole is in the Preferences window's round trip; here, how lines are cut.
TEST(Settings, OddLinesAreReadAsTheFormatSays) {
    struct Case {
        const char* line;
        std::function<bool(const MainApp&)> holds;
    } cases[] = {
        {"port=abc", [](const MainApp& a) { return a.remotePort == 0; }},
        {"port=7846.9", [](const MainApp& a) { return a.remotePort == 7846; }},
        {"timeout=", [](const MainApp& a) { return a.slaveTimeout == 0; }},
        {"http=yes", [](const MainApp& a) { return !a.httpSlave; }},
        {"autoadjust=TRUE", [](const MainApp& a) { return a.autoAdjust; }},
        {"SERIAL=/dev/x", [](const MainApp& a) { return a.serialPortName == QLatin1String("/dev/x"); }},
        {" serial=/dev/y", [](const MainApp& a) { return a.serialPortName == QLatin1String("/dev/tty.usbserial"); }},
        {"serial =/dev/y", [](const MainApp& a) { return a.serialPortName == QLatin1String("/dev/tty.usbserial"); }},
        {"mode=Slave ", [](const MainApp& a) { return a.systemMode == QLatin1String("Slave "); }},
        {"colour=blue", [](const MainApp& a) { return a.systemMode == QLatin1String("solo"); }},
        {"", [](const MainApp& a) { return a.remotePort == 7846; }},
        {"unknownwithoutvalue", [](const MainApp& a) { return a.remotePort == 7846; }},
        {"favsfile=", [](const MainApp& a) { return a.App.favsName.isEmpty(); }},
        {"favsfile=  /f.qvf  ", [](const MainApp& a) { return a.App.favsName == "/f.qvf"; }},
        {"http=TRUE", [](const MainApp& a) { return a.httpSlave; }},
        {"usebroker=True", [](const MainApp& a) { return a.useBroker; }},
        {"brokerprofile=Hi = you", [](const MainApp& a) { return a.brokerProfile == "Hi "; }},
        {"brokerauto=  peer  ", [](const MainApp& a) { return a.brokerauto == "peer"; }},
        {"brokeraccept= ann ", [](const MainApp& a) { return a.brokerAccept.join('|') == "ann"; }},
    };
    for (const auto& c : cases) {
        Rig rig(false);
        rig->readSettingsLine(QString::fromLatin1(c.line));
        EXPECT_TRUE(c.holds(*rig)) << c.line;
    }
    // A known key without "=" reads past the end of the line: the failure goes to the boundary.
    Rig rig;
    rig.settings(QStringLiteral("port=7001\nhost\nport=7002\n"));
    rig.boundary.run([&] { rig.open(); });
    EXPECT_EQ(rig->remotePort, 7001);
    ASSERT_EQ(rig.boundary.reports().size(), 1);
    EXPECT_TRUE(rig.boundary.reports()[0].contains(QStringLiteral("OutOfBounds")));
}

TEST(Startup, TheOpenEventSetsTheWindowAndStopsTheTimers) {
    Rig rig;
    rig.settings(QStringLiteral("mode=master\n"));
    EXPECT_EQ(rig->rampTimer.mode(), Timer::Multiple);  // as laid out
    rig.open();
    EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));
    EXPECT_EQ(rig->versionName.text(), QStringLiteral("Version 2.6.1"));
    for (const Timer* t : {&rig->seqTimer, &rig->runTimer, &rig->rampTimer, &rig->moveTimer})
        EXPECT_EQ(t->mode(), Timer::Off) << t->name().toStdString();
    EXPECT_FALSE(rig->watchDog.enabled());
    rig.advance(60000);
    EXPECT_TRUE(rig.serial.writes.empty());
    EXPECT_EQ(rig.remoteControl.connects + rig.remoteControl.listens + rig.serial.opens, 0);
    EXPECT_EQ(rig->veltoStatus.text(), QStringLiteral("(not connected)"));
    EXPECT_EQ(rig->channelA.pageStep(), 3);
    EXPECT_EQ(rig->channelC.pageStep(), 5);
    EXPECT_EQ(rig->channelC.minimum(), 2);
    // With no Preferences folder, no file is read and the defaults stand.
    Rig bare(false);
    bare.open();
    EXPECT_EQ(bare->systemMode, QStringLiteral("solo"));
    EXPECT_EQ(bare->remotePort, 7846);
    EXPECT_TRUE(bare.dialogs.messages.isEmpty());
}

TEST(Startup, TheFavouritesFileIsChosenFromTheSettings) {
    {  // A path that names no file: its name in the title, no message.
        Rig rig;
        const QString path = rig.prefPath(QStringLiteral("later.qvf"));
        rig.settings(QStringLiteral("favsfile=") + path + QLatin1Char('\n'));
        rig.open();
        EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X - later.qvf"));
        EXPECT_EQ(rig->App.favsName, path);
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    }
    for (const QString& bad : {QStringLiteral("relative/name.qvf"),
                               QStringLiteral("/no/such/folder/at/all/x.qvf")}) {
        Rig rig;
        rig.settings(QStringLiteral("favsfile=") + bad + QLatin1Char('\n'));
        rig.open();
        EXPECT_EQ(rig.dialogs.messages,
                  QStringList{"Can't find the requested favourites file. Using default"})
            << bad.toStdString();
        EXPECT_EQ(rig->App.favsName, QStringLiteral("veltofavourites.ini"));
        EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));
    }
    {  // The default name in any case is the default.
        Rig rig;
        rig.settings(QStringLiteral("favsfile=VeltoFavourites.INI\n"));
        rig.open();
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
        EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));
    }
}
