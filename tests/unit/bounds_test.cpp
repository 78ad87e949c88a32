// Bounds on what a peer, a file or a field can make the program do: long reads and commands,
// silent HTTP clients, peers that don't read, numbers past 64 bits, and a port that can't be had.

#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "support/slave_rig.h"

namespace velto {
namespace {

using namespace Qt::StringLiterals;

constexpr qint64 kLongest = std::numeric_limits<qint64>::max();

qsizetype logged(const Rig& rig, const QString& text) {
    return rig.logLines().filter(text).size();
}

TEST(Bounds, LongReadsAndCommandsNeverReachTheBoxAndLogOncePerPeer) {
    SlaveRig s;
    const size_t mark = s.serial.writes.size();
    s.send(QByteArray(4097, 'A'));
    s.send(";TIMEOUT=20" + QByteArray(5000, ' ') + "\r\n");  // would pass as a command
    // At the bound the read is a line, but far too long a command for the box.
    s.send(QByteArray(4096, 'A'));
    s.send("A" + QByteArray(64, '1'));
    // The longest command the box is sent, and a line as usual.
    const QString longest = "A" + QString(62, u'0') + "5";
    s.send(longest.toLatin1());
    s.send("a30\r\n", 50);
    EXPECT_EQ(s.commandsAfter(mark), (QStringList{longest, "A30"}));
    EXPECT_EQ(s->slaveTimeout, 600);
    // Each bound logs its first act only.
    EXPECT_EQ(
        s.logLines().filter(" was dropped: a line is at most 4 KiB"),
        QStringList{"A line of 4097 bytes from 127.0.0.7 was dropped: a line is at most 4 KiB"});
    EXPECT_EQ(s.logLines().filter("was not sent to the box"),
              QStringList{
                  "A command of 4096 characters was not sent to the box: a command is at most 64"});
}

TEST(Bounds, AnHttpClientThatSendsNoRequestIsDisconnectedAfterTenSeconds) {
    // A client that has asked waits for its answer, however long it takes.
    for (const QByteArray& request : {QByteArray(), QByteArray("GET /A5 HTTP/1.0\r\n\r\n")}) {
        const bool cutOff = request.isEmpty();
        SlaveRig s("http=true\n");
        s.link.latencyMs = 60'000;  // no answer comes within the wait
        if (!cutOff) s.send(request);
        s.advance(MainApp::kRequestWaitMs - 3);
        EXPECT_TRUE(s.remoteControl.isConnected());
        s.advance(2);
        EXPECT_EQ(!s.remoteControl.isConnected(), cutOff) << request.constData();
        EXPECT_EQ(logged(s, "127.0.0.7 sent no request within 10 seconds: disconnected"),
                  cutOff ? 1 : 0);
    }
}

TEST(Bounds, APeerThatLeavesOneMebibyteUnreadIsDisconnectedAndTheBoxStops) {
    SlaveRig s;
    for (int i = 0; i < 300; ++i) addFav(s, Fav{.name = u"favourite %1"_s.arg(i)});
    s->channelA.setValue(40);
    s.advance(300);
    s.remoteControl.peerStopsReading = true;
    const size_t mark = s.serial.writes.size();
    qint64 before = 0;  // 300 favourites a ;GETFAVS, asked again and again
    while (s.remoteControl.isConnected() && s.remoteControl.unread < 2 * MainApp::kMaxPeerBacklog) {
        before = s.remoteControl.unread;
        s.send(";GETFAVS");
    }
    ASSERT_FALSE(s.remoteControl.isConnected());
    EXPECT_LE(before, MainApp::kMaxPeerBacklog);
    EXPECT_GT(s.remoteControl.unread, MainApp::kMaxPeerBacklog);
    EXPECT_EQ(logged(s, "127.0.0.7 left more than 1 MiB of output unread: disconnected"), 1);
    s.advance(500);
    EXPECT_TRUE(s.commandsAfter(mark).contains("K"));
    EXPECT_EQ(s.box().levelA(), 0);
}

TEST(Bounds, NumbersFromPeersFilesAndFieldsSaturateInsteadOfWrapping) {
    // Periods from a peer are the longest a timer holds: ";TIMEOUT=1E16" stops no box.
    SlaveRig s;
    const std::pair<const char*, const Timer*> periods[] = {
        {";TIMEOUT=1E16", &s->slaveIdle},
        {";GOTO=40,40,50,50,1E17", &s->rampTimer},
        {";PLAY=40,40,50,50,1E17,10,10,1,L", &s->rampTimer}};
    for (const auto& [line, timer] : periods) {
        s.send(line);
        EXPECT_EQ(timer->period(), kLongest) << line;
    }
    // Moves: relative past the range, and to a favourite's level below it.
    const Fav huge{.rise = "-1E30", .run = "-1E30", .a = "-1E30"};
    s->adjustA.setText("+1E30");
    s->adjustB.setText("-1E30");
    s->adjustTime.setText("100");
    s->Adjust.push();
    s->favsList.setListIndex(addFav(s, huge));
    s->favsList.setSelected(s->favsList.listIndex(), true);
    s->adjustSelected.push();
    EXPECT_EQ(s->moveSteps, kLongest);
    EXPECT_TRUE(s.boundary.reports().isEmpty());
}

TEST(Bounds, ASlaveThatCannotListenSaysSoUntilItCan) {
    Rig rig;  // a port past the range is proven on a real socket
    rig.settings(u"mode=slave\nport=7999\n"_s);
    rig.remoteControl.refuseListen = TcpSocket::AddressInUseError;
    rig.open();
    rig->_activityToggle_Action();
    rig->Connect.push();
    rig.advance(6100);  // polls come and go; the label stays, and nothing is advertised
    const QString text = u"Not listening on port 7999: it is in use"_s;
    EXPECT_EQ(rig->hostInfo.text(), text);
    EXPECT_EQ(rig.logLines().filter("listening on port"), QStringList{text});
    EXPECT_EQ(rig->localAddr.text(), QString());
    EXPECT_TRUE(rig.udp.record->sent.empty());
    rig.remoteControl.refuseListen = 0;
    rig->Connect.push();
    EXPECT_EQ(rig->hostInfo.text(), QString());
    EXPECT_EQ(rig.logLines().last(), "Address: 127.0.0.1");
}

}  // namespace
}  // namespace velto
