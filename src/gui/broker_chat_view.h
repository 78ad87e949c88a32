#pragma once
// One VeltoBroker conversation, bound to a MainApp::BrokerChat. A view is made for each chat
// model as MainApp makes it; it follows its model's visibility and title.

#include "device/main_app.h"
#include "gui/model_window.h"

namespace velto {

class BrokerChatView final : public ModelWindow {
public:
    BrokerChatView(MainApp& app, MainApp::BrokerChat& chat, QWidget* parent);

    /// Makes a view for every chat window model there is and will be, under `parent`.
    static void followChats(MainApp& app, QWidget* parent);
};

}  // namespace velto
