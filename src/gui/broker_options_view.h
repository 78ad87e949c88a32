#pragma once
// The VeltoBroker options: auto connect, the accept and reject lists with names dragged between
// them, and the own profile. Bound to MainApp::brokerOptions; it follows its model's visibility.

#include "gui/model_window.h"

namespace velto {

class MainApp;

class BrokerOptionsView final : public ModelWindow {
public:
    BrokerOptionsView(MainApp& app, QWidget* parent);

private:
    MainApp& app_;
};

}  // namespace velto
