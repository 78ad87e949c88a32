#pragma once
// The VeltoBroker user list: pick a user to ask for control or to write to. Bound to
// MainApp::brokerUsers; it follows its model's visibility, and its close box closes the model.

#include <QWidget>

namespace velto {

class MainApp;

class BrokerUsersView final : public QWidget {
public:
    BrokerUsersView(MainApp& app, QWidget* parent);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    MainApp& app_;
};

}  // namespace velto
