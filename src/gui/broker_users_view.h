#pragma once
// The VeltoBroker user list: pick a user to ask for control or to write to. Bound to
// MainApp::brokerUsers; it follows its model's visibility, and its close box closes the model.

#include "gui/model_window.h"

namespace velto {

class MainApp;

class BrokerUsersView final : public ModelWindow {
public:
    BrokerUsersView(MainApp& app, QWidget* parent);
};

}  // namespace velto
