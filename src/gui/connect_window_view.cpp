#include "gui/connect_window_view.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

using gui::bound;

ConnectWindowView::ConnectWindowView(MainApp& app, QWidget* parent)
    : ModelWindow(app.connectWindow.window, app.platform().boundary, parent) {
    MainApp::ConnectWindow& w = app.connectWindow;

    auto* text = bound<QLabel>(w.Label1);
    text->setWordWrap(true);
    text->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    auto* key = bound<QLineEdit>(w.connectKey);
    auto* connectButton = bound<QPushButton>(w.connectButton);
    connectButton->setDefault(true);
    connectButton->setMinimumWidth(90);
    // The window's default button: Return in the field presses it.
    QObject::connect(key, &QLineEdit::returnPressed, connectButton, &QPushButton::click);

    auto* row = new QHBoxLayout;
    row->addWidget(key, 1);
    row->addWidget(connectButton);

    auto* column = new QVBoxLayout(this);
    column->addWidget(text, 1);
    column->addLayout(row);
    resize(MainApp::ConnectWindow::kWidth, MainApp::ConnectWindow::kHeight);
    followModel();
}

}  // namespace velto
