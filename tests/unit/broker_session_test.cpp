// The broker session on a fake TLS socket in virtual time: login, the service's lines, a slave's
// answer to a request, the linked session, the menu items, and input that is cut, empty or
// refused.

#include <gtest/gtest.h>

#include "support/broker_rig.h"

using namespace velto;

TEST(BrokerSession, LogsInOnInfoAndAMasterAsksForItsPeerOrTheList) {
    Rig rig;
    rig.open();
    rig->MenuBar1.vbConnect.push();  // no identity: a message, no connection
    EXPECT_EQ(rig.dialogs.messages, QStringList{"Your must enter your email address and PIN for "
                                                "the Velto Broker service"});
    EXPECT_EQ(rig.brokerSocket.connects, 0);

    // The service speaks first: the login, the only line, answers ";INFO:" in any case.
    BrokerRig b(QStringLiteral("master"));
    EXPECT_EQ(b.brokerSocket.address, QStringLiteral("broker.velto.example"));
    EXPECT_EQ(b.brokerSocket.port, 37846);
    EXPECT_EQ(b->hostInfo.text(), QStringLiteral("Connected to Broker"));
    EXPECT_EQ(b.sent(), ";register=me@velto.example;4321;v2;I'm using Velto Control/Server\r");

    // Without an auto peer the user list is emptied and asked for; with one, that peer.
    b->brokerUsers.userList.addRow(QStringLiteral("stale"));
    b->brokerProfiles = {QStringLiteral("stale")};
    b.say(";registered:ok");
    EXPECT_EQ(b.sent(), QStringLiteral(";users\r"));
    EXPECT_EQ(b->brokerUsers.userList.listCount(), 0);
    EXPECT_TRUE(b->brokerProfiles.isEmpty());
    b->brokerauto = QStringLiteral("slave@velto.example");
    b.say(";registered:ok");
    EXPECT_EQ(b.sent(), QStringLiteral(";connect=slave@velto.example\r"));
    // While linked, ";info:" is a peer line and sends no second login.
    b->brokerConnected = true;
    b.say(";info:again");
    EXPECT_TRUE(b.sent().isEmpty());
}

TEST(BrokerSession, ServiceLinesShowTheirMessagesAndTheUserList) {
    // The own entry (any case, padded) is left out; ";total:" shows row 0.
    BrokerRig m(QStringLiteral("master"));
    m.say(";user:ann@velto.example;Likes tea\n;user: ME@velto.example ;Myself");
    m.say(";user:bob@velto.example;not supported\n;total:3");
    EXPECT_EQ(m->brokerUsers.userList.rows(),
              QStringList({"ann@velto.example", "bob@velto.example"}));
    EXPECT_EQ(m->brokerProfiles, QStringList({"Likes tea", "not supported"}));
    EXPECT_TRUE(m->brokerUsers.window.visible());
    EXPECT_EQ(m->brokerUsers.userProfile.text(), QStringLiteral("Likes tea"));
    EXPECT_TRUE(m.dialogs.messages.isEmpty());

    BrokerRig b(QStringLiteral("master"));

    const std::pair<QByteArray, QString> cases[] = {
        {";error:Bad PIN:more", "VeltoBroker Error:\nBad PIN"},
        {";broadcast:Down at noon", "VeltoBroker System Message:\nDown at noon"},
        {";denied", "Your connection request was rejected"},
        {";unavailable", "Sorry. The requested user is not online at present"},
        {";busy", "Sorry. The requested user is busy"},
        {";total:0",
         "Sorry; there are no other users available via Velto Broker. Please try later"},
        {";disconnected", "The connection via VeltoBroker has been lost. The other person may have "
                          "quit, or lost their link to the server"},
        // Ten characters go, whatever they are.
        {";failed:  Bad PIN", "You could not be logged in to VeltoBroker. Please check your "
                              "settings. The response returned was Bad PIN"},
    };
    for (const auto& [line, message] : cases) {
        b.dialogs.messages.clear();
        b.say(line);
        EXPECT_EQ(b.dialogs.messages, QStringList{message}) << line.constData();
    }
    EXPECT_EQ(b->hostInfo.text(), QStringLiteral("Broker login failed"));
    EXPECT_FALSE(b.brokerSocket.isConnected());
    EXPECT_FALSE(b->brokerUsers.window.visible());
}

TEST(BrokerSession, ASlaveAnswersARequestByItsListsOrByAsking) {
    const struct {
        const char* prefs;
        std::optional<bool> answer;  // the user's, when asked
        const char* reply;
        bool autoAccepted;
    } cases[] = {
        {"brokeraccept=Master@velto.example\n", {}, ";accept=", true},
        {"brokerreject=master@velto.example\n", {}, ";reject=", false},
        {"brokeraccept=master@velto.example\nbrokerreject=master@velto.example\n", {}, ";accept=",
         true},
        {"", true, ";accept=", false},
        {"", false, ";reject=", false},
    };
    for (const auto& c : cases) {
        BrokerRig s(QStringLiteral("slave"), QString::fromLatin1(c.prefs));
        s.sent();
        s->brokerAutoConnected = !c.autoAccepted;
        if (c.answer) s.dialogs.answers.push_back(*c.answer);
        s.say(";connect= master@velto.example ;Hello");
        EXPECT_EQ(s.sent(), QLatin1String(c.reply) + "master@velto.example\r") << c.prefs;
        EXPECT_EQ(s->currentPeer, QStringLiteral("master@velto.example"));
        EXPECT_EQ(s->brokerAutoConnected, c.autoAccepted);
        ASSERT_EQ(s.dialogs.questions.size(), c.answer ? 1u : 0u);
        if (c.answer) {
            EXPECT_EQ(s.dialogs.questions[0].text,
                      "Do you want to accept a connection from  master@velto.example \rProfile: "
                      "Hello");
        }
    }
    // A master ignores requests, and a slave asks for no list.
    BrokerRig m(QStringLiteral("master"));
    m.sent();
    m.say(";connect=x;y");
    EXPECT_TRUE(m.sent().isEmpty());
    EXPECT_TRUE(m->currentPeer.isEmpty());
    BrokerRig s(QStringLiteral("slave"));
    s.sent();
    s.say(";registered:ok");
    EXPECT_TRUE(s.sent().isEmpty());
}

TEST(BrokerSession, ALinkedSlaveRunsTheMastersLinesAndReportsBack) {
    BrokerRig s(QStringLiteral("slave"), QStringLiteral("brokeraccept=boss\ntimeout=30\n"));
    s.say(";connect=boss;The boss");
    s.sent();
    s.say(";connected");
    EXPECT_TRUE(s->brokerConnected);
    EXPECT_TRUE(s.sent().startsWith(
        ";VELTO:Control/Server version 2.6.1, build 25 on OS X (via Velto Broker)\r\n"
        ";STATUS:type=QTR,25\r\n"));

    s.say(";GETSTATUS");  // extended commands answer over the broker too
    EXPECT_TRUE(s.sent().contains(QStringLiteral(";STATUS:")));

    // Every line counts against the time-out, chat too: 29 s after a chat line nothing stops.
    s.say("A55");
    s.advance(20500);
    s.say(";chat=boss;still here");
    s.advance(29000);
    EXPECT_EQ(s.box().levelA(), 55);
    s.advance(2000);
    EXPECT_EQ(s.box().levelA(), 0);

    // ";disconnected" for an auto-accepted peer says nothing, and ends the link.
    s.dialogs.messages.clear();
    s.say(";disconnected");
    EXPECT_FALSE(s->brokerConnected);
    EXPECT_TRUE(s.dialogs.messages.isEmpty());
    const size_t after = s.serial.writes.size();
    s.say("A60");
    s.advance(500);
    EXPECT_FALSE(s.commandsSince(after).contains(QStringLiteral("A60")));
}

TEST(BrokerSession, MenuItemsEndTheLinkBlockThePeerAndLeaveTheService) {
    BrokerRig s(QStringLiteral("slave"),
                QStringLiteral("brokeraccept=eve\nbrokeraccept=ann\nbrokeraccept=EVE\n"));
    s.say(";connect=eve;x\n;connected");
    s.sent();
    s->MenuBar1.vbBlock.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";end\r"));
    EXPECT_FALSE(s->brokerConnected);
    EXPECT_EQ(s->brokerAccept, QStringList{"ann"});
    ASSERT_EQ(s.dialogs.notices.size(), 1u);
    EXPECT_EQ(s.dialogs.notices[0].text, "eve has been added to the auto-reject list");
    // Blocked again with nobody: nothing is sent, and the empty name is listed once.
    s->MenuBar1.vbBlock.push();
    s->MenuBar1.vbBlock.push();
    EXPECT_EQ(s->brokerReject, (QStringList{QStringLiteral("eve"), QString()}));
    EXPECT_TRUE(s.sent().isEmpty());

    s.say(";connect=ann;x\n;connected");
    s.sent();
    s->MenuBar1.vbDisconnect.push();
    s->MenuBar1.vbDisconnect.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";end\r"));
    EXPECT_FALSE(s->brokerConnected);

    s->MenuBar1.vbRequest.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";users\r"));
    s->MenuBar1.vbConnect.push();  // up already: no second connection
    EXPECT_EQ(s.brokerSocket.connects, 1);
    s->MenuBar1.vbQuit.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";quit\r"));
    EXPECT_TRUE(s->hostInfo.text().isEmpty());
    EXPECT_TRUE(s.brokerSocket.isConnected());  // the service closes, not the client

    s.brokerSocket.peerDrops();
    s.advance(1);
    s.dialogs.messages.clear();
    s->MenuBar1.vbRequest.push();
    EXPECT_EQ(s.dialogs.messages, QStringList{"You are not connected to VeltoBroker"});
    s->MenuBar1.vbConnect.push();
    EXPECT_EQ(s.brokerSocket.connects, 2);
}

TEST(BrokerSession, CutEmptyAndRefusedInput) {
    BrokerRig m(QStringLiteral("master"));
    m->_activityToggle_Action();
    // Each of CR, LF and CR LF ends a line; what follows the last line end is lost, not kept.
    m.brokerSocket.peerSends(";busy\r;denied\r\n;unavailable\n;busy");
    m.advance(1);
    m.say("");
    EXPECT_EQ(m.dialogs.messages.size(), 3);
    EXPECT_TRUE(m.logLines().contains(QStringLiteral(";denied")));  // logged while logging is on

    // A separator in a field cuts it; a missing one is the framework's out-of-bounds report.
    m.say(";chat=ann;hello; world=again");
    ASSERT_EQ(m->brokerChats.size(), 1u);
    EXPECT_EQ(m->brokerChats[0]->liveChat.text(), QStringLiteral("ann: hello\n"));
    m.boundary.clearReports();
    m.say(";user:nobody");
    m.say(";chat=ann");
    EXPECT_EQ(m.boundary.reports().size(), 2);

    // An empty read is one empty line: for a linked slave, activity of the peer.
    BrokerRig s(QStringLiteral("slave"), QStringLiteral("brokeraccept=boss\n"));
    s.say(";connect=boss;x\n;connected");
    s->errText.setText(QStringLiteral("old"));
    s->slaveIdle.setMode(Timer::Off);
    s.brokerSocket.peerSends(QByteArray());
    s.advance(1);
    EXPECT_TRUE(s->errText.text().isEmpty());
    EXPECT_EQ(s->slaveIdle.mode(), Timer::Single);

    // A megabyte with no line end is dropped whole, and the next line is read as ever; a service
    // that goes away mid-session leaves the copy running.
    s.brokerSocket.peerSends(QByteArray(1 << 20, 'x'));
    s.say(";denied");
    EXPECT_EQ(s.dialogs.messages.value(0), QStringLiteral("Your connection request was rejected"));
    s.brokerSocket.peerDrops();
    s.advance(1);
    s->Connect.push();
    EXPECT_EQ(s.brokerSocket.connects, 2);
    EXPECT_TRUE(s.boundary.reports().isEmpty());

    // A refused handshake is logged, logging on or not, and nothing is sent.
    Rig rig;
    rig.settings(QStringLiteral("brokerid=me@velto.example\nbrokerpin=1\n"));
    rig.open();
    rig->MenuBar1.vbConnect.push();
    rig.brokerSocket.failHandshake(QStringLiteral("The certificate is self-signed"));
    rig.advance(1);
    EXPECT_EQ(rig.logLines(), QStringList{"TLS: The certificate is self-signed"});
    EXPECT_TRUE(rig.brokerSocket.writes.isEmpty());
}
