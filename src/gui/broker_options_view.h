#pragma once
// The VeltoBroker options: auto connect, the accept and reject lists with names dragged between
// them, and the own profile. Bound to MainApp::brokerOptions; it follows its model's visibility.

#include <QWidget>

namespace velto {

class MainApp;

class BrokerOptionsView final : public QWidget {
public:
    BrokerOptionsView(MainApp& app, QWidget* parent);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    MainApp& app_;
};

}  // namespace velto
