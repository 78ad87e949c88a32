// The broker's three small windows: the user list, the accept/reject/auto-connect options with
// the own profile, and one chat per conversation. They keep nothing of their own beyond their
// controls: they read and write MainApp's broker properties and write to brokerSocket.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

// ---- brokerUsers ---------------------------------------------------------------------------

MainApp::BrokerUsers& MainApp::brokerUsersWindow() {
    if (!brokerUsers.opened) brokerUsers_Open();
    return brokerUsers;
}

void MainApp::brokerUsers_Open() {
    BrokerUsers& w = brokerUsers;
    w.opened = true;
    if (w.userList.listCount() > 0) w.userList.setListIndex(0);
    w.userProfile.setText(QStringLiteral("Select a user to view their profile"));
    // A slave may look users up and write to them, but asks no one for control.
    w.requestConnect.setEnabled(!same(systemMode, QStringLiteral("slave")));
}

void MainApp::brokerUsers_Close() {
    // A closed window is made again, empty, when it is next referred to.
    BrokerUsers& w = brokerUsers;
    w.opened = false;
    w.userList.deleteAllRows();
    w.userProfile.setText({});
}

void MainApp::userList_Change() {
    BrokerUsers& w = brokerUsers;
    if (w.userList.listCount() == 0)
        w.userProfile.setText({});
    else
        w.userProfile.setText(at(brokerProfiles, w.userList.listIndex()));
}

void MainApp::requestConnect_Action() {
    BrokerUsers& w = brokerUsers;
    if (brokerSocket.isConnected() && !w.userList.text().isEmpty()) {
        brokerSocket.write((QStringLiteral(";connect=") + w.userList.text() + QLatin1Char('\r')).toUtf8());
        brokerSocket.flush();
    }
    w.window.close();
}

void MainApp::brokerChat_Action() {
    BrokerUsers& w = brokerUsers;
    const QString user = w.userList.text();
    // The service marks a user whose program can't chat with the profile "not supported".
    if (!user.isEmpty() && at(brokerProfiles, w.userList.listIndex()) != QLatin1String("not supported"))
        newBrokerChat(user);
    else
        p_.dialogs.message(QStringLiteral("Unable to send message"));
}

// ---- brokerOptions -------------------------------------------------------------------------

void MainApp::showBrokerOptions() {
    BrokerOptions& w = brokerOptions;
    if (!w.window.visible()) {
        // Edits not taken by Done went with the last close.
        w.autoUser.setText({});
        w.vbProfile.setText({});
        w.addNew.setText({});
        w.acceptList.deleteAllRows();
        w.rejectList.deleteAllRows();
        brokerOptions_Open();
    }
    w.window.show();
}

void MainApp::brokerOptions_Open() {
    BrokerOptions& w = brokerOptions;
    if (!brokerauto.isEmpty()) w.autoUser.setText(brokerauto);
    if (!brokerProfile.isEmpty()) w.vbProfile.setText(brokerProfile);
    // The last peer to ask is ready to be added.
    if (!currentPeer.isEmpty()) w.addNew.setText(currentPeer);
    for (const QString& peer : brokerAccept) w.acceptList.addRow({peer});
    for (const QString& peer : brokerReject) w.rejectList.addRow({peer});
}

void MainApp::BevelButton1_Action() {
    BrokerOptions& w = brokerOptions;
    if (w.addNew.text().isEmpty()) return;
    w.acceptList.addRow({w.addNew.text()});
    w.addNew.setText({});
}

namespace {
QString takeRow(Listbox& list, int row) {
    QString text = list.cell(row, 0);
    list.removeRow(row);
    return text;
}
}  // namespace

QString MainApp::acceptList_DragRow(int row) { return takeRow(brokerOptions.acceptList, row); }
QString MainApp::rejectList_DragRow(int row) { return takeRow(brokerOptions.rejectList, row); }
void MainApp::acceptList_DropObject(const QString& text) { brokerOptions.acceptList.addRow({text}); }
void MainApp::rejectList_DropObject(const QString& text) { brokerOptions.rejectList.addRow({text}); }

void MainApp::boptsSave_Action() {
    BrokerOptions& w = brokerOptions;
    brokerauto = w.autoUser.text();
    brokerProfile = w.vbProfile.text();
    brokerAccept.clear();
    brokerReject.clear();
    for (int row = 0; row < w.acceptList.listCount(); ++row) brokerAccept.append(w.acceptList.cell(row, 0));
    for (int row = 0; row < w.rejectList.listCount(); ++row) brokerReject.append(w.rejectList.cell(row, 0));
    w.window.close();
}

bool MainApp::_vbManager_Action() {
    showBrokerOptions();
    return true;
}

// ---- brokerChat ----------------------------------------------------------------------------

MainApp::BrokerChat& MainApp::newBrokerChat(const QString& user) {
    BrokerChat* chat = nullptr;
    // A closed window's model is taken again, emptied, so that chats don't pile up models.
    for (auto& existing : brokerChats)
        if (!existing->window.visible()) {
            chat = existing.get();
            chat->liveChat.setText({});
            chat->chatComposer.setText({});
            break;
        }
    if (!chat) {
        brokerChats.push_back(std::make_unique<BrokerChat>());
        chat = brokerChats.back().get();
        chat->liveChat.setMaxLines(5000);  // a talkative peer can't grow it without end
        chat->sendChat.action.connect(p_.boundary.wrap([this, chat] { sendChat_Action(*chat); }));
        brokerChatCreated(*chat);
    }
    chat->window.setTitle(user);
    chat->remoteuser = user;
    chat->window.show();
    return *chat;
}

void MainApp::sendChat_Action(BrokerChat& chat) {
    const QString text = Trim(chat.chatComposer.text());
    if (text.isEmpty()) return;
    // No check that the socket is up: a chat on a closed line is lost without a word.
    brokerSocket.write((QStringLiteral(";chat=") + chat.remoteuser + QLatin1Char(';') + text + QLatin1Char('\r')).toUtf8());
    UpdateChat(chat, QStringLiteral("You"), chat.chatComposer.text());
    chat.chatComposer.setText({});
}

void MainApp::UpdateChat(BrokerChat& chat, const QString& sender, const QString& text) {
    // The view keeps the last line in sight.
    chat.liveChat.append(sender + QStringLiteral(": ") + Trim(text) + QLatin1Char('\n'));
}

}  // namespace velto
