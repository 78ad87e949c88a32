// The broker's windows as models: the user list, the chats and the options, with what they
// write to the service and to the settings.

#include <gtest/gtest.h>

#include "support/broker_rig.h"

using namespace velto;

TEST(BrokerWindows, TheUserListConnectsOrOpensChatsAndComesBackEmptyAfterUse) {
    BrokerRig m(QStringLiteral("master"));
    MainApp::BrokerUsers& w = m->brokerUsers;
    m.say(";user:ann;Likes tea\n;user:bob;not supported\n;total:2");
    w.userList.setListIndex(1);
    EXPECT_EQ(w.userProfile.text(), QStringLiteral("not supported"));
    w.brokerChat.push();
    EXPECT_EQ(m.dialogs.messages, QStringList{"Unable to send message"});
    EXPECT_TRUE(m->brokerChats.empty());
    w.userList.setListIndex(0);
    w.brokerChat.push();
    w.brokerChat.push();  // a second click, a second window
    ASSERT_EQ(m->brokerChats.size(), 2u);
    EXPECT_EQ(m->brokerChats[1]->window.title(), QStringLiteral("ann"));
    m.sent();
    w.requestConnect.push();
    EXPECT_EQ(m.sent(), QStringLiteral(";connect=ann\r"));
    EXPECT_FALSE(w.window.visible());
    // The next list starts afresh, though only ";registered:" empties it on purpose.
    m.say(";user:cat;Hi\n;total:1");
    EXPECT_EQ(w.userList.rows(), QStringList{"cat"});

    // A slave may look and write, but not ask for control; an empty list writes to nobody.
    BrokerRig s(QStringLiteral("slave"));
    s.say(";user:ann;x\n;total:1");
    EXPECT_FALSE(s->brokerUsers.requestConnect.enabled());
    s->brokerUsers.window.close();
    s->brokerUsers.brokerChat.push();
    EXPECT_EQ(s.dialogs.messages, QStringList{"Unable to send message"});
    s.sent();
    s->brokerUsers.requestConnect.push();
    EXPECT_TRUE(s.sent().isEmpty());
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

    // Sending: trimmed on the wire, as typed in the transcript; blank text sends nothing.
    m.sent();
    second.chatComposer.setText(QStringLiteral(" see you "));
    second.sendChat.push();
    second.chatComposer.setText(QStringLiteral("   "));
    second.sendChat.push();
    EXPECT_EQ(m.sent(), QStringLiteral(";chat=ann;see you\r"));
    EXPECT_TRUE(second.liveChat.text().endsWith(QStringLiteral("You: see you\n")));

    // A closed window hears nothing more; its model serves the next conversation, empty.
    chats[0]->window.close();
    m.say(";chat=ann;third");
    EXPECT_EQ(chats.size(), 3u);
    EXPECT_FALSE(chats[0]->liveChat.text().contains(QStringLiteral("third")));
    MainApp::BrokerChat& reused = m->newBrokerChat(QStringLiteral("cat"));
    EXPECT_EQ(&reused, chats[0].get());
    EXPECT_EQ(reused.remoteuser + reused.liveChat.text(), QStringLiteral("cat"));
}

TEST(BrokerWindows, OptionsEditTheListsByDragAndReachTheSettingsAtDone) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"),
                  QStringLiteral("brokerauto=boss\nbrokeraccept=ann\nbrokeraccept=bob\n"
                                 "brokerreject=eve\n"));
    rig.open();
    rig->currentPeer = QStringLiteral("dan");
    MainApp::BrokerOptions& o = rig->brokerOptions;
    rig->MenuBar1.vbManager.push();
    EXPECT_EQ(o.autoUser.text(), QStringLiteral("boss"));
    EXPECT_EQ(o.vbProfile.text(), QStringLiteral("I'm using Velto Control/Server"));
    EXPECT_EQ(o.addNew.text(), QStringLiteral("dan"));
    EXPECT_EQ(o.rejectList.cell(0, 0), QStringLiteral("eve"));

    // Edits are lost with a plain close: the window comes back from the properties.
    o.BevelButton1.push();
    EXPECT_EQ(o.acceptList.cell(2, 0), QStringLiteral("dan"));
    EXPECT_TRUE(o.addNew.text().isEmpty());
    o.window.close();
    rig->MenuBar1.vbManager.push();
    EXPECT_EQ(o.acceptList.listCount(), 2);

    // A row leaves at the start of a drag: dropped on the other list it moves, dropped
    // nowhere it is gone, dropped on its own list it goes to the end.
    rig->rejectList_DropObject(rig->acceptList_DragRow(0));
    rig->acceptList_DragRow(0);
    rig->rejectList_DropObject(rig->rejectList_DragRow(0));
    EXPECT_EQ(o.acceptList.listCount(), 0);
    o.autoUser.setText({});
    o.vbProfile.setText(QStringLiteral("New me"));
    o.addNew.setText(QStringLiteral("typed, not added"));
    o.boptsSave.push();
    EXPECT_FALSE(o.window.visible());
    EXPECT_TRUE(rig->brokerauto.isEmpty());
    EXPECT_EQ(rig->brokerProfile, QStringLiteral("New me"));
    EXPECT_TRUE(rig->brokerAccept.isEmpty());
    EXPECT_EQ(rig->brokerReject, QStringList({"ann", "eve"}));
}
