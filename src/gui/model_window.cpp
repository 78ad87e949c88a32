#include "gui/model_window.h"

#include <QCloseEvent>

#include "gui/bind.h"
#include "platform/boundary.h"

namespace velto {

ModelWindow::ModelWindow(Window& model, ExceptionBoundary& boundary, QWidget* parent)
    : QWidget(parent, Qt::Window), model_(model), boundary_(boundary) {
    setObjectName(model.name());
}

void ModelWindow::followModel() {
    auto refresh = [this] {
        setWindowTitle(model_.title());
        if (!model_.visible()) hide();
    };
    refresh();
    gui::onModel(this, model_.changed, refresh);
    gui::onModel(this, model_.shown, [this] {
        show();
        raise();
        activateWindow();
    });
    setVisible(model_.visible());
}

void ModelWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    boundary_.run([this] { model_.close(); });
}

}  // namespace velto
