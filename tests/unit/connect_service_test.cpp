// The connect service on a fake TLS socket: the key check, the reconfiguring of the copy, the
// line ends by kind, the status codes, a refused handshake, and reads that are not lines.

#include <gtest/gtest.h>

#include <optional>

#include "platform/text.h"
#include "support/rig.h"

using namespace velto;

namespace {

const QString kKey = QStringLiteral("abCD1234efGH5678");

/// A copy that has started up; `serverLogging` on so that the log can be read.
struct ConnectRig : Rig {
    ConnectRig() {
        open();
        app->serverLogging = true;
    }
    /// The key typed into the window and Connect pressed.
    void enter(const QString& text) {
        app->MenuBar1.veltoConnect.push();
        app->connectWindow.connectKey.setText(text);
        app->connectWindow.connectButton.push();
    }
    /// A key entered and the service's handshake accepted.
    void session() {
        enter(kKey);
        connectSocket.peerConnects();
        advance(1);
    }
    void service(const QByteArray& bytes) {
        connectSocket.peerSends(bytes);
        advance(1);
    }
};

}  // namespace

TEST(ConnectService, TheKeyIsSixteenCharactersOrTheEndOfALink) {
    const QString prefix = QStringLiteral("https://connect.velto.example/connect/?");
    struct Case {
        QString typed;
        std::optional<QString> key;  // none: refused
    };
    const std::vector<Case> cases = {
        {kKey, kKey},
        {QStringLiteral("  ") + kKey + QStringLiteral("\t"), kKey},
        {QStringLiteral("!!!! ???? ....,,"), QStringLiteral("!!!! ???? ....,,")},  // any characters
        {QStringLiteral("https://x.y/?abc"),
         QStringLiteral("https://x.y/?abc")},  // a short link is a key
        {prefix + QStringLiteral("key=") + kKey + QStringLiteral("   "), kKey},
        {QStringLiteral("HTTPS://Connect.Velto.Example/CONNECT/?") + kKey, kKey},
        {prefix + QStringLiteral("a=1&b=2"),
         Right(prefix + QStringLiteral("a=1&b=2"), 16)},  // not parsed
        {QStringLiteral(" ") + prefix + kKey,
         std::nullopt},  // the prefix test is on the untrimmed text
        {QStringLiteral("https://connect.velto.exam"), std::nullopt},
        {QStringLiteral("https://other.example/connect/?") + kKey, std::nullopt},
        {kKey.left(15), std::nullopt},
        {kKey + QStringLiteral("X"), std::nullopt},
        {QString(), std::nullopt},
    };
    for (const Case& c : cases) {
        ConnectRig rig;
        rig->veltoKey = QStringLiteral("old");
        rig.enter(c.typed);
        if (c.key) {
            EXPECT_EQ(rig->veltoKey, *c.key) << c.typed.toStdString();
            EXPECT_FALSE(rig->connectWindow.window.visible());
            EXPECT_EQ(rig.connectSocket.connects, 1);
            EXPECT_TRUE(rig.dialogs.messages.isEmpty());
        } else {
            EXPECT_EQ(
                rig.dialogs.messages,
                QStringList{QStringLiteral("Sorry, that doesn't look like a valid Connect Key")})
                << c.typed.toStdString();
            EXPECT_EQ(rig->veltoKey, QStringLiteral("old"));
            EXPECT_TRUE(rig->connectWindow.window.visible());
            EXPECT_EQ(rig.connectSocket.connects, 0);
            EXPECT_EQ(rig->systemMode, QStringLiteral("solo"));
        }
    }

    // The prefix follows the service the copy was pointed at.
    ConnectRig rig;
    rig->connectServiceHost = QStringLiteral("127.0.0.1");
    rig.enter(QStringLiteral("https://127.0.0.1/connect/?k=") + kKey);
    EXPECT_EQ(rig->veltoKey, kKey);
    EXPECT_EQ(rig.connectSocket.address, QStringLiteral("127.0.0.1"));
}

TEST(ConnectService, AStartTurnsTheCopyIntoAMasterAndFramesEachLineByKind) {
    ConnectRig rig;
    rig->systemMode = QStringLiteral("slave");
    rig->useBroker = true;
    rig.remoteControl.peerConnects();
    rig.brokerSocket.peerConnects();
    rig.advance(1);
    rig->brokerConnected = true;
    rig->hostInfo.setText(QStringLiteral("Broker user"));
    rig.remoteControl.sent.clear();

    rig.enter(kKey);
    EXPECT_EQ(rig->systemMode, QStringLiteral("master"));
    EXPECT_FALSE(rig->useBroker);
    EXPECT_FALSE(rig->Connect.enabled());
    EXPECT_FALSE(rig->MenuBar1.VeltoBroker.enabled());
    EXPECT_FALSE(rig->brokerConnected);
    EXPECT_FALSE(rig.brokerSocket.isConnected());
    EXPECT_FALSE(rig.remoteControl.isConnected());
    EXPECT_EQ(rig->hostInfo.text(), QString());
    EXPECT_EQ(rig.connectSocket.address, QStringLiteral("connect.velto.example"));
    EXPECT_EQ(rig.connectSocket.port, 57846);
    EXPECT_EQ(rig.logLines().mid(rig.logLines().size() - 2),
              (QStringList{QStringLiteral("Configuring settings"),
                           QStringLiteral("Talking to Velto Connect")}));

    // The opening line, upper-cased, with LF alone, flushed; then the master's commands with LF.
    rig.connectSocket.peerConnects();
    rig.advance(1);
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Talking to server"));
    EXPECT_EQ(rig.connectSocket.sent, QByteArray(";connect=ABCD1234EFGH5678\n"));
    EXPECT_EQ(rig.connectSocket.flushes, 1);
    rig->channelA.setValue(55);
    EXPECT_EQ(rig.connectSocket.writes.last(), QByteArray("A55\n"));
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    rig->Event_EnableMenuItems();
    EXPECT_TRUE(rig->MenuBar1.disconnect.enabled());

    // A second start ends the session with ";quit" and CR before it connects again, and the
    // window offers the key in use.
    rig->MenuBar1.veltoConnect.push();
    EXPECT_EQ(rig->connectWindow.connectKey.text(), kKey);
    rig->connectWindow.connectButton.push();
    EXPECT_EQ(rig.connectSocket.writes.last(), QByteArray(";quit\r"));
    EXPECT_FALSE(rig.connectSocket.isConnected());
    EXPECT_EQ(rig.connectSocket.connects, 2);
    rig.connectSocket.peerConnects();
    rig.advance(1);

    // Disconnect: ";quit" with CR, the key and link forgotten; the service does the closing.
    rig->veltoLinked = true;
    const int flushes = rig.connectSocket.flushes;
    rig->MenuBar1.disconnect.push();
    EXPECT_EQ(rig.connectSocket.writes.last(), QByteArray(";quit\r"));
    EXPECT_EQ(rig.connectSocket.flushes, flushes);
    EXPECT_TRUE(rig.connectSocket.isConnected());
    EXPECT_TRUE(rig->veltoKey.isEmpty());
    EXPECT_FALSE(rig->veltoLinked);
    rig->Event_EnableMenuItems();
    EXPECT_FALSE(rig->MenuBar1.disconnect.enabled());
    // Nothing gives the other modes back.
    EXPECT_FALSE(rig->Connect.enabled());
    EXPECT_EQ(rig->systemMode, QStringLiteral("master"));
}

TEST(ConnectService, EachStatusCodeShowsItsTextAndChangesItsState) {
    struct Case {
        QByteArray line;
        bool linkedBefore;
        QString hostInfo;  // "-": as it was
        QString message;   // empty: none
        bool linkedAfter;
        bool keyKept;
        bool closed;
    };
    const QString same = QStringLiteral("-");
    const std::vector<Case> cases = {
        {";200\n", true, same, {}, true, true, false},
        {";201\r\n", false, QStringLiteral("Connection made"), {}, true, true, false},
        {";202\r", true, QStringLiteral("Connection lost"), {}, false, true, true},
        {";203", true, same, {}, true, true, false},
        {";210The box is on battery\r\n", true, same,
         QStringLiteral("Server message: The box is on battery"), true, true, false},
        {";210\n", true, same, QStringLiteral("Server message: "), true, true, false},
        {";300\n", true, QStringLiteral("Waiting for link"), {}, true, true, false},
        {";400\n", true, QStringLiteral("Connection lost"), {}, false, true, true},
        {";401\n", true, same,
         QStringLiteral("Timeout. Please ask for another Connect Key and try again"), true, false,
         true},
        {";402\n", true, same,
         QStringLiteral("The Connect Key has expired. Please ask the other user for a new one"),
         true, false, true},
        {";404\n", true, same,
         QStringLiteral("The other user's 2B is being controlled by someone else. Try later"), true,
         true, true},
        {";500\n", true, same, QStringLiteral("Something really bad has happened. Disconnecting"),
         false, true, true},
        {";701\n", true, QStringLiteral("Command blocked"), {}, true, true, false},
        {";999 what\n", true, same, {}, true, true, false},
        // Only the front of a read is read: the second code is lost.
        {";300\n;500\n", true, QStringLiteral("Waiting for link"), {}, true, true, false},
    };
    for (const Case& c : cases) {
        ConnectRig rig;
        rig.session();
        rig->hostInfo.setText(QStringLiteral("before"));
        rig->veltoLinked = c.linkedBefore;
        rig.service(c.line);
        const std::string row = c.line.toStdString();
        EXPECT_EQ(rig->hostInfo.text(), c.hostInfo == same ? QStringLiteral("before") : c.hostInfo)
            << row;
        EXPECT_EQ(rig.dialogs.messages,
                  c.message.isEmpty() ? QStringList{} : QStringList{c.message})
            << row;
        EXPECT_EQ(rig->veltoLinked, c.linkedAfter) << row;
        EXPECT_EQ(rig->veltoKey, c.keyKept ? kKey : QString()) << row;
        EXPECT_EQ(rig.connectSocket.isConnected(), !c.closed) << row;
        EXPECT_EQ(rig.logLines().last(),
                  QStringLiteral("Connect server: ") + Trim(QString::fromLatin1(c.line).replace(
                                                           QLatin1Char('\r'), QLatin1Char('\n'))))
            << row;
    }

    // ";404" keeps the key: the window offers it again, but Disconnect has no link to end.
    ConnectRig rig;
    rig.session();
    rig.service(";404\n");
    rig->Event_EnableMenuItems();
    EXPECT_FALSE(rig->MenuBar1.disconnect.enabled());
    rig->MenuBar1.veltoConnect.push();
    EXPECT_EQ(rig->connectWindow.connectKey.text(), kKey);
}

TEST(ConnectService, ARefusedHandshakeIsLoggedAndNothingIsSent) {
    ConnectRig rig;
    rig->serverLogging = false;
    rig->hostInfo.setText(QStringLiteral("before"));
    rig.enter(kKey);
    rig.connectSocket.failHandshake(
        QStringLiteral("The certificate is self-signed, and untrusted"));
    rig.advance(1);
    EXPECT_EQ(rig.logLines(),
              QStringList{QStringLiteral("TLS: The certificate is self-signed, and untrusted")});
    EXPECT_TRUE(rig.connectSocket.sent.isEmpty());
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("before"));
    rig->channelA.setValue(30);
    EXPECT_TRUE(rig.connectSocket.sent.isEmpty());
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}

TEST(ConnectService, ReadsThatAreNotWholeLinesAndAServiceThatGoesAway) {
    ConnectRig rig;
    rig.session();
    rig.service(";201\n");

    // Each read is one reply: a line in two pieces moves nothing, a whole one the panel.
    rig.service("700:80:40:");
    rig.service("60:60:5:H:0:2.106\r\n");
    EXPECT_EQ(rig->channelA.value(), 0);
    rig.service("700:80:40:60:60:5:H:0:2.106\r\n");
    EXPECT_EQ(rig->channelA.value(), 40);
    EXPECT_EQ(rig->channelB.value(), 20);
    EXPECT_TRUE(rig.serial.writes.empty());  // a master has no box of its own to echo to

    // A megabyte with no line end, as a reply and as a code line: read, shown, and the session
    // goes on at the next read.
    rig.service(QByteArray(1024 * 1024, '7'));
    rig.service(";" + QByteArray(1024 * 1024, '3'));
    rig.service("700:60:50:60:60:5:H:0:2.106\n");
    EXPECT_EQ(rig->channelA.value(), 30);
    EXPECT_TRUE(rig.connectSocket.isConnected());
    EXPECT_TRUE(rig.boundary.reports().isEmpty());

    // The service drops the connection mid-session: nothing is reported, the master's
    // commands go nowhere, and Disconnect is off.
    const QByteArray sent = rig.connectSocket.sent;
    rig.connectSocket.peerDrops();
    rig.advance(1);
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Connection made"));
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    rig->channelA.setValue(45);
    EXPECT_EQ(rig.connectSocket.sent, sent);
    EXPECT_TRUE(rig.remoteControl.sent.isEmpty());
    rig->Event_EnableMenuItems();
    EXPECT_FALSE(rig->MenuBar1.disconnect.enabled());
}
