#include "gui/broker_chat_view.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/bind.h"

namespace velto {

using gui::bound;

BrokerChatView::BrokerChatView(MainApp& app, MainApp::BrokerChat& chat, QWidget* parent)
    : QWidget(parent, Qt::Window), app_(app), chat_(chat) {
    setObjectName(chat.window.name());
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

    auto refresh = [this] {
        setWindowTitle(chat_.window.title());
        if (!chat_.window.visible()) hide();
    };
    refresh();
    gui::onModel(this, chat.window.changed, refresh);
    gui::onModel(this, chat.window.shown, [this] {
        show();
        raise();
        activateWindow();
    });
    setVisible(chat.window.visible());
}

void BrokerChatView::followChats(MainApp& app, QWidget* parent) {
    for (auto& chat : app.brokerChats) new BrokerChatView(app, *chat, parent);
    const int id = app.brokerChatCreated.connect(
        [&app, parent](MainApp::BrokerChat& chat) { new BrokerChatView(app, chat, parent); });
    QObject::connect(parent, &QObject::destroyed, [&app, id] { app.brokerChatCreated.disconnect(id); });
}

void BrokerChatView::closeEvent(QCloseEvent* event) {
    event->ignore();
    app_.platform().boundary.run([this] { chat_.window.close(); });
}

}  // namespace velto
