// The broker session on a fake TLS socket in virtual time: login, the service's lines, a slave's
// answer to a request, the linked session and the menu items.

#include <gtest/gtest.h>

#include "support/broker_rig.h"

using namespace velto;

TEST(BrokerSession, LogsInOnInfoOverTrustedTlsOnly) {
    Rig rig;
    rig.settings(QStringLiteral("brokerid=me@velto.example\n"));
    rig.open();
    rig->MenuBar1.vbConnect.push();  // no PIN: a message, no connection
    EXPECT_EQ(rig.dialogs.messages, QStringList{"Your must enter your email address and PIN for "
                                                "the Velto Broker service"});
    // A refused handshake is logged, logging on or not, and nothing is sent.
    rig->brokerPIN = QStringLiteral("1");
    rig->MenuBar1.vbConnect.push();
    rig.brokerSocket.failHandshake(QStringLiteral("The certificate is self-signed"));
    rig.advance(1);
    EXPECT_EQ(rig.logLines(), QStringList{"TLS: The certificate is self-signed"});
    EXPECT_TRUE(rig.brokerSocket.writes.isEmpty());

    // The service speaks first: the login, the only line, answers ";INFO:" in any case.
    BrokerRig b(QStringLiteral("slave"));
    EXPECT_EQ(b.brokerSocket.address + ':' + QString::number(b.brokerSocket.port),
              QStringLiteral("broker.velto.example:37846"));
    EXPECT_EQ(b.sent(), ";register=me@velto.example;4321;v2;I'm using Velto Control/Server\r");
    b.say(";registered:ok");  // a slave asks for no list
    b->brokerConnected = true;
    b.say(";info:again");  // while linked a peer line, and no second login
    EXPECT_TRUE(b.sent().isEmpty());
}

TEST(BrokerSession, AMasterAsksForItsPeerOrTheListAndShowsTheServicesMessages) {
    BrokerRig m(QStringLiteral("master"));
    m.sent();
    m.say(";connect=x;y");  // requests are a slave's business
    // Without an auto peer the user list is emptied and asked for; with one, that peer.
    m->brokerUsers.userList.addRow(QStringLiteral("stale"));
    m->brokerProfiles = {QStringLiteral("stale")};
    m.say(";registered:ok");
    EXPECT_EQ(m.sent(), QStringLiteral(";users\r"));
    EXPECT_EQ(m->brokerUsers.userList.listCount(), 0);
    EXPECT_TRUE(m->brokerProfiles.isEmpty());
    m->brokerauto = QStringLiteral("slave@velto.example");
    m.say(";registered:ok");
    EXPECT_EQ(m.sent(), QStringLiteral(";connect=slave@velto.example\r"));

    // A separator in a field cuts it; a missing one goes through the boundary.
    m.say(";chat=ann;hello; world=again");
    EXPECT_EQ(m->brokerChats.at(0)->liveChat.text(), QStringLiteral("ann: hello\n"));
    m.say(";chat=ann");
    EXPECT_EQ(m.boundary.reports().size(), 1);

    // Each of CR, LF and CR LF ends a line; what follows the last line end is lost, not kept.
    m.brokerSocket.peerSends(";busy\r;denied\r\n;unavailable\n;busy");
    m.advance(1);
    m.say("");
    EXPECT_EQ(m.dialogs.messages.size(), 3);

    m->brokerUsers.userList.deleteAllRows();  // for ";total:0"
    m.dialogs.messages.clear();
    m.say(";error:Bad PIN:more\n;total:0\n;failed:  Bad PIN");  // ten characters go, any ten
    EXPECT_EQ(m.dialogs.messages,
              (QStringList{"VeltoBroker Error:\nBad PIN",
                           "Sorry; there are no other users available via Velto Broker. "
                           "Please try later",
                           "You could not be logged in to VeltoBroker. Please check your "
                           "settings. The response returned was Bad PIN"}));
    EXPECT_EQ(m->hostInfo.text(), QStringLiteral("Broker login failed"));
    EXPECT_FALSE(m.brokerSocket.isConnected());
}

TEST(BrokerSession, ASlaveAnswersARequestByItsListsOrByAsking) {
    const struct {
        const char* prefs;
        std::optional<bool> answer;  // the user's, when asked
        const char* reply;
        bool autoAccepted;
    } cases[] = {
        {"brokeraccept=BOSS\nbrokerreject=boss\n", {}, ";accept=", true},
        {"brokerreject=boss\n", {}, ";reject=", false},
        {"", true, ";accept=", false},
        {"", false, ";reject=", false},
    };
    for (const auto& c : cases) {
        BrokerRig s(QStringLiteral("slave"), QString::fromLatin1(c.prefs));
        s.sent();
        s->brokerAutoConnected = !c.autoAccepted;
        if (c.answer) s.dialogs.answers.push_back(*c.answer);
        s.say(";connect= boss ;Hello");
        EXPECT_EQ(s.sent(), QLatin1String(c.reply) + "boss\r") << c.prefs;
        EXPECT_EQ(s->brokerAutoConnected, c.autoAccepted);
        // Asked once, with the name as it came.
        EXPECT_EQ(s.dialogs.questions.size() == 1 ? s.dialogs.questions[0].text : QString(),
                  c.answer ? "Do you want to accept a connection from  boss \rProfile: Hello" : "");
    }
}

TEST(BrokerSession, ALinkedSlaveRunsTheMastersLinesAndItsMenuEndsTheLink) {
    BrokerRig s(
        QStringLiteral("slave"),
        QStringLiteral("brokeraccept=eve\nbrokeraccept=boss\nbrokeraccept=EVE\ntimeout=30\n"));
    s.say(";connect=boss;The boss");
    s.sent();
    s.say(";connected");
    EXPECT_TRUE(s.sent().startsWith(
        ";VELTO:Control/Server version 2.6.1, build 25 on OS X (via Velto Broker)\r\n"
        ";STATUS:type=QTR,25\r\n"));

    // Every line counts against the time-out, chat too: 29 s after a chat line nothing stops.
    s.say("A55");
    s.advance(20500);
    s.say(";chat=boss;still here");
    s.advance(29998);
    EXPECT_EQ(s.box().levelA(), 55);
    s.advance(1);
    EXPECT_EQ(s.box().levelA(), 0);

    // An overlong read is dropped; ";disconnected" for an auto-accepted peer says nothing.
    s.brokerSocket.peerSends(QByteArray(1 << 20, 'x'));
    s.say(";denied\n;disconnected");
    EXPECT_EQ(s.dialogs.messages, QStringList{"Your connection request was rejected"});

    // The menu ends the link, blocks the peer and leaves the service.
    s.say(";connect=eve;x\n;connected");
    s.sent();
    s->MenuBar1.vbBlock.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";end\r"));
    EXPECT_EQ(s->brokerAccept, QStringList{"boss"});
    EXPECT_EQ(s.dialogs.notices.at(0).text, "eve has been added to the auto-reject list");
    EXPECT_EQ(s->brokerReject, QStringList{"eve"});

    s.say(";connect=boss;x\n;connected");
    s.sent();
    s->MenuBar1.vbDisconnect.push();
    s->MenuBar1.vbDisconnect.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";end\r"));
    s->MenuBar1.vbRequest.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";users\r"));
    s->MenuBar1.vbConnect.push();  // up already: no second connection
    EXPECT_EQ(s.brokerSocket.connects, 1);
    s->MenuBar1.vbQuit.push();
    EXPECT_EQ(s.sent(), QStringLiteral(";quit\r"));
    EXPECT_TRUE(s.brokerSocket.isConnected());  // the service closes, not the client
}
