#pragma once
// The two message windows: the transcript with its reply field, and a master's compose line.

#include "gui/model_window.h"

namespace velto {

class MainApp;

class MessagesView final : public ModelWindow {
public:
    MessagesView(MainApp& app, QWidget* parent);
};

class ComposeView final : public ModelWindow {
public:
    ComposeView(MainApp& app, QWidget* parent);
};

}  // namespace velto
