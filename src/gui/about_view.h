#pragma once
// The About window: the picture, name, version and build, the credits and three links. It
// shows and hides with its model's window.

#include <QPixmap>

#include "gui/model_window.h"

namespace velto {

class MainApp;

class AboutView final : public ModelWindow {
public:
    AboutView(MainApp& app, QWidget* parent);

    /// The application's picture, drawn: there is no icon file.
    static QPixmap appPicture(int size);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    MainApp& app_;
};

}  // namespace velto
