#pragma once
// The Velto Connect window: what the service is, a field for the key or link, and Connect.

#include "gui/model_window.h"

namespace velto {

class MainApp;

class ConnectWindowView final : public ModelWindow {
public:
    ConnectWindowView(MainApp& app, QWidget* parent);
};

}  // namespace velto
