// "veltoprefs.ini" and start-up: how lines are cut, and the choice of favourites file. Every key
// read back whole is in the Preferences window's round trip.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

TEST(Settings, OddLinesAreReadAsTheFormatSays) {
    using A = const MainApp&;
    const struct {
        const char* line;
        std::function<bool(A)> holds;
    } cases[] = {
        {"port=7846.9", [](A a) { return a.remotePort == 7846; }},
        {"http=yes", [](A a) { return !a.httpSlave; }},
        {"autoadjust=TRUE", [](A a) { return a.autoAdjust; }},
        {"SERIAL=/dev/x", [](A a) { return a.serialPortName == "/dev/x"; }},
        {" serial=/dev/y", [](A a) { return a.serialPortName == "/dev/tty.usbserial"; }},
        {"mode=Slave ", [](A a) { return a.systemMode == "Slave "; }},
        {"unknownwithoutvalue", [](A a) { return a.remotePort == 7846; }},
        {"favsfile=  /f.qvf  ", [](A a) { return a.App.favsName == "/f.qvf"; }},
        {"brokerprofile=Hi = you", [](A a) { return a.brokerProfile == "Hi "; }},
        {"brokeraccept= ann ", [](A a) { return a.brokerAccept.join('|') == "ann"; }},
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

TEST(Startup, TheOpenEventStopsTheTimersAndConnectsNothing) {
    Rig rig;
    rig.settings(QStringLiteral("mode=master\n"));
    EXPECT_EQ(rig->rampTimer.mode(), Timer::Multiple);  // as laid out
    rig.open();
    for (const Timer* t : {&rig->seqTimer, &rig->runTimer, &rig->rampTimer, &rig->moveTimer})
        EXPECT_EQ(t->mode(), Timer::Off) << t->name().toStdString();
    EXPECT_FALSE(rig->watchDog.enabled());
    rig.advance(60000);
    EXPECT_EQ(rig.remoteControl.connects + rig.remoteControl.listens + rig.serial.opens, 0);
    EXPECT_EQ(rig->veltoStatus.text(), QStringLiteral("(not connected)"));
}

TEST(Startup, TheFavouritesFileIsChosenFromTheSettings) {
    const QString title = QStringLiteral("Velto Control/Server for OS X");
    const QString missing =
        QStringLiteral("Can't find the requested favourites file. Using default");
    const struct {
        QString file;
        QString favsName;  // empty: the path itself
        QString suffix;
        bool said;
    } cases[] = {
        {QStringLiteral("later.qvf"), {}, QStringLiteral(" - later.qvf"), false},  // not there yet
        {QStringLiteral("relative/x.qvf"), QStringLiteral("veltofavourites.ini"), {}, true},
        {QStringLiteral("/no/such/folder/x.qvf"), QStringLiteral("veltofavourites.ini"), {}, true},
        {QStringLiteral("VeltoFavourites.INI"), QStringLiteral("VeltoFavourites.INI"), {}, false},
    };
    for (const auto& c : cases) {
        Rig rig;
        const QString path = c.favsName.isEmpty() ? rig.prefPath(c.file) : c.file;
        rig.settings(QStringLiteral("favsfile=") + path + QLatin1Char('\n'));
        rig.open();
        EXPECT_EQ(rig->App.favsName, c.favsName.isEmpty() ? path : c.favsName);
        EXPECT_EQ(rig->window.title(), title + c.suffix);
        EXPECT_EQ(rig.dialogs.messages, c.said ? QStringList{missing} : QStringList{});
    }
}
