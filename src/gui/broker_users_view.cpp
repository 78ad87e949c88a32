#include "gui/broker_users_view.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

using gui::bound;

BrokerUsersView::BrokerUsersView(MainApp& app, QWidget* parent) : QWidget(parent, Qt::Window), app_(app) {
    MainApp::BrokerUsers& w = app_.brokerUsers;
    setObjectName(w.window.name());
    resize(MainApp::BrokerUsers::kWidth, MainApp::BrokerUsers::kHeight);

    auto* column = new QVBoxLayout(this);
    auto* intro = bound<QLabel>(w.Label1);
    intro->setWordWrap(true);
    column->addWidget(intro);
    column->addWidget(bound<QComboBox>(w.userList));
    auto* profile = bound<QLabel>(w.userProfile);
    profile->setWordWrap(true);
    profile->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    profile->setFrameShape(QFrame::StyledPanel);
    profile->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(profile, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(bound<QPushButton>(w.brokerChat));
    buttons->addStretch();
    auto* request = bound<QPushButton>(w.requestConnect);
    request->setDefault(true);
    buttons->addWidget(request);
    column->addLayout(buttons);

    auto refresh = [this] {
        setWindowTitle(app_.brokerUsers.window.title());
        if (!app_.brokerUsers.window.visible()) hide();
    };
    refresh();
    gui::onModel(this, w.window.changed, refresh);
    gui::onModel(this, w.window.shown, [this] {
        show();
        raise();
        activateWindow();
    });
    setVisible(w.window.visible());
}

void BrokerUsersView::closeEvent(QCloseEvent* event) {
    event->ignore();
    app_.platform().boundary.run([this] { app_.brokerUsers.window.close(); });
}

}  // namespace velto
