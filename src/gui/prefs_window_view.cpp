#include "gui/prefs_window_view.h"

#include <QCoreApplication>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

namespace {

using gui::bound;

/// A caption over a group of fields.
QLabel* heading(Label& model) {
    auto* label = bound<QLabel>(model);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

/// A line or two of explanation under a caption.
QLabel* note(Label& model) {
    auto* label = bound<QLabel>(model);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QLineEdit* shortField(TextField& model) {
    auto* field = bound<QLineEdit>(model);
    field->setMaximumWidth(90);
    return field;
}

}  // namespace

PrefsWindowView::PrefsWindowView(MainApp& app, QWidget* parent)
    : ModelWindow(app.prefsWindow.window, app.platform().boundary, parent), app_(app) {
    MainApp::PrefsWindow& w = app_.prefsWindow;

    auto* modes = new QGroupBox;
    modes->setObjectName(w.GroupBox1.name());
    gui::bind(modes, w.GroupBox1);
    auto* modeRow = new QHBoxLayout(modes);
    gui::radioGroup(modeRow, {&w.modeSolo, &w.modeMaster, &w.modeSlave});
    modeRow->addStretch();

    auto* left = new QVBoxLayout;
    left->addWidget(modes);
    left->addSpacing(10);
    left->addWidget(heading(w.Label5));
    left->addWidget(note(w.Label6));
    auto* portRow = new QHBoxLayout;
    portRow->addWidget(bound<QLineEdit>(w.portName), 1);
    portRow->addWidget(bound<QPushButton>(w.portAutoDetect));
    left->addLayout(portRow);
    left->addWidget(bound<QLabel>(w.portsInfo));
    left->addWidget(bound<QComboBox>(w.comPorts));
    left->addSpacing(10);
    left->addWidget(heading(w.Label7));
    left->addWidget(note(w.Label8));
    left->addWidget(shortField(w.timeoutPref));
    left->addSpacing(10);
    left->addWidget(heading(w.Label13));
    left->addWidget(note(w.Label14));
    auto* capsRow = new QHBoxLayout;
    capsRow->addWidget(new QLabel(QStringLiteral("A")));
    capsRow->addWidget(shortField(w.maxLevelA));
    capsRow->addWidget(new QLabel(QStringLiteral("B")));
    capsRow->addWidget(shortField(w.maxLevelB));
    capsRow->addStretch(1);
    left->addLayout(capsRow);
    left->addSpacing(10);
    left->addWidget(bound<QCheckBox>(w.errorCorrect));
    left->addWidget(bound<QCheckBox>(w.autoAdjustMove));
    auto* evoCamRow = new QHBoxLayout;
    evoCamRow->addWidget(bound<QCheckBox>(w.evoCamLink));
    evoCamRow->addWidget(bound<QLineEdit>(w.evoCamName), 1);
    left->addLayout(evoCamRow);
    left->addStretch(1);

    auto* tabs = new QTabWidget;
    tabs->setObjectName(w.brokerOpts.name());
    tabs->addTab(buildBrokerTab(), w.brokerOpts.captions().value(0));
    tabs->addTab(buildManualTab(), w.brokerOpts.captions().value(1));
    gui::bind(tabs, w.brokerOpts);

    auto* columns = new QHBoxLayout;
    columns->addLayout(left, 1);
    columns->addSpacing(12);
    columns->addWidget(tabs, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* done = bound<QPushButton>(w.settingsDone);
    done->setDefault(true);
    done->setMinimumWidth(90);
    buttons->addWidget(done);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    layout->addLayout(buttons);
    setMinimumWidth(680);

    // Quitting closes the open window as its close box would: what it holds is saved.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        if (model_.visible()) boundary_.run([this] { model_.close(); });
    });
    followModel();
}

QWidget* PrefsWindowView::buildBrokerTab() {
    MainApp::PrefsWindow& w = app_.prefsWindow;
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->addWidget(bound<QCheckBox>(w.useBroker));
    auto* form = new QFormLayout;
    form->addRow(bound<QLabel>(w.Label11), bound<QLineEdit>(w.brokerID));
    form->addRow(bound<QLabel>(w.Label12), shortField(w.brokerPIN));  // in clear, as it is typed
    column->addLayout(form);
    auto* advanced = new QHBoxLayout;
    advanced->addStretch();
    advanced->addWidget(bound<QPushButton>(w.brokerOptionsButton));
    column->addLayout(advanced);
    column->addWidget(note(w.Label10));
    column->addStretch(1);
    return page;
}

QWidget* PrefsWindowView::buildManualTab() {
    MainApp::PrefsWindow& w = app_.prefsWindow;
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->addWidget(heading(w.Label1));
    column->addWidget(shortField(w.portNumber));
    column->addWidget(note(w.Label2));
    column->addSpacing(10);
    column->addWidget(heading(w.Label3));
    auto* hostRow = new QHBoxLayout;
    hostRow->addWidget(bound<QLineEdit>(w.remoteHost), 1);
    hostRow->addWidget(bound<QPushButton>(w.scanButton));
    column->addLayout(hostRow);
    column->addWidget(note(w.Label9));
    column->addSpacing(10);
    column->addWidget(bound<QCheckBox>(w.httpMode));
    column->addStretch(1);
    return page;
}

void PrefsWindowView::changeEvent(QEvent* event) {
    // Also when shown again while open: it is brought to the front, which activates it.
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        boundary_.run([this] { model_.activate(); });
}

}  // namespace velto
