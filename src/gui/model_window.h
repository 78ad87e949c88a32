#pragma once
// A secondary window that follows its model: shown (and brought to the front) when the model's
// window is shown, hidden when it is hidden, and its close box closes the model's window, which
// raises the model's Close event once.

#include <QWidget>

#include "platform/controls.h"

namespace velto {

class ExceptionBoundary;

class ModelWindow : public QWidget {
public:
    ModelWindow(Window& model, ExceptionBoundary& boundary, QWidget* parent);

protected:
    void closeEvent(QCloseEvent* event) override;
    /// Call at the end of the subclass's constructor, once the widgets are in place.
    void followModel();

    Window& model_;
    ExceptionBoundary& boundary_;
};

}  // namespace velto
