// Messages between the two users: a master's new message, and replies and the links they may
// take.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

TEST(Messages, AMasterComposesAndEachMessageGoesOutOnItsOwnLine) {
    Rig m;
    m.settings(QStringLiteral("mode=master\nhost=127.0.0.1\n"));
    m.connect();
    m.peerJoins(m.remoteControl);
    m.remoteControl.sent.clear();
    m->MenuBar1.FileNewmessage.push();
    m->compose.composeBox.setText(QStringLiteral("Ready: level=3?"));
    m->compose.sendMsg.push();
    EXPECT_FALSE(m->compose.window.visible());
    EXPECT_TRUE(m->msgWindow.messageBox.text().isEmpty());  // a sent message isn't kept here
    // The box is empty at the next New message, and an empty box is sent as it is.
    m->MenuBar1.FileNewmessage.push();
    EXPECT_TRUE(m->compose.window.visible());
    EXPECT_TRUE(m->compose.composeBox.text().isEmpty());
    m->compose.sendMsg.push();
    EXPECT_EQ(m.remoteControl.sent, QByteArray(";MSG=Ready: level=3?\r\n;MSG=\r\n"));
}

TEST(Messages, ARepliesOnlyOnALanOrBrokerLinkAndKeepsATranscript) {
    Rig r;
    r.open();
    MainApp::MessagesWindow& w = r->msgWindow;
    // No link, or only the connect service: nothing at all happens.
    w.msgReply.setText(QStringLiteral("Hello"));
    w.sendReply.push();
    r.peerJoins(r.connectSocket);
    const qsizetype opening = r.connectSocket.sent.size();
    w.sendReply.push();
    EXPECT_EQ(r.connectSocket.sent.size(), opening);
    EXPECT_EQ(w.msgReply.text(), QStringLiteral("Hello"));
    EXPECT_TRUE(w.messageBox.text().isEmpty());
    // A LAN peer: the line with CR LF, "Sent: " in the transcript, the field emptied; an empty
    // field then sends nothing.
    r.connectSocket.peerDrops();
    r.peerJoins(r.remoteControl);
    r.remoteControl.sent.clear();
    w.sendReply.push();
    w.sendReply.push();
    EXPECT_EQ(r.remoteControl.sent, QByteArray(";MSG=Hello\r\n"));
    EXPECT_TRUE(w.msgReply.text().isEmpty());
    // The broker comes first when it links the two.
    r.peerJoins(r.brokerSocket);
    r->brokerConnected = true;
    w.msgReply.setText(QStringLiteral("Via broker"));
    w.sendReply.push();
    EXPECT_EQ(r.brokerSocket.sent.right(17), QByteArray(";MSG=Via broker\r\n"));
    EXPECT_EQ(w.messageBox.text(), QStringLiteral("\rSent: Hello\rSent: Via broker"));
}
