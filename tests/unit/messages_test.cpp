// Messages between the two users: a master's new message, and replies and the links they take.

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
    // The box is empty at the next New message, and an empty box is sent as it is.
    m->MenuBar1.FileNewmessage.push();
    m->compose.sendMsg.push();
    EXPECT_EQ(m.remoteControl.sent, QByteArray(";MSG=Ready: level=3?\r\n;MSG=\r\n"));
    EXPECT_TRUE(m->msgWindow.messageBox.text().isEmpty());  // a sent message isn't kept here
}

TEST(Messages, ARepliesOnlyOnALanOrBrokerLinkAndKeepsATranscript) {
    Rig r;
    r.open();
    MainApp::MessagesWindow& w = r->msgWindow;
    // Only the connect service: nothing at all happens.
    w.msgReply.setText(QStringLiteral("Hello"));
    r.peerJoins(r.connectSocket);
    const qsizetype opening = r.connectSocket.sent.size();
    w.sendReply.push();
    EXPECT_EQ(r.connectSocket.sent.size(), opening);
    EXPECT_TRUE(w.messageBox.text().isEmpty());
    // A LAN peer: the line with CR LF, the field emptied; an empty field then sends nothing.
    r.connectSocket.peerDrops();
    r.peerJoins(r.remoteControl);
    r.remoteControl.sent.clear();
    w.sendReply.push();
    w.sendReply.push();
    EXPECT_EQ(r.remoteControl.sent, QByteArray(";MSG=Hello\r\n"));
    // The broker comes first when it links the two.
    r.peerJoins(r.brokerSocket);
    r->brokerConnected = true;
    w.msgReply.setText(QStringLiteral("Via broker"));
    w.sendReply.push();
    EXPECT_TRUE(r.brokerSocket.sent.endsWith(";MSG=Via broker\r\n"));
    EXPECT_EQ(w.messageBox.text(), QStringLiteral("\rSent: Hello\rSent: Via broker"));
}
