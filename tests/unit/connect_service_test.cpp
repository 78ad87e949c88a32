// The connect service on a fake TLS socket: the key, the copy made a master, the status codes.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

const QString kKey = QStringLiteral("abCD1234efGH5678");

/// A logging slave linked to a peer and the broker, `typed` entered as the key (TLS: `handshake`).
struct ConnectRig : Rig {
    explicit ConnectRig(const QString& typed = kKey, bool handshake = true) {
        open();
        app->systemMode = QStringLiteral("slave");
        app->useBroker = true;
        peerJoins(remoteControl);
        peerJoins(brokerSocket);
        app->brokerConnected = true;
        app->serverLogging = true;
        app->veltoKey = QStringLiteral("old");
        app->MenuBar1.veltoConnect.push();
        app->connectWindow.connectKey.setText(typed);
        app->connectWindow.connectButton.push();
        if (handshake) connectSocket.peerConnects();
        advance(1);
    }
    void service(const QByteArray& bytes) {
        connectSocket.peerSends(bytes);
        advance(1);
    }
};

}  // namespace

TEST(ConnectService, TheKeyIsSixteenCharactersOrTheEndOfALink) {
    const std::pair<QString, bool> cases[] = {
        {QStringLiteral("  ") + kKey + QStringLiteral("\t"), true},
        {QStringLiteral("HTTPS://Connect.Velto.Example/CONNECT/?") + kKey, true},
        // The prefix test is on the untrimmed text.
        {QStringLiteral(" https://connect.velto.example/connect/?") + kKey, false},
        {QStringLiteral("https://other.example/connect/?") + kKey, false},
        {kKey.left(15), false},
        {kKey + QStringLiteral("X"), false},
    };
    for (const auto& [typed, valid] : cases) {
        ConnectRig rig(typed, false);
        EXPECT_EQ(rig->veltoKey, valid ? kKey : QStringLiteral("old")) << typed.toStdString();
        EXPECT_EQ(rig.dialogs.messages,
                  valid ? QStringList{}
                        : QStringList{"Sorry, that doesn't look like a valid Connect Key"});
    }
}

TEST(ConnectService, AStartTurnsTheCopyIntoAMasterAndAStopLeavesTheClosingToTheService) {
    ConnectRig rig;
    EXPECT_EQ(rig->systemMode, QStringLiteral("master"));
    EXPECT_FALSE(rig->useBroker || rig->Connect.enabled() || rig->MenuBar1.VeltoBroker.enabled() ||
                 rig->brokerConnected || rig.brokerSocket.isConnected() ||
                 rig.remoteControl.isConnected());
    EXPECT_EQ(rig.connectSocket.address + ':' + QString::number(rig.connectSocket.port),
              QStringLiteral("connect.velto.example:57846"));
    // A status line of the far box moves the panel when it comes whole in one read.
    rig.service("700:80:40:");
    rig.service("60:60:5:H:0:2.106\r\n");
    EXPECT_EQ(rig->channelA.value(), 0);
    rig.service("700:80:40:60:60:5:H:0:2.106\r\n");
    EXPECT_EQ(rig->channelA.value(), 40);

    // A second start ends the session with ";quit" and CR before it connects again.
    rig->MenuBar1.veltoConnect.push();
    rig->connectWindow.connectButton.push();  // the window offers the key in use
    EXPECT_EQ(rig.connectSocket.writes.last(), QByteArray(";quit\r"));
    EXPECT_EQ(rig.connectSocket.connects, 2);
    rig.peerJoins(rig.connectSocket);

    // Disconnect: ";quit" with CR, the key and link forgotten; the service does the closing.
    rig->veltoLinked = true;
    rig->MenuBar1.disconnect.push();
    EXPECT_EQ(rig.connectSocket.writes.last(), QByteArray(";quit\r"));
    EXPECT_EQ(rig.connectSocket.flushes, 2);
    EXPECT_TRUE(rig.connectSocket.isConnected());
    EXPECT_TRUE(rig->veltoKey.isEmpty());
    EXPECT_FALSE(rig->veltoLinked);
}

TEST(ConnectService, EachStatusCodeShowsItsTextAndChangesItsState) {
    // The state after each read: host info | message | link, key, connection.
    const std::pair<QByteArray, QString> cases[] = {
        {";201\r\n", "Connection made||linked key open"},
        {";202\r", "Connection lost||unlinked key closed"},
        {";300\n", "Waiting for link||linked key open"},
        {";400\n", "Connection lost||unlinked key closed"},
        {";401\n",
         "before|Timeout. Please ask for another Connect Key and try again|linked closed"},
        {";402\n",
         "before|The Connect Key has expired. Please ask the other user for a new one|"
         "linked closed"},
        {";404\n",
         "before|The other user's 2B is being controlled by someone else. Try later|"
         "linked key closed"},
        {";500\n", "before|Something really bad has happened. Disconnecting|unlinked key closed"},
        {";701\n", "Command blocked||linked key open"},
        {";300\n;500\n", "Waiting for link||linked key open"},  // one read, one reply
    };
    for (const auto& [line, state] : cases) {
        ConnectRig rig;
        rig->hostInfo.setText(QStringLiteral("before"));
        rig->veltoLinked = !line.startsWith(";201");
        rig.service(line);
        const char* key = rig->veltoKey == kKey ? " key" : rig->veltoKey.isEmpty() ? "" : " ?";
        EXPECT_EQ(QString(rig->hostInfo.text() + '|' + rig.dialogs.messages.join(QString()) + '|' +
                          (rig->veltoLinked ? "linked" : "unlinked") + key +
                          (rig.connectSocket.isConnected() ? " open" : " closed")),
                  state);
        EXPECT_EQ(rig.logLines().last(), "Connect server: " + QString::fromLatin1(line).trimmed());
    }
}
