#pragma once
// The activity log window: the log's text and the "Log serial commands" box.

#include <QWidget>

namespace velto {

class MainApp;

class ActivityLogView final : public QWidget {
public:
    ActivityLogView(MainApp& app, QWidget* parent);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    MainApp& app_;
};

}  // namespace velto
