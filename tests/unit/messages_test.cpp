// Messages between the two users: a master's new message, replies from either side and the
// links they may take, and the colon that a slave reads and a master drops.

#include <gtest/gtest.h>

#include "support/slave_rig.h"

using namespace velto;

namespace {

/// A master linked to a slave at 127.0.0.1 on the fake socket.
struct MasterRig : Rig {
    MasterRig() {
        writePref(QStringLiteral("veltoprefs.ini"),
                  QStringLiteral("mode=master\nhost=127.0.0.1\n"));
        connect();
        remoteControl.peerConnects();
        advance(1);
        remoteControl.sent.clear();
    }
    void newMessage(const QString& text) {
        app->MenuBar1.FileNewmessage.push();
        app->compose.composeBox.setText(text);
        app->compose.sendMsg.push();
    }
};

}  // namespace

TEST(Messages, AMasterComposesAndEachMessageGoesOutOnItsOwnLine) {
    MasterRig m;
    m.newMessage(QStringLiteral("Ready: level=3?"));
    EXPECT_EQ(m.remoteControl.sent, QByteArray(";MSG=Ready: level=3?\r\n"));
    EXPECT_FALSE(m->compose.window.visible());
    EXPECT_FALSE(m->msgWindow.window.visible());  // a sent message isn't kept on this side
    EXPECT_TRUE(m->msgWindow.messageBox.text().isEmpty());

    // The box is empty at the next New message, and an empty box is sent as it is.
    m.remoteControl.sent.clear();
    m->MenuBar1.FileNewmessage.push();
    EXPECT_TRUE(m->compose.window.visible());
    EXPECT_TRUE(m->compose.composeBox.text().isEmpty());
    m->compose.sendMsg.push();
    EXPECT_EQ(m.remoteControl.sent, QByteArray(";MSG=\r\n"));
}

TEST(Messages, ARepliesOnlyOnALanOrBrokerLinkAndKeepsATranscript) {
    Rig r;
    r.open();
    MainApp::MessagesWindow& w = r->msgWindow;

    // No link, or only the connect service: nothing at all happens.
    w.msgReply.setText(QStringLiteral("Hello"));
    w.sendReply.push();
    r.connectSocket.peerConnects();
    r.advance(1);
    const qsizetype opening = r.connectSocket.sent.size();
    w.sendReply.push();
    EXPECT_EQ(r.connectSocket.sent.size(), opening);
    EXPECT_EQ(w.msgReply.text(), QStringLiteral("Hello"));
    EXPECT_TRUE(w.messageBox.text().isEmpty());

    // A LAN peer: the line with CR LF, "Sent: " in the transcript, the field emptied.
    r.connectSocket.peerDrops();
    r.remoteControl.peerConnects();
    r.advance(1);
    r.remoteControl.sent.clear();
    w.sendReply.push();
    EXPECT_EQ(r.remoteControl.sent, QByteArray(";MSG=Hello\r\n"));
    EXPECT_EQ(w.messageBox.text(), QStringLiteral("\rSent: Hello"));
    EXPECT_TRUE(w.msgReply.text().isEmpty());

    // An empty field sends nothing and writes no "Sent: " line.
    w.sendReply.push();
    EXPECT_EQ(r.remoteControl.sent, QByteArray(";MSG=Hello\r\n"));
    EXPECT_EQ(w.messageBox.text(), QStringLiteral("\rSent: Hello"));

    // The broker comes first when it links the two.
    r.brokerSocket.peerConnects();
    r.advance(1);
    r->brokerConnected = true;
    w.msgReply.setText(QStringLiteral("Via broker"));
    w.sendReply.push();
    EXPECT_EQ(r.brokerSocket.sent.right(17), QByteArray(";MSG=Via broker\r\n"));
    EXPECT_EQ(w.messageBox.text(), QStringLiteral("\rSent: Hello\rSent: Via broker"));
}

TEST(Messages, ASlaveReadsAColonThatAMasterDrops) {
    SlaveRig s;
    MasterRig m;

    // The master's message reaches the slave whole, colon and all, and opens its window.
    m.newMessage(QStringLiteral("Time: now"));
    s.send(m.remoteControl.sent);
    EXPECT_TRUE(s->msgWindow.window.visible());
    EXPECT_EQ(s->msgWindow.messageBox.text(),
              QStringLiteral("\rTIME: NOW"));  // a TCP read is upper-cased

    // The slave's answers: one with a colon is lost on the master, one without arrives.
    for (const char* reply : {"At 5: ok", "Fine = thanks"}) {
        s.remoteControl.sent.clear();
        s->msgWindow.msgReply.setText(QString::fromLatin1(reply));
        s->msgWindow.sendReply.push();
        m.remoteControl.peerSends(s.remoteControl.sent);
        m.advance(1);
    }
    EXPECT_EQ(s->msgWindow.messageBox.text(),
              QStringLiteral("\rTIME: NOW\rSent: At 5: ok\rSent: Fine = thanks"));
    EXPECT_TRUE(m->msgWindow.window.visible());
    EXPECT_EQ(m->msgWindow.messageBox.text(), QStringLiteral("\rFINE = THANKS"));
}
