// Faults from outside, each in the states where it can strike. Each must be said, cost nothing
// that was not already lost, and leave a way back.

#include <gtest/gtest.h>

#include <QDir>

#include "support/slave_rig.h"

namespace velto {
namespace {

bool logged(const Rig& rig, const QString& text) {
    return !rig.logLines().filter(text).isEmpty();
}

TEST(Faults, ABoxThatVanishesMidCommandComesBackToAWorkingLine) {
    SlaveRig s(QStringLiteral("errorcorrection=true\n"));
    s.box().inject(sim::Sim2B::Fault::SplitReply);
    s->channelA.setValue(55);
    s.advance(SimLink::kDefaultLatencyMs + 1);  // half of the reply is in
    s.serial.vanish();
    EXPECT_EQ(s->errText.text(), QStringLiteral("The box is gone"));
    s.box().setLevelA(0);  // the box that comes back starts at zero
    const size_t gone = s.mark();
    s.advance(10'000);
    EXPECT_EQ(s.mark(), gone);  // nothing spins against a missing port
    s.serial.comesBack();
    s->Connect.push();
    s.advance(6000);
    // No stale reply or command is held against the new box: it is polled, not raised.
    EXPECT_TRUE(s.commandsSince(gone).contains(QStringLiteral("V")));
    EXPECT_TRUE(s.commandsAfter(gone).filter(QStringLiteral("A55")).isEmpty());
    s->channelA.setValue(20);
    s.advance(100);
    EXPECT_EQ(s.box().levelA(), 20);
}

TEST(Faults, AServiceThatClosesIsSaidInEveryStateAndANewLoginWorks) {
    enum Step { Connecting, LoggedIn, Paired };
    for (const Step step : {Connecting, LoggedIn, Paired}) {
        Rig r;
        r.settings(
            QStringLiteral("mode=slave\nbrokerid=me@velto.example\nbrokerpin=4321\n"
                           "usebroker=true\nbrokeraccept=peer@velto.example\n"));
        r.connect();
        auto say = [&r](const QByteArray& line) {
            r.brokerSocket.peerSends(line + "\r\n");
            r.advance(1);
        };
        if (step == Connecting) {
            r.brokerSocket.failConnect(TcpSocket::LostConnection);
        } else {
            r.peerJoins(r.brokerSocket);
            if (step >= LoggedIn) say(";INFO:welcome");
            if (step == Paired) {
                say(";CONNECT=peer@velto.example;hi");
                say(";CONNECTED");
            }
            r.brokerSocket.peerDrops();
        }
        const size_t mark = r.mark();
        r.advance(1);
        EXPECT_TRUE(logged(r, QStringLiteral("The link to the broker was lost"))) << step;
        // Only a paired slave had a peer in control of its box.
        EXPECT_EQ(r.commandsAfter(mark),
                  step == Paired ? QStringList{QStringLiteral("K")} : QStringList{});
        r.brokerSocket.sent.clear();
        r->Connect.push();
        r.peerJoins(r.brokerSocket);
        say(";INFO:welcome");
        EXPECT_TRUE(QString::fromUtf8(r.brokerSocket.sent)
                        .startsWith(QStringLiteral(";register=me@velto.example")));
    }
    // The connect service, linked to the far user.
    Rig c;
    c.open();
    c->veltoKey = QStringLiteral("ABCDEFGHIJKLMNOP");
    c->startVeltoConnect();
    c.peerJoins(c.connectSocket);
    c.connectSocket.peerSends(";201 linked\n");
    c.advance(1);
    ASSERT_TRUE(c->veltoLinked);
    c.connectSocket.peerDrops();
    c.advance(1);
    EXPECT_FALSE(c->veltoLinked);
    EXPECT_TRUE(logged(c, QStringLiteral("The connect service closed the link")));
}

TEST(Faults, AMasterSaysWhenItsSlaveGoesOrCanNotBeReachedAndConnectsAgain) {
    Rig m;
    m.settings(QStringLiteral("mode=master\nhost=127.0.0.9\n"));
    m.open();
    m->Connect.push();
    m.remoteControl.failConnect(TcpSocket::LostConnection);
    m.advance(1);
    EXPECT_EQ(m->hostInfo.text(), QStringLiteral("Could not connect to 127.0.0.9"));
    m->Connect.push();
    m.peerJoins(m.remoteControl);
    EXPECT_EQ(m->hostInfo.text(), QStringLiteral("Connected to 127.0.0.1"));
    m.remoteControl.peerDrops();
    m.advance(1);
    EXPECT_EQ(m->hostInfo.text(), QStringLiteral("Connection lost"));
    EXPECT_TRUE(logged(m, QStringLiteral("The slave closed the link")));
}

TEST(Faults, ADamagedFileAtStartCostsOnlyItselfAndIsNotWrittenBack) {
    const QString prefs = QStringLiteral("port=7001\nfavsfile=veltofavourites.ini\n");
    const QString favs = QStringLiteral(";firmware=0\nOne,30,180,10,1,Pulse,40,40,0,0,L\n");
    const QString random = QStringLiteral("delaymin=7\nrunmax=99\n");
    const struct {
        const char* file;
        QString content;  // empty: a folder stands in its place
        const char* said;
    } cases[] = {
        {"veltoprefs.ini", QStringLiteral("port=7001\nfavsf"), nullptr},  // an unknown key: skipped
        {"veltoprefs.ini", QStringLiteral("port=7001\nfavsfile"), "Could not read all of"},
        {"veltofavourites.ini", favs + QStringLiteral("Two,30,18"), "Could not read all of"},
        {"veltofavourites.ini", {}, "Could not read"},
        {"veltorandom.ini", QStringLiteral("delaymin=7\nrunmax"), "Could not read all of"},
    };
    for (const auto& c : cases) {
        Rig r;
        const QString file = QString::fromLatin1(c.file);
        for (const auto& [name, text] : {std::pair{QStringLiteral("veltoprefs.ini"), prefs},
                                         std::pair{QStringLiteral("veltofavourites.ini"), favs},
                                         std::pair{QStringLiteral("veltorandom.ini"), random}})
            if (name != file) r.writePref(name, text);
        if (c.content.isEmpty())
            QDir(r.prefsDir.path()).mkdir(file);
        else
            r.writePref(file, c.content);
        r.open();
        EXPECT_TRUE(!c.said || logged(r, QLatin1String(c.said) + u' ' + r.prefPath(file)))
            << c.file;
        // What each file gave before its fault stays, and the files after it are read.
        EXPECT_EQ(r->remotePort, 7001) << c.file;
        EXPECT_EQ(r->favsList.listCount() >= 1 && r->favsList.cell(0, 0) == QStringLiteral("One"),
                  !(file == QLatin1String("veltofavourites.ini") && c.content.isEmpty()));
        EXPECT_EQ(r->minDelay.text(), QStringLiteral("7"));
        if (!c.content.isEmpty()) {
            EXPECT_EQ(readText(r.prefPath(file)), c.content);
        }
    }
}

}  // namespace
}  // namespace velto
