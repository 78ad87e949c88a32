// The broker's windows as models: the user list, the chats and the options, with what they
// write to the service and to the settings.

#include <gtest/gtest.h>

#include <QFile>

#include "support/rig.h"

using namespace velto;

namespace {

struct LoggedIn {
    explicit LoggedIn(const QString& mode) {
        rig.open();
        rig->systemMode = mode;
        rig->brokerID = QStringLiteral("me@velto.example");
        rig->brokerPIN = QStringLiteral("1");
        rig->MenuBar1.vbConnect.push();
        rig.brokerSocket.peerConnects();
        rig.advance(1);
    }
    void say(const QByteArray& lines) {
        rig.brokerSocket.peerSends(lines);
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

TEST(BrokerWindows, TheUserListConnectsOrOpensChatsAndComesBackEmptyAfterUse) {
    LoggedIn m(QStringLiteral("master"));
    MainApp::BrokerUsers& w = m.rig->brokerUsers;
    m.say(";user:ann;Likes tea\n;user:bob;not supported\n;total:2\n");
    ASSERT_TRUE(w.window.visible());
    w.userList.setListIndex(1);
    EXPECT_EQ(w.userProfile.text(), QStringLiteral("not supported"));
    w.brokerChat.push();
    EXPECT_EQ(m.rig.dialogs.messages, QStringList{QStringLiteral("Unable to send message")});
    EXPECT_TRUE(m.rig->brokerChats.empty());
    w.userList.setListIndex(0);
    w.brokerChat.push();
    w.brokerChat.push();  // a second click, a second window
    ASSERT_EQ(m.rig->brokerChats.size(), 2u);
    EXPECT_EQ(m.rig->brokerChats[1]->window.title(), QStringLiteral("ann"));
    EXPECT_EQ(m.rig->brokerChats[1]->remoteuser, QStringLiteral("ann"));

    m.sent();
    w.requestConnect.push();
    EXPECT_EQ(m.sent(), QStringLiteral(";connect=ann\r"));
    EXPECT_FALSE(w.window.visible());
    // The next list starts afresh, though only ";registered:" empties it on purpose.
    m.rig->MenuBar1.vbRequest.push();
    m.say(";user:cat;Hi\n;total:1\n");
    EXPECT_EQ(w.userList.rows(), QStringList{QStringLiteral("cat")});
    EXPECT_EQ(w.userProfile.text(), QStringLiteral("Hi"));

    // A slave may look and write, but not ask for control; an empty list writes to nobody.
    LoggedIn s(QStringLiteral("slave"));
    s.say(";user:ann;x\n;total:1\n");
    EXPECT_FALSE(s.rig->brokerUsers.requestConnect.enabled());
    s.rig->brokerUsers.window.close();
    s.rig->brokerUsers.brokerChat.push();
    EXPECT_EQ(s.rig.dialogs.messages, QStringList{QStringLiteral("Unable to send message")});
    s.rig->brokerUsers.requestConnect.push();
    EXPECT_TRUE(s.sent().isEmpty());
}

TEST(BrokerWindows, ChatsReachEveryWindowOfTheirSenderAndANewSenderGetsItsOwn) {
    LoggedIn m(QStringLiteral("master"));
    auto& chats = m.rig->brokerChats;
    m.say(";chat=ann;hello\n");
    ASSERT_EQ(chats.size(), 1u);
    EXPECT_TRUE(chats[0]->window.visible());
    EXPECT_EQ(chats[0]->window.title(), QStringLiteral("ann"));
    MainApp::BrokerChat& second = m.rig->newBrokerChat(QStringLiteral("ann"));
    m.say(";chat=bob;hi\n;chat=ANN;  again  \n");
    ASSERT_EQ(chats.size(), 3u);
    EXPECT_EQ(chats[0]->liveChat.text(), QStringLiteral("ann: hello\nANN: again\n"));
    EXPECT_EQ(second.liveChat.text(), QStringLiteral("ANN: again\n"));
    EXPECT_EQ(chats[2]->window.title(), QStringLiteral("bob"));

    // Sending: trimmed on the wire, as typed in the transcript; blank text sends nothing.
    second.chatComposer.setText(QStringLiteral(" see you "));
    second.sendChat.push();
    EXPECT_EQ(m.sent(), QStringLiteral(";chat=ann;see you\r"));
    EXPECT_TRUE(second.liveChat.text().endsWith(QStringLiteral("You: see you\n")));
    EXPECT_TRUE(second.chatComposer.text().isEmpty());
    second.chatComposer.setText(QStringLiteral("   "));
    second.sendChat.push();
    EXPECT_TRUE(m.sent().isEmpty());

    // A closed window hears nothing more; its model serves the next conversation, empty.
    chats[0]->window.close();
    m.say(";chat=ann;third\n");
    EXPECT_EQ(chats.size(), 3u);
    EXPECT_FALSE(chats[0]->liveChat.text().contains(QStringLiteral("third")));
    MainApp::BrokerChat& reused = m.rig->newBrokerChat(QStringLiteral("cat"));
    EXPECT_EQ(&reused, chats[0].get());
    EXPECT_TRUE(reused.liveChat.text().isEmpty());
    EXPECT_EQ(reused.remoteuser, QStringLiteral("cat"));
}

TEST(BrokerWindows, OptionsEditTheListsByDragAndReachTheSettingsAtDone) {
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"),
                  QStringLiteral("brokerauto=boss\nbrokeraccept=ann\nbrokeraccept=bob\nbrokerreject=eve\n"));
    rig.open();
    rig->currentPeer = QStringLiteral("dan");
    MainApp::BrokerOptions& o = rig->brokerOptions;
    rig->MenuBar1.vbManager.push();
    ASSERT_TRUE(o.window.visible());
    EXPECT_EQ(o.autoUser.text(), QStringLiteral("boss"));
    EXPECT_EQ(o.vbProfile.text(), QStringLiteral("I'm using Velto Control/Server"));
    EXPECT_EQ(o.addNew.text(), QStringLiteral("dan"));
    EXPECT_EQ(o.acceptList.listCount(), 2);
    EXPECT_EQ(o.rejectList.cell(0, 0), QStringLiteral("eve"));

    // Edits lost with a plain close: the window comes back from the properties.
    o.BevelButton1.push();
    EXPECT_EQ(o.acceptList.cell(2, 0), QStringLiteral("dan"));
    EXPECT_TRUE(o.addNew.text().isEmpty());
    o.window.close();
    rig->prefsWindow.window.show();
    rig->prefsWindow.brokerOptionsButton.push();
    EXPECT_EQ(o.acceptList.listCount(), 2);

    // A row leaves at the start of a drag: dropped on the other list it moves, dropped
    // nowhere it is gone.
    rig->rejectList_DropObject(rig->acceptList_DragRow(0));
    rig->acceptList_DragRow(0);
    rig->rejectList_DropObject(rig->rejectList_DragRow(0));  // the same list: to the end
    EXPECT_EQ(o.acceptList.listCount(), 0);
    EXPECT_EQ(o.rejectList.cell(0, 0), QStringLiteral("ann"));
    EXPECT_EQ(o.rejectList.cell(1, 0), QStringLiteral("eve"));
    o.autoUser.setText({});
    o.vbProfile.setText(QStringLiteral("New me"));
    o.addNew.setText(QStringLiteral("typed, not added"));
    o.boptsSave.push();
    EXPECT_FALSE(o.window.visible());
    EXPECT_TRUE(rig->brokerauto.isEmpty());
    EXPECT_EQ(rig->brokerProfile, QStringLiteral("New me"));
    EXPECT_TRUE(rig->brokerAccept.isEmpty());
    EXPECT_EQ(rig->brokerReject, (QStringList{QStringLiteral("ann"), QStringLiteral("eve")}));

    // The settings file takes them at the Preferences window's close.
    rig->prefsWindow.window.close();
    QFile file(rig.prefPath(QStringLiteral("veltoprefs.ini")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString written = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(written.contains(QStringLiteral("brokerprofile=New me")));
    EXPECT_TRUE(written.contains(QStringLiteral("brokerreject=ann")));
    EXPECT_FALSE(written.contains(QStringLiteral("brokeraccept")));
    EXPECT_FALSE(written.contains(QStringLiteral("brokerauto")));
}
