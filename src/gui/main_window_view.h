#pragma once
// The main window: the box's front panel, its status, the adjust group and the tabs of
// favourites, random play and new favourites, with the menu bar. Every widget is bound to a
// control model of MainApp; the window holds no state of its own.

#include <QMainWindow>
#include <functional>

class QTabWidget;
class QGridLayout;

namespace velto {

class MainApp;
class TextField;
class UpDownArrows;

class MainWindowView final : public QMainWindow {
public:
    explicit MainWindowView(MainApp& app, QWidget* parent = nullptr);
    ~MainWindowView() override;

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildFrontPanel();
    QWidget* buildStatus();
    QWidget* buildAdjust();
    QTabWidget* buildTabs();
    QWidget* buildFavouritesTab();
    QWidget* buildRandomTab();
    QWidget* buildEditTab();
    void buildMenus();
    void showActivityLog(bool shown);
    /// Runs a handler of MainApp through its exception boundary.
    void guarded(const std::function<void()>& handler);

    MainApp& app_;
    QWidget* logWindow_ = nullptr;
};

}  // namespace velto
