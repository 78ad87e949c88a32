// The broker session on a fake TLS socket in virtual time: login, the service's lines, a slave's
// answer to a request, the linked session both ways, the menu items, and input that is cut,
// empty, endless or refused.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

/// A copy logged in to the fake service in the given mode, with what it wrote cleared.
struct Broker {
    explicit Broker(const QString& mode, const QString& prefs = {}) {
        rig.writePref(QStringLiteral("veltoprefs.ini"),
                      QStringLiteral("mode=") + mode +
                          QStringLiteral("\nbrokerid=me@velto.example\nbrokerpin=4321\nusebroker=true\n") + prefs);
        rig.open();
        rig->Connect.push();
        rig.brokerSocket.peerConnects();
        rig.advance(100);
        say(";info:welcome");
        rig.brokerSocket.sent.clear();
    }
    void say(const QByteArray& line) {
        rig.brokerSocket.peerSends(line + "\r\n");
        rig.advance(1);
    }
    QString sent() {
        const QString s = QString::fromUtf8(rig.brokerSocket.sent);
        rig.brokerSocket.sent.clear();
        return s;
    }
    Rig rig;
};

}  // namespace

TEST(BrokerSession, LogsInOnInfoAndAMasterAsksForItsPeerOrTheList) {
    Rig rig;
    rig.open();
    rig->useBroker = true;
    rig->systemMode = QStringLiteral("master");
    // No identity: a message, no connection.
    rig->Connect.push();
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{QStringLiteral("Your must enter your email address and PIN for the Velto Broker service")});
    EXPECT_EQ(rig.brokerSocket.connects, 0);

    rig->brokerID = QStringLiteral("me@velto.example");
    rig->brokerPIN = QStringLiteral("4321");
    rig->brokerProfile = QStringLiteral("Hi; there");
    rig->Connect.push();
    EXPECT_EQ(rig.brokerSocket.connects, 1);
    EXPECT_EQ(rig.brokerSocket.address, QStringLiteral("broker.velto.example"));
    EXPECT_EQ(rig.brokerSocket.port, 37846);
    EXPECT_TRUE(rig->MenuBar1.vbRequest.enabled());
    rig.brokerSocket.peerConnects();
    rig.advance(1);
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Connected to Broker"));
    EXPECT_FALSE(rig->MenuBar1.vbConnect.enabled());
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());  // the service speaks first

    rig.brokerSocket.peerSends(";INFO:VeltoBroker 2\r\n");
    rig.advance(1);
    EXPECT_EQ(rig.brokerSocket.sent, QByteArray(";register=me@velto.example;4321;v2;Hi; there\r"));

    // Without an auto peer the user list is asked for and emptied first.
    rig.brokerSocket.sent.clear();
    rig->brokerUsers.userList.addRow(QStringLiteral("stale"));
    rig->brokerProfiles = {QStringLiteral("stale")};
    rig.brokerSocket.peerSends(";registered:ok\n");
    rig.advance(1);
    EXPECT_EQ(rig.brokerSocket.sent, QByteArray(";users\r"));
    EXPECT_EQ(rig->brokerUsers.userList.listCount(), 0);
    EXPECT_TRUE(rig->brokerProfiles.isEmpty());

    rig.brokerSocket.sent.clear();
    rig->brokerauto = QStringLiteral("slave@velto.example");
    rig.brokerSocket.peerSends(";registered:ok\n");
    rig.advance(1);
    EXPECT_EQ(rig.brokerSocket.sent, QByteArray(";connect=slave@velto.example\r"));

    // While linked, ";info:" is a peer line and sends no second login.
    rig.brokerSocket.sent.clear();
    rig->brokerConnected = true;
    rig.brokerSocket.peerSends(";info:again\n");
    rig.advance(1);
    EXPECT_TRUE(rig.brokerSocket.sent.isEmpty());
}

TEST(BrokerSession, ServiceLinesShowTheirMessagesAndTheUserList) {
    Broker b(QStringLiteral("master"));
    Rig& rig = b.rig;
    struct Case {
        QByteArray line;
        QString message;
    };
    const std::vector<Case> cases = {
        {";error:Bad PIN:more", QStringLiteral("VeltoBroker Error:\nBad PIN")},
        {";broadcast:Down at noon", QStringLiteral("VeltoBroker System Message:\nDown at noon")},
        {";denied", QStringLiteral("Your connection request was rejected")},
        {";unavailable", QStringLiteral("Sorry. The requested user is not online at present")},
        {";busy", QStringLiteral("Sorry. The requested user is busy")},
        {";total:0", QStringLiteral("Sorry; there are no other users available via Velto Broker. Please try later")},
        {";disconnected", QStringLiteral("The connection via VeltoBroker has been lost. The other person may have "
                                         "quit, or lost their link to the server")},
        {";failed:  ", QStringLiteral("You could not be logged in to VeltoBroker. Please check your settings. The "
                                      "response returned was ")},
    };
    for (const Case& c : cases) {
        rig.dialogs.messages.clear();
        b.say(c.line);
        EXPECT_EQ(rig.dialogs.messages, QStringList{c.message}) << c.line.constData();
    }
    EXPECT_EQ(rig->hostInfo.text(), QStringLiteral("Broker login failed"));
    EXPECT_FALSE(rig.brokerSocket.isConnected());
    EXPECT_FALSE(rig->brokerUsers.window.visible());

    // The list, with the own entry (any case, padded) left out; ";total:" shows row 0.
    Broker m(QStringLiteral("master"));
    m.say(";user:ann@velto.example;Likes tea");
    m.say(";user: ME@velto.example ;Myself");
    m.say(";user:bob@velto.example;not supported");
    m.say(";total:3");
    MainApp::BrokerUsers& users = m.rig->brokerUsers;
    EXPECT_EQ(users.userList.rows(),
              (QStringList{QStringLiteral("ann@velto.example"), QStringLiteral("bob@velto.example")}));
    EXPECT_EQ(m.rig->brokerProfiles, (QStringList{QStringLiteral("Likes tea"), QStringLiteral("not supported")}));
    EXPECT_TRUE(users.window.visible());
    EXPECT_EQ(users.userList.listIndex(), 0);
    EXPECT_EQ(users.userProfile.text(), QStringLiteral("Likes tea"));
    EXPECT_TRUE(users.requestConnect.enabled());
    EXPECT_TRUE(m.rig.dialogs.messages.isEmpty());
}

TEST(BrokerSession, ASlaveAnswersARequestByItsListsOrByAsking) {
    struct Case {
        const char* accept;
        const char* reject;
        std::optional<bool> answer;  // the user's, when asked
        QByteArray reply;
        bool asked;
        bool auto_;
    };
    const std::vector<Case> cases = {
        {"Master@velto.example", "", {}, ";accept=master@velto.example\r", false, true},
        {"", "master@velto.example", {}, ";reject=master@velto.example\r", false, false},
        {"master@velto.example", "master@velto.example", {}, ";accept=master@velto.example\r", false, true},
        {"", "", true, ";accept=master@velto.example\r", true, false},
        {"", "", false, ";reject=master@velto.example\r", true, false},
        {"", "", {}, ";reject=master@velto.example\r", true, false},  // headless: nobody says yes
    };
    for (const Case& c : cases) {
        QString prefs;
        if (*c.accept) prefs += QStringLiteral("brokeraccept=") + QLatin1String(c.accept) + QLatin1Char('\n');
        if (*c.reject) prefs += QStringLiteral("brokerreject=") + QLatin1String(c.reject) + QLatin1Char('\n');
        Broker b(QStringLiteral("slave"), prefs);
        b.rig->brokerAutoConnected = !c.auto_;
        if (c.answer) b.rig.dialogs.answers.push_back(*c.answer);
        b.say(";connect= master@velto.example ;Hello");
        EXPECT_EQ(b.rig.brokerSocket.sent, c.reply) << c.accept << c.reject;
        EXPECT_EQ(b.rig->currentPeer, QStringLiteral("master@velto.example"));
        EXPECT_EQ(b.rig->brokerAutoConnected, c.auto_);
        ASSERT_EQ(b.rig.dialogs.questions.size(), c.asked ? 1u : 0u);
        if (c.asked) {
            EXPECT_EQ(b.rig.dialogs.questions[0].text,
                      QStringLiteral("Do you want to accept a connection from  master@velto.example \rProfile: Hello"));
            EXPECT_EQ(b.rig.dialogs.questions[0].title, QStringLiteral("Velto Broker request"));
            EXPECT_EQ(b.rig.dialogs.questions[0].icon, Dialogs::Question);
        }
    }
    // A master ignores requests.
    Broker m(QStringLiteral("master"));
    m.say(";connect=x;y");
    EXPECT_TRUE(m.rig.brokerSocket.sent.isEmpty());
    EXPECT_TRUE(m.rig->currentPeer.isEmpty());
}

TEST(BrokerSession, ALinkedSlaveRunsTheMastersLinesAndReportsBack) {
    Broker s(QStringLiteral("slave"), QStringLiteral("brokeraccept=boss\ntimeout=30\n"));
    Rig& rig = s.rig;
    s.say(";connect=boss;The boss");
    s.sent();
    s.say(";connected");
    EXPECT_TRUE(rig->brokerConnected);
    EXPECT_TRUE(s.sent().startsWith(
        QStringLiteral(";VELTO:Control/Server version 2.6.1, build 25 on OS X (via Velto Broker)\r\n"
                       ";STATUS:type=QTR,25\r\n")));

    // A device line reaches the box; the box's reply goes back as a status line.
    const size_t from = rig.serial.writes.size();
    s.say("A55");
    rig.advance(500);
    EXPECT_TRUE(rig.commandsSince(from).contains(QStringLiteral("A55")));
    EXPECT_EQ(rig.box().levelA(), 55);
    EXPECT_TRUE(s.sent().contains(QString::fromLatin1(rig.box().statusLine()) + QStringLiteral("\r\n")));
    // Extended commands answer over the broker too.
    s.say(";GETSTATUS");
    rig.advance(500);
    EXPECT_TRUE(s.sent().contains(QStringLiteral(";STATUS:")));

    // Every line counts against the time-out, chat too: 29 s after a chat line nothing is stopped.
    rig.advance(20000);
    s.say(";chat=boss;still here");
    rig.advance(29000);
    EXPECT_EQ(rig.box().levelA(), 55);
    rig.advance(2000);
    EXPECT_EQ(rig.box().levelA(), 0);

    // ";disconnected" for an auto-accepted peer says nothing, and ends the link.
    rig.dialogs.messages.clear();
    s.say(";disconnected");
    EXPECT_FALSE(rig->brokerConnected);
    EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    const size_t after = rig.serial.writes.size();
    s.say("A60");
    rig.advance(500);
    EXPECT_FALSE(rig.commandsSince(after).contains(QStringLiteral("A60")));
}

TEST(BrokerSession, ALinkedMasterShowsTheFarBoxAndSendsItsCommandsOverTheService) {
    Broker m(QStringLiteral("master"));
    Rig& rig = m.rig;
    m.say(";connected");
    EXPECT_TRUE(m.sent().isEmpty());  // a master opens with nothing
    m.say(";STATUS:type=QTR,25");
    EXPECT_TRUE(rig->advancedRemote);
    EXPECT_TRUE(m.sent().contains(QStringLiteral(";getfavs")));
    m.say("80:90:40:60:3:L:0:0:2106");
    EXPECT_EQ(rig->channelA.value(), 45);
    rig->channelB.setValue(33);
    EXPECT_TRUE(m.sent().contains(QStringLiteral("B33\r\n")));
}

TEST(BrokerSession, MenuItemsEndTheLinkBlockThePeerAndLeaveTheService) {
    Broker s(QStringLiteral("slave"), QStringLiteral("brokeraccept=eve\nbrokeraccept=ann\nbrokeraccept=EVE\n"));
    Rig& rig = s.rig;
    s.say(";connect=eve;x");
    s.say(";connected");
    s.sent();
    rig->MenuBar1.vbBlock.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";end\r"));
    EXPECT_FALSE(rig->brokerConnected);
    EXPECT_EQ(rig->brokerAccept, QStringList{QStringLiteral("ann")});
    EXPECT_EQ(rig->brokerReject, QStringList{QStringLiteral("eve")});
    ASSERT_EQ(rig.dialogs.notices.size(), 1u);
    EXPECT_EQ(rig.dialogs.notices[0].text, QStringLiteral("eve has been added to the auto-reject list"));
    EXPECT_EQ(rig.dialogs.notices[0].title, QStringLiteral("User blocked"));
    EXPECT_EQ(rig.dialogs.notices[0].icon, Dialogs::Warning);
    EXPECT_TRUE(rig->currentPeer.isEmpty());
    // Blocked again with nobody: the message still comes, and the empty name is listed once.
    rig->MenuBar1.vbBlock.push();
    rig->MenuBar1.vbBlock.push();
    EXPECT_EQ(rig->brokerReject, (QStringList{QStringLiteral("eve"), QString()}));
    EXPECT_TRUE(s.sent().isEmpty());

    s.say(";connect=ann;x");
    s.say(";connected");
    s.sent();
    rig->MenuBar1.vbDisconnect.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";end\r"));
    EXPECT_FALSE(rig->brokerConnected);
    rig->MenuBar1.vbDisconnect.push();
    EXPECT_TRUE(s.sent().isEmpty());

    rig->MenuBar1.vbRequest.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";users\r"));
    rig->MenuBar1.vbConnect.push();  // up already: no second connection
    EXPECT_EQ(rig.brokerSocket.connects, 1);
    rig->MenuBar1.vbQuit.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";quit\r"));
    EXPECT_TRUE(rig->hostInfo.text().isEmpty());
    EXPECT_TRUE(rig.brokerSocket.isConnected());  // the service closes, not the client

    rig.brokerSocket.peerDrops();
    rig.advance(1);
    rig.dialogs.messages.clear();
    rig->MenuBar1.vbRequest.push();
    EXPECT_EQ(rig.dialogs.messages, QStringList{QStringLiteral("You are not connected to VeltoBroker")});
    rig->MenuBar1.vbConnect.push();
    EXPECT_EQ(rig.brokerSocket.connects, 2);
}

TEST(BrokerSession, CutEmptyEndlessAndRefusedInput) {
    Broker m(QStringLiteral("master"));
    Rig& rig = m.rig;
    rig->_activityToggle_Action();
    // Only whole lines count; what follows the last line end is lost, not kept.
    rig.brokerSocket.peerSends(";busy\r;denied");
    rig.advance(1);
    rig.brokerSocket.peerSends(";unavailable");
    rig.advance(1);
    rig.brokerSocket.peerSends("\n");
    rig.advance(1);
    EXPECT_EQ(rig.dialogs.messages, (QStringList{QStringLiteral("Sorry. The requested user is busy")}));
    // Mixed line ends: each one ends a line.
    rig.dialogs.messages.clear();
    rig.brokerSocket.peerSends(";busy\r\n;denied\n\r");
    rig.advance(1);
    EXPECT_EQ(rig.dialogs.messages.size(), 2);

    // An empty read is one empty line: for a linked slave, activity of the peer.
    Broker s(QStringLiteral("slave"), QStringLiteral("brokeraccept=boss\n"));
    s.say(";connect=boss;x");
    s.say(";connected");
    s.rig->errText.setText(QStringLiteral("old"));
    s.rig->slaveIdle.setMode(Timer::Off);
    s.rig.brokerSocket.peerSends(QByteArray());
    s.rig.advance(1);
    EXPECT_TRUE(s.rig->errText.text().isEmpty());
    EXPECT_EQ(s.rig->slaveIdle.mode(), Timer::Single);

    // A separator in a field cuts it; a missing one is the framework's out-of-bounds report.
    m.say(";chat=ann;hello; world=again");
    ASSERT_EQ(rig->brokerChats.size(), 1u);
    EXPECT_EQ(rig->brokerChats[0]->liveChat.text(), QStringLiteral("ann: hello\n"));
    rig.boundary.clearReports();
    m.say(";user:nobody");
    m.say(";chat=ann");
    EXPECT_EQ(rig.boundary.reports().size(), 2);
    m.say(";busy");  // and the session goes on
    EXPECT_EQ(rig.dialogs.messages.last(), QStringLiteral("Sorry. The requested user is busy"));

    // A megabyte with no line end: nothing is parsed or kept, and the next line is read.
    rig.dialogs.messages.clear();
    rig.brokerSocket.peerSends(QByteArray(1 << 20, 'x'));
    rig.advance(1);
    m.say(";denied");
    EXPECT_EQ(rig.dialogs.messages, QStringList{QStringLiteral("Your connection request was rejected")});

    // Service lines go to the log while logging is on.
    EXPECT_TRUE(rig.logLines().contains(QStringLiteral(";denied")));
}

TEST(BrokerSession, AFailedHandshakeIsLoggedAndNothingIsSent) {
    Rig rig;
    rig.open();
    rig->brokerID = QStringLiteral("me@velto.example");
    rig->brokerPIN = QStringLiteral("1");
    rig->MenuBar1.vbConnect.push();
    rig.brokerSocket.failHandshake(QStringLiteral("The certificate is self-signed, and untrusted"));
    rig.advance(1);
    EXPECT_FALSE(rig->serverLogging);
    EXPECT_EQ(rig.logLines(), QStringList{QStringLiteral("TLS: The certificate is self-signed, and untrusted")});
    EXPECT_TRUE(rig.brokerSocket.writes.isEmpty());
    EXPECT_NE(rig->hostInfo.text(), QStringLiteral("Connected to Broker"));
}
