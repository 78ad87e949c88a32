#include "gui/main_window_view.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QPixmap>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/activity_log_view.h"
#include "gui/bind.h"

namespace velto {

namespace {

QString captionText(const QString& name) {
    for (const auto& [label, text] : MainApp::staticCaptions())
        if (label == name) return text;
    return name;
}

QLabel* caption(const QString& name) { return new QLabel(captionText(name)); }

template <class W, class M>
W* bound(M& model) {
    auto* widget = new W;
    widget->setObjectName(model.name());
    gui::bind(widget, model);
    return widget;
}

QToolButton* stepButton(PushButton& model) {
    auto* button = bound<QToolButton>(model);
    button->setAutoRaise(false);
    button->setFixedWidth(28);
    return button;
}

/// One slider row: caption, minus, slider, plus, read-out.
void sliderRow(QGridLayout* grid, int row, QLabel* name, Slider& slider, PushButton& minus,
               PushButton& plus, Label& readout) {
    auto* widget = bound<QSlider>(slider);
    widget->setOrientation(Qt::Horizontal);
    auto* value = bound<QLabel>(readout);
    value->setMinimumWidth(32);
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    grid->addWidget(name, row, 0);
    grid->addWidget(stepButton(minus), row, 1);
    grid->addWidget(widget, row, 2);
    grid->addWidget(stepButton(plus), row, 3);
    grid->addWidget(value, row, 4);
}

}  // namespace

MainWindowView::MainWindowView(MainApp& app, QWidget* parent) : QMainWindow(parent), app_(app) {
    setObjectName(QStringLiteral("MainApp"));
    auto refreshTitle = [this] { setWindowTitle(app_.window.title()); };
    refreshTitle();
    gui::onModel(this, app_.window.changed, refreshTitle);
    setWindowFlags(windowFlags() & ~Qt::WindowMaximizeButtonHint);

    auto* central = new QWidget;
    auto* layout = new QHBoxLayout(central);
    layout->addWidget(buildFrontPanel(), 3);
    layout->addWidget(buildStatus(), 2);
    setCentralWidget(central);
    buildMenus();
    resize(896, 557);

    logWindow_ = new ActivityLogView(app_, this);
    showActivityLog(app_.activityLog.window.visible());
    gui::onModel(this, app_.activityLog.window.changed,
                 [this] { showActivityLog(app_.activityLog.window.visible()); });
}

MainWindowView::~MainWindowView() = default;

QWidget* MainWindowView::buildFrontPanel() {
    auto* panel = new QWidget;
    auto* column = new QVBoxLayout(panel);

    auto* top = new QHBoxLayout;
    top->addWidget(bound<QPushButton>(app_.Connect));
    top->addWidget(bound<QPushButton>(app_.Reset));
    auto* stop = bound<QPushButton>(app_.allStop);
    stop->setStyleSheet(QStringLiteral("QPushButton { font-weight: bold; color: #b00020; }"));
    top->addWidget(stop);
    top->addStretch();
    column->addLayout(top);

    auto* outputs = new QGroupBox(captionText(QStringLiteral("Label19")));
    auto* outGrid = new QGridLayout(outputs);
    sliderRow(outGrid, 0, caption(QStringLiteral("Label3")), app_.channelA, app_.aMinus, app_.aPlus,
              app_.settingA);
    sliderRow(outGrid, 1, caption(QStringLiteral("Label4")), app_.channelB, app_.bMinus, app_.bPlus,
              app_.settingB);
    outGrid->addWidget(bound<QCheckBox>(app_.joinChannels), 2, 2);
    column->addWidget(outputs);

    auto* settings = new QGroupBox(captionText(QStringLiteral("Label22")));
    auto* setGrid = new QGridLayout(settings);
    sliderRow(setGrid, 0, bound<QLabel>(app_.cLabel), app_.channelC, app_.cMinus, app_.cPlus, app_.settingC);
    sliderRow(setGrid, 1, bound<QLabel>(app_.dLabel), app_.channelD, app_.dMinus, app_.dPlus, app_.settingD);
    column->addWidget(settings);

    auto* modeRow = new QHBoxLayout;
    modeRow->addWidget(caption(QStringLiteral("Label1")));
    modeRow->addWidget(bound<QComboBox>(app_.ModeControl), 1);
    auto* diagram = new QLabel;
    diagram->setObjectName(QStringLiteral("waveDiag"));
    diagram->setFixedSize(100, 50);
    diagram->setFrameShape(QFrame::StyledPanel);
    auto showDiagram = [diagram, this] {
        const QPixmap picture(QStringLiteral(":/velto/modes/") + app_.waveDiag.backdrop() + QStringLiteral(".png"));
        if (picture.isNull())
            diagram->setText(app_.waveDiag.backdrop());
        else
            diagram->setPixmap(picture);
    };
    showDiagram();
    gui::onModel(diagram, app_.waveDiag.changed, showDiagram);
    modeRow->addWidget(diagram);
    column->addLayout(modeRow);

    auto* power = new QGroupBox(captionText(QStringLiteral("Label6")));
    power->setToolTip(app_.GroupBox1.helpTag());
    auto* powerRow = new QHBoxLayout(power);
    auto* lo = new QRadioButton;
    auto* hi = new QRadioButton;
    auto* dyn = new QRadioButton;
    gui::bindGroup({{lo, &app_.powerLo}, {hi, &app_.powerHi}, {dyn, &app_.powerDynamic}});
    powerRow->addWidget(lo);
    powerRow->addWidget(hi);
    powerRow->addWidget(dyn);
    powerRow->addStretch();
    column->addWidget(power);
    column->addStretch();
    return panel;
}

QWidget* MainWindowView::buildStatus() {
    auto* panel = new QWidget;
    auto* column = new QVBoxLayout(panel);

    auto* clock = new QGroupBox;
    auto* clockColumn = new QVBoxLayout(clock);
    auto* ticks = bound<QLabel>(app_.tickCounter);
    QFont big = ticks->font();
    big.setPointSize(big.pointSize() * 2);
    big.setBold(true);
    ticks->setFont(big);
    ticks->setAlignment(Qt::AlignCenter);
    ticks->setMinimumHeight(40);
    clockColumn->addWidget(ticks);
    clockColumn->addWidget(bound<QLabel>(app_.randMode));
    column->addWidget(clock);

    auto* status = new QGroupBox(captionText(QStringLiteral("Label2")));
    auto* form = new QVBoxLayout(status);
    for (Label* label : {&app_.veltoStatus, &app_.batteryLabel, &app_.firmwareLabel, &app_.modeLabel,
                         &app_.hostInfo, &app_.localAddr, &app_.lastCmd, &app_.errText, &app_.versionName}) {
        auto* widget = bound<QLabel>(*label);
        widget->setTextInteractionFlags(Qt::TextSelectableByMouse);
        form->addWidget(widget);
    }
    column->addWidget(status);
    column->addStretch();
    return panel;
}

void MainWindowView::buildMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    QAction* activity = file->addAction(QStringLiteral("Activity"));
    activity->setShortcut(QKeySequence(QStringLiteral("Ctrl+0")));
    connect(activity, &QAction::triggered, this,
            [this] { app_.platform().boundary.run([this] { app_._activityToggle_Action(); }); });
    file->addSeparator();
    QAction* quit = file->addAction(QStringLiteral("&Quit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, qApp, &QApplication::quit);
}

void MainWindowView::showActivityLog(bool shown) {
    if (!logWindow_) return;
    if (shown) {
        logWindow_->show();
        logWindow_->raise();
    } else {
        logWindow_->hide();
    }
}

void MainWindowView::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        app_.platform().boundary.run([this] { app_.Event_Activate(); });
}

void MainWindowView::closeEvent(QCloseEvent* event) {
    // Closing the main window ends the program, as quitting does.
    event->accept();
    qApp->quit();
}

}  // namespace velto
