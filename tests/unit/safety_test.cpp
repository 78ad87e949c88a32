// Level caps that no source passes, and the box stopped whenever control of it is lost.

#include <gtest/gtest.h>

#include <functional>

#include "platform/text.h"
#include "support/broker_rig.h"
#include "support/slave_rig.h"

namespace velto {
namespace {

/// The highest level the box was given on `channel` ("A" or "B") since write `mark`.
qint64 highest(const Rig& rig, size_t mark, QChar channel) {
    qint64 top = -1;
    for (const QString& c : rig.commandsSince(mark))
        if (c.size() > 1 && c[0].toUpper() == channel) top = std::max(top, ValInt(c.mid(1)));
    return top;
}

bool logged(const Rig& rig, const QString& text) {
    return !rig.logLines().filter(text).isEmpty();
}

// Every source reaches the box through the one gate that caps; a row for each kind of path.
TEST(Safety, NoSourcePassesTheCapsAndTheFirstCapOfEachIsLogged) {
    struct Case {
        const char* source;  // as the log names it
        std::function<void(SlaveRig&)> act;
    };
    const Fav high{.rise = QStringLiteral("3"),
                   .run = QStringLiteral("1"),
                   .fall = QStringLiteral("10"),
                   .a = QStringLiteral("90"),
                   .b = QStringLiteral("80")};
    const std::vector<Case> cases = {
        {"slider",
         [](SlaveRig& s) {
             s->channelA.setValue(90);
             s->channelB.setValue(90);
         }},
        {"ramp|fall",  // one favourite played: its ramp and its fall are each capped
         [&](SlaveRig& s) {
             s->favsList.setListIndex(addFav(s, high));
             s->playSelected.push();
         }},
        {"TCP peer",
         [](SlaveRig& s) {
             s.send("A90\r\n");
             s.send("b95\r\n");
         }},
        {"HTTP client",
         [](SlaveRig& s) {
             s.send("GET /;CHECKS=OFF HTTP/1.0\r\n\r\n");
             s.send("GET /A90 HTTP/1.0\r\n\r\n");
             s.send("GET /B90 HTTP/1.0\r\n\r\n");
         }},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        SlaveRig s(QStringLiteral("maxlevela=30\nmaxlevelb=20\nautoadjust=false\n"));
        const size_t mark = s.serial.writes.size();
        cases[i].act(s);
        s.advance(120'000);
        EXPECT_LE(highest(s, mark, QLatin1Char('A')), 30) << i;
        EXPECT_LE(highest(s, mark, QLatin1Char('B')), 20) << i;
        for (const QString& source : QString::fromLatin1(cases[i].source).split(QLatin1Char('|')))
            EXPECT_TRUE(logged(s, QStringLiteral("from the ") + source)) << i;
    }
    {
        // A joined box gives B what A gets: A is held to the lower cap. The cap is what the reply
        // is checked against: no correction loop after a capped level.
        SlaveRig s(QStringLiteral("maxlevela=30\nmaxlevelb=20\nerrorcorrection=true\n"));
        s.send("J1\r\n");
        s.send("A90\r\n");
        s.send("A95\r\n", 5000);
        const QStringList levels = s.commandsAfter(0).filter(QStringLiteral("A"));
        EXPECT_EQ(levels.count(QStringLiteral("A20")), levels.size());
        EXPECT_LE(levels.size(), 3);  // a poll reply that overtakes may cost one repeat, no more
        EXPECT_EQ(s.logLines().filter(QStringLiteral("Level capped")).size(), 1);
    }
}

TEST(Safety, CapsAreSettingsAndPreferencesFields) {
    Rig r;
    r.settings(QStringLiteral("maxlevela=140\nmaxlevelb=25\n"));
    r.open();
    EXPECT_EQ(r->maxLevelA, 100);
    EXPECT_EQ(r->maxLevelB, 25);
    r->prefsWindow_Activate();
    EXPECT_EQ(r->prefsWindow.maxLevelB.text(), QStringLiteral("25"));
    r->prefsWindow.maxLevelA.setText(QStringLiteral("45"));
    r->prefsWindow.maxLevelB.setText(QStringLiteral("100"));
    r->prefsWindow.window.close();  // the close box keeps the caps
    const QString text = readText(r.prefPath(QStringLiteral("veltoprefs.ini")));
    EXPECT_TRUE(text.contains(QStringLiteral("\nmaxlevela=45\nfavsfile=")));
    EXPECT_FALSE(text.contains(QStringLiteral("maxlevelb")));  // no cap, no line
}

TEST(Safety, LosingControlStopsTheBoxAtOnce) {
    // The box is stopped in the same millisecond as the loss.
    auto stopsAtOnce = [](Rig& r, const std::function<void()>& loss) {
        const size_t mark = r.serial.writes.size();
        const qint64 t = r.clock.nowMs();
        loss();
        r.advance(0);
        for (size_t i = mark; i < r.serial.writes.size(); ++i)
            if (r.serial.writes[i].bytes == "K\r") return r.serial.writes[i].timeMs == t;
        return false;
    };
    SlaveRig s;
    s->favsList.setListIndex(addFav(s, Fav{.rise = QStringLiteral("20")}));
    s->playSelected.push();
    s.advance(5000);
    EXPECT_TRUE(stopsAtOnce(s, [&] { s->Event_KeyDown(QStringLiteral("\x1b")); }));  // the stop key
    EXPECT_EQ(s->rampTimer.mode(), Timer::Off);
    EXPECT_TRUE(stopsAtOnce(s, [&] { s.remoteControl.peerDrops(); }));
    EXPECT_TRUE(s.remoteControl.isListening());
    // The broker peer left, or the service's connection is lost.
    for (const bool left : {true, false}) {
        BrokerRig b(QStringLiteral("slave"), QStringLiteral("maxlevela=30\n"));
        b.say(";connected");
        b.say("A99");  // the broker peer is capped like any other
        EXPECT_TRUE(logged(b, QStringLiteral("A99 from the broker peer sent as A30")));
        EXPECT_TRUE(stopsAtOnce(b, [&] {
            left ? b.brokerSocket.peerSends(";disconnected\r\n") : b.brokerSocket.peerDrops();
        })) << left;
    }
    {  // an HTTP client that closes after its answer is no loss of control
        SlaveRig h(QStringLiteral("http=true\n"));
        h->favsList.setListIndex(addFav(h, Fav{.rise = QStringLiteral("20")}));
        h->playSelected.push();
        h.send("GET /;GETSTATUS HTTP/1.0\r\n\r\n");
        const size_t mark = h.serial.writes.size();
        h.remoteControl.peerDrops();
        h.advance(1);
        EXPECT_FALSE(h.commandsSince(mark).contains(QStringLiteral("K")));
        EXPECT_NE(h->rampTimer.mode(), Timer::Off);
    }
    // The program ends; a master has no box to stop.
    const size_t mark = s.serial.writes.size();
    EXPECT_TRUE(s->stopBoxForExit(200));
    EXPECT_EQ(s.commandsSince(mark), QStringList{QStringLiteral("K")});
    s->systemMode = QStringLiteral("master");
    EXPECT_FALSE(s->stopBoxForExit(200));
}

// Its way back, and the silence meanwhile, are the faults tests'; here, what it stops.
TEST(Safety, AVanishedBoxStopsPlayback) {
    SlaveRig s;
    s->favsList.setListIndex(addFav(s, Fav{.rise = QStringLiteral("20")}));
    s->playSelected.push();
    s.advance(3000);
    s.serial.vanish();
    EXPECT_EQ(s->rampTimer.mode(), Timer::Off);
    EXPECT_EQ(s->seqTimer.mode(), Timer::Off);
    EXPECT_TRUE(s->cmdSequence.isEmpty());
    EXPECT_TRUE(logged(s, QStringLiteral("The box is gone")));
}

}  // namespace
}  // namespace velto
