#include "gui/activity_log_view.h"

#include <QCloseEvent>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

ActivityLogView::ActivityLogView(MainApp& app, QWidget* parent) : QWidget(parent, Qt::Window), app_(app) {
    setObjectName(QStringLiteral("activityLog"));
    setWindowTitle(app.activityLog.window.title());
    auto* layout = new QVBoxLayout(this);
    auto* text = new QPlainTextEdit;
    text->setObjectName(QStringLiteral("log"));
    text->setMaximumBlockCount(ActivityLog::kMaxLines);
    gui::bind(text, app.activityLog.log);
    layout->addWidget(text);
    auto* serial = new QCheckBox;
    serial->setObjectName(QStringLiteral("logSerial"));
    gui::bind(serial, app.activityLog.logSerial);
    layout->addWidget(serial);
    resize(600, 199);
}

void ActivityLogView::closeEvent(QCloseEvent* event) {
    // The user's close button closes the model's window, which ends logging.
    event->ignore();
    app_.platform().boundary.run([this] { app_.activityLog.window.close(); });
}

}  // namespace velto
