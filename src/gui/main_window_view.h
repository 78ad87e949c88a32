#pragma once
// The main window: the box's front panel and status, bound to MainApp's controls.

#include <QMainWindow>

namespace velto {

class MainApp;

class MainWindowView final : public QMainWindow {
public:
    explicit MainWindowView(MainApp& app, QWidget* parent = nullptr);
    ~MainWindowView() override;

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildFrontPanel();
    QWidget* buildStatus();
    void buildMenus();
    void showActivityLog(bool shown);

    MainApp& app_;
    QWidget* logWindow_ = nullptr;
};

}  // namespace velto
