#pragma once
// The About window: the picture, name, version and build, the credits and three links. It
// shows and hides with its model's window.

#include <QPixmap>
#include <QWidget>

namespace velto {

class MainApp;

class AboutView final : public QWidget {
public:
    AboutView(MainApp& app, QWidget* parent);

    /// The application's picture, drawn: there is no icon file.
    static QPixmap appPicture(int size);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void followModel();

    MainApp& app_;
};

}  // namespace velto
