#include "gui/broker_users_view.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

using gui::bound;

BrokerUsersView::BrokerUsersView(MainApp& app, QWidget* parent)
    : ModelWindow(app.brokerUsers.window, app.platform().boundary, parent) {
    MainApp::BrokerUsers& w = app.brokerUsers;
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

    followModel();
}

}  // namespace velto
