// The broker's user list and chat windows as models, with what they write to the service.

#include <gtest/gtest.h>

#include "support/broker_rig.h"

using namespace velto;

TEST(BrokerWindows, TheUserListConnectsOrOpensChatsAndComesBackEmptyAfterUse) {
    BrokerRig m(QStringLiteral("master"));
    MainApp::BrokerUsers& w = m->brokerUsers;
    // The own entry (any case, padded) is left out; ";total:" shows row 0.
    m.say(";user:ann;Likes tea\n;user: ME@velto.example ;Myself\n;user:bob;not supported");
    m.say(";total:3");
    EXPECT_TRUE(w.window.visible());
    EXPECT_EQ(w.userProfile.text(), QStringLiteral("Likes tea"));
    w.userList.setListIndex(1);
    EXPECT_EQ(w.userProfile.text(), QStringLiteral("not supported"));
    w.brokerChat.push();
    EXPECT_EQ(m.dialogs.messages, QStringList{"Unable to send message"});
    EXPECT_TRUE(m->brokerChats.empty());
    w.userList.setListIndex(0);
    w.brokerChat.push();
    ASSERT_EQ(m->brokerChats.size(), 1u);
    EXPECT_EQ(m->brokerChats[0]->window.title(), QStringLiteral("ann"));
    m.sent();
    w.requestConnect.push();
    EXPECT_EQ(m.sent(), QStringLiteral(";connect=ann\r"));
    // The next list starts afresh, though only ";registered:" empties it on purpose.
    m.say(";user:cat;Hi\n;total:1");
    EXPECT_EQ(w.userList.rows(), QStringList{"cat"});

    // A slave may look and write, but not ask for control.
    BrokerRig s(QStringLiteral("slave"));
    s.say(";user:ann;x\n;total:1");
    EXPECT_FALSE(s->brokerUsers.requestConnect.enabled());
}

TEST(BrokerWindows, ChatsReachEveryWindowOfTheirSenderAndANewSenderGetsItsOwn) {
    BrokerRig m(QStringLiteral("master"));
    auto& chats = m->brokerChats;
    m.say(";chat=ann;hello");
    MainApp::BrokerChat& second = m->newBrokerChat(QStringLiteral("ann"));
    m.say(";chat=bob;hi\n;chat=ANN;  again  ");
    ASSERT_EQ(chats.size(), 3u);
    EXPECT_EQ(chats[0]->liveChat.text(), QStringLiteral("ann: hello\nANN: again\n"));
    EXPECT_EQ(second.liveChat.text(), QStringLiteral("ANN: again\n"));
    EXPECT_EQ(chats[2]->window.title(), QStringLiteral("bob"));

    // A closed window hears nothing more; its model serves the next conversation, empty.
    chats[0]->window.close();
    m.say(";chat=ann;third");
    EXPECT_FALSE(chats[0]->liveChat.text().contains(QStringLiteral("third")));
    MainApp::BrokerChat& reused = m->newBrokerChat(QStringLiteral("cat"));
    EXPECT_EQ(chats.size(), 3u);
    EXPECT_EQ(&reused, chats[0].get());
    EXPECT_EQ(reused.remoteuser + reused.liveChat.text(), QStringLiteral("cat"));
}
