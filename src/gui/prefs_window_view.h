#pragma once
// The Preferences window: mode, serial port, slave time-out, options, and the broker and
// manual network settings on two tabs. Every widget is bound to a control of
// MainApp::prefsWindow; the window follows its model's visibility and reports its activation
// and its close box to the model.

#include "gui/model_window.h"

namespace velto {

class MainApp;

class PrefsWindowView final : public ModelWindow {
public:
    PrefsWindowView(MainApp& app, QWidget* parent);

protected:
    void changeEvent(QEvent* event) override;

private:
    QWidget* buildBrokerTab();
    QWidget* buildManualTab();

    MainApp& app_;
};

}  // namespace velto
