// "veltoprefs.ini" and start-up: every key, the bad lines, and the choice of favourites file.

#include <gtest/gtest.h>

#include <QDir>

#include "support/rig.h"

using namespace velto;

TEST(Settings, EveryKeyReachesItsProperty) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"),
                  QString::fromLatin1("serial=/dev/ttyUSB3\n"
                                 "port=7900\n"
                                 "host=127.0.0.9\n"
                                 "timeout=30\n"
                                 "evocam=Cam 1\n"
                                 "mode=master\n"
                                 "evolink=true\n"
                                 "autoadjust=false\n"
                                 "http=TRUE\n"
                                 "brokerid=me\n"
                                 "brokerpin=1234\n"
                                 "brokerprofile=Hello = world\n"
                                 "usebroker=True\n"
                                 "brokerauto=  peer  \n"
                                 "brokeraccept= ann \n"
                                 "brokeraccept=bob\n"
                                 "brokerreject=eve\n"
                                 "errorcorrection=true\n"
                                 "favsfile=  ") +
                      rig.prefPath(QStringLiteral("mine.qvf")) + QStringLiteral("  \n"));
    rig.open();
    MainApp& app = *rig;
    EXPECT_EQ(app.serialPortName, QStringLiteral("/dev/ttyUSB3"));
    EXPECT_EQ(app.remotePort, 7900);
    EXPECT_EQ(app.remoteHostname, QStringLiteral("127.0.0.9"));
    EXPECT_EQ(app.slaveTimeout, 30);
    EXPECT_EQ(app.evoCamName, QStringLiteral("Cam 1"));
    EXPECT_EQ(app.systemMode, QStringLiteral("master"));
    EXPECT_TRUE(app.updateEvocam);
    EXPECT_FALSE(app.autoAdjust);
    EXPECT_TRUE(app.httpSlave);
    EXPECT_EQ(app.brokerID, QStringLiteral("me"));
    EXPECT_EQ(app.brokerPIN, QStringLiteral("1234"));
    EXPECT_EQ(app.brokerProfile, QStringLiteral("Hello "));  // cut at the second "="
    EXPECT_TRUE(app.useBroker);
    EXPECT_EQ(app.brokerauto, QStringLiteral("peer"));
    EXPECT_EQ(app.brokerAccept, (QStringList{QStringLiteral("ann"), QStringLiteral("bob")}));
    EXPECT_EQ(app.brokerReject, QStringList{QStringLiteral("eve")});
    EXPECT_TRUE(app.checkResponses);
    EXPECT_EQ(app.App.favsName, rig.prefPath(QStringLiteral("mine.qvf")));
    // Nothing connects at start-up, whatever the mode.
    EXPECT_EQ(rig.remoteControl.connects + rig.remoteControl.listens + rig.serial.opens, 0);
}

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
    };
    for (const auto& c : cases) {
        Rig rig(false);
        rig->readSettingsLine(QString::fromLatin1(c.line));
        EXPECT_TRUE(c.holds(*rig)) << c.line;
    }
    // A known key without "=" reads past the end of the line: the failure goes to the boundary.
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("port=7001\nhost\nport=7002\n"));
    rig.boundary.run([&] { rig.open(); });
    EXPECT_EQ(rig->remotePort, 7001);
    ASSERT_EQ(rig.boundary.reports().size(), 1);
    EXPECT_TRUE(rig.boundary.reports()[0].contains(QStringLiteral("OutOfBounds")));
}

TEST(Startup, TheOpenEventSetsTheWindowAndStopsTheTimers) {
    Rig rig;
    EXPECT_EQ(rig->rampTimer.mode(), Timer::Multiple);  // as laid out
    rig.open();
    EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));
    EXPECT_EQ(rig->versionName.text(), QStringLiteral("Version 2.6.1"));
    for (const Timer* t : {&rig->seqTimer, &rig->runTimer, &rig->rampTimer, &rig->moveTimer})
        EXPECT_EQ(t->mode(), Timer::Off) << t->name().toStdString();
    EXPECT_FALSE(rig->watchDog.enabled());
    rig.advance(60000);
    EXPECT_TRUE(rig.serial.writes.empty());
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
        rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("favsfile=") + path + QLatin1Char('\n'));
        rig.open();
        EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X - later.qvf"));
        EXPECT_EQ(rig->App.favsName, path);
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    }
    for (const QString& bad : {QString(), QStringLiteral("relative/name.qvf"),
                               QStringLiteral("/no/such/folder/at/all/x.qvf")}) {
        Rig rig;
        rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("favsfile=") + bad + QLatin1Char('\n'));
        rig.open();
        EXPECT_EQ(rig.dialogs.messages,
                  QStringList{QStringLiteral("Can't find the requested favourites file. Using default")})
            << bad.toStdString();
        EXPECT_EQ(rig->App.favsName, QStringLiteral("veltofavourites.ini"));
        EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));
    }
    {  // The default name in any case is the default.
        Rig rig;
        rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("favsfile=VeltoFavourites.INI\n"));
        rig.open();
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
        EXPECT_EQ(rig->window.title(), QStringLiteral("Velto Control/Server for OS X"));
    }
}

TEST(Startup, ASlaveFromTheSettingsListensOnlyAfterConnect) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QStringLiteral("mode=slave\n"));
    rig.open();
    rig.advance(10000);
    EXPECT_FALSE(rig.remoteControl.isListening());
    rig->Connect.push();
    EXPECT_TRUE(rig.remoteControl.isListening());
    EXPECT_EQ(rig.remoteControl.port, 7846);
}
