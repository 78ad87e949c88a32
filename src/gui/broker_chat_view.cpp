#include "gui/broker_chat_view.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/bind.h"

namespace velto {

using gui::bound;

BrokerChatView::BrokerChatView(MainApp& app, MainApp::BrokerChat& chat, QWidget* parent)
    : ModelWindow(chat.window, app.platform().boundary, parent) {
    resize(MainApp::BrokerChat::kWidth, MainApp::BrokerChat::kHeight);

    auto* column = new QVBoxLayout(this);
    column->addWidget(bound<QPlainTextEdit>(chat.liveChat), 1);  // read-only, kept at its end
    auto* row = new QHBoxLayout;
    auto* composer = bound<QLineEdit>(chat.chatComposer);
    row->addWidget(composer, 1);
    auto* send = bound<QPushButton>(chat.sendChat);
    send->setDefault(true);
    row->addWidget(send);
    column->addLayout(row);
    // Return in the field is the default button's click.
    connect(composer, &QLineEdit::returnPressed, send, &QPushButton::click);

    followModel();
}

void BrokerChatView::followChats(MainApp& app, QWidget* parent) {
    for (auto& chat : app.brokerChats) new BrokerChatView(app, *chat, parent);
    const int id = app.brokerChatCreated.connect(
        [&app, parent](MainApp::BrokerChat& chat) { new BrokerChatView(app, chat, parent); });
    QObject::connect(parent, &QObject::destroyed, [&app, id] { app.brokerChatCreated.disconnect(id); });
}

}  // namespace velto
