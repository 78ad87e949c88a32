#include "gui/messages_view.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

using gui::bound;

MessagesView::MessagesView(MainApp& app, QWidget* parent)
    : ModelWindow(app.msgWindow.window, app.platform().boundary, parent) {
    MainApp::MessagesWindow& w = app.msgWindow;

    // Read-only, kept scrolled to its last line as entries come in.
    auto* transcript = bound<QPlainTextEdit>(w.messageBox);
    auto* reply = bound<QLineEdit>(w.msgReply);
    auto* send = bound<QToolButton>(w.sendReply);
    send->setToolButtonStyle(Qt::ToolButtonTextOnly);
    send->setMinimumWidth(70);
    QObject::connect(reply, &QLineEdit::returnPressed, send, &QToolButton::click);

    auto* row = new QHBoxLayout;
    row->addWidget(reply, 1);
    row->addWidget(send);
    auto* column = new QVBoxLayout(this);
    column->addWidget(transcript, 1);
    column->addLayout(row);
    resize(MainApp::MessagesWindow::kWidth, MainApp::MessagesWindow::kHeight);
    followModel();
}

ComposeView::ComposeView(MainApp& app, QWidget* parent)
    : ModelWindow(app.compose.window, app.platform().boundary, parent) {
    MainApp::ComposeWindow& w = app.compose;

    auto* text = bound<QLabel>(w.Label1);
    text->setWordWrap(true);
    auto* box = bound<QLineEdit>(w.composeBox);
    auto* send = bound<QPushButton>(w.sendMsg);
    send->setDefault(true);
    send->setMinimumWidth(90);
    QObject::connect(box, &QLineEdit::returnPressed, send, &QPushButton::click);

    auto* row = new QHBoxLayout;
    row->addWidget(box, 1);
    row->addWidget(send);
    auto* column = new QVBoxLayout(this);
    column->addWidget(text);
    column->addLayout(row);
    resize(MainApp::ComposeWindow::kWidth, MainApp::ComposeWindow::kHeight);
    followModel();
}

}  // namespace velto
