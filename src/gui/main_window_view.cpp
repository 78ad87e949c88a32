#include "gui/main_window_view.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTextEdit>
#include <QMenuBar>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/about_view.h"
#include "gui/activity_log_view.h"
#include "gui/bind.h"
#include "gui/broker_chat_view.h"
#include "gui/broker_options_view.h"
#include "gui/broker_users_view.h"
#include "gui/connect_window_view.h"
#include "gui/messages_view.h"
#include "gui/listbox_model.h"
#include "gui/prefs_window_view.h"

// Resources in a static library must be registered by name, outside any namespace.
static void initResources() { Q_INIT_RESOURCE(resources); }

namespace velto {

namespace {

QString captionText(const QString& name) {
    for (const auto& [label, text] : MainApp::staticCaptions())
        if (label == name) return text;
    return name;
}

QLabel* caption(const QString& name) {
    auto* label = new QLabel(captionText(name));
    label->setObjectName(name);
    return label;
}

using gui::bound;

QToolButton* stepButton(PushButton& model) {
    auto* button = bound<QToolButton>(model);
    button->setFixedWidth(28);
    return button;
}

/// One slider row: caption, minus, slider, plus, read-out.
void sliderRow(QGridLayout* grid, int row, QLabel* name, Slider& slider, PushButton& minus,
               PushButton& plus, Label& readout) {
    auto* widget = bound<QSlider>(slider);
    widget->setOrientation(Qt::Horizontal);
    widget->setMinimumWidth(150);
    auto* value = bound<QLabel>(readout);
    value->setMinimumWidth(30);
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    name->setMinimumWidth(80);
    grid->addWidget(name, row, 0);
    grid->addWidget(stepButton(minus), row, 1);
    grid->addWidget(widget, row, 2);
    grid->addWidget(stepButton(plus), row, 3);
    grid->addWidget(value, row, 4);
}

QLineEdit* shortField(TextField& model, int width = 48) {
    auto* field = bound<QLineEdit>(model);
    field->setFixedWidth(width);
    return field;
}

/// Up and down arrows: two small buttons raising the model's events.
QWidget* arrows(UpDownArrows& model) {
    auto* box = new QWidget;
    box->setObjectName(model.name());
    gui::bindCommon(box, model);
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto* up = new QToolButton;
    up->setArrowType(Qt::UpArrow);
    up->setFixedSize(22, 13);
    auto* down = new QToolButton;
    down->setArrowType(Qt::DownArrow);
    down->setFixedSize(22, 13);
    QObject::connect(up, &QToolButton::clicked, box, [&model] { model.up(); });
    QObject::connect(down, &QToolButton::clicked, box, [&model] { model.down(); });
    column->addWidget(up);
    column->addWidget(down);
    return box;
}

}  // namespace

MainWindowView::MainWindowView(MainApp& app, QWidget* parent) : QMainWindow(parent), app_(app) {
    initResources();
    setObjectName(QStringLiteral("MainApp"));
    auto refreshTitle = [this] { setWindowTitle(app_.window.title()); };
    refreshTitle();
    gui::onModel(this, app_.window.changed, refreshTitle);
    setWindowFlags(windowFlags() & ~Qt::WindowMaximizeButtonHint);

    auto* central = new QWidget;
    auto* columns = new QHBoxLayout(central);
    auto* left = new QVBoxLayout;
    left->addWidget(buildFrontPanel());
    left->addWidget(buildAdjust());
    left->addStretch();
    auto* right = new QVBoxLayout;
    right->addWidget(buildStatus());
    right->addWidget(buildTabs(), 1);
    columns->addLayout(left, 0);
    columns->addLayout(right, 1);
    setCentralWidget(central);
    buildMenus();
    resize(896, 557);

    qApp->installEventFilter(this);
    new AboutView(app_, this);  // shows itself with its model
    new PrefsWindowView(app_, this);  // shows itself with its model
    new BrokerUsersView(app_, this);
    new BrokerOptionsView(app_, this);
    BrokerChatView::followChats(app_, this);
    new ConnectWindowView(app_, this);
    new MessagesView(app_, this);
    new ComposeView(app_, this);
    logWindow_ = new ActivityLogView(app_, this);
    showActivityLog(app_.activityLog.window.visible());
    gui::onModel(this, app_.activityLog.window.changed,
                 [this] { showActivityLog(app_.activityLog.window.visible()); });
}

MainWindowView::~MainWindowView() = default;

void MainWindowView::guarded(const std::function<void()>& handler) { app_.platform().boundary.run(handler); }

QWidget* MainWindowView::buildFrontPanel() {
    auto* panel = new QWidget;
    auto* column = new QVBoxLayout(panel);
    column->setContentsMargins(0, 0, 0, 0);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(bound<QPushButton>(app_.Connect));
    buttons->addWidget(bound<QPushButton>(app_.Reset));
    buttons->addStretch();
    auto* stop = bound<QPushButton>(app_.allStop);
    stop->setMinimumWidth(90);
    stop->setStyleSheet(QStringLiteral("QPushButton { font-weight: bold; color: #b00020; }"));
    buttons->addWidget(stop);
    column->addLayout(buttons);

    auto* outputs = new QGroupBox(captionText(QStringLiteral("Label19")));
    auto* outGrid = new QGridLayout(outputs);
    sliderRow(outGrid, 0, caption(QStringLiteral("Label3")), app_.channelA, app_.aMinus, app_.aPlus, app_.settingA);
    sliderRow(outGrid, 1, caption(QStringLiteral("Label4")), app_.channelB, app_.bMinus, app_.bPlus, app_.settingB);
    outGrid->addWidget(bound<QCheckBox>(app_.joinChannels), 2, 2);
    column->addWidget(outputs);

    auto* settings = new QGroupBox(captionText(QStringLiteral("Label22")));
    auto* setGrid = new QGridLayout(settings);
    sliderRow(setGrid, 0, bound<QLabel>(app_.cLabel), app_.channelC, app_.cMinus, app_.cPlus, app_.settingC);
    sliderRow(setGrid, 1, bound<QLabel>(app_.dLabel), app_.channelD, app_.dMinus, app_.dPlus, app_.settingD);
    column->addWidget(settings);

    auto* modeRow = new QHBoxLayout;
    auto* modeColumn = new QVBoxLayout;
    modeColumn->addWidget(caption(QStringLiteral("Label1")));
    modeColumn->addWidget(bound<QComboBox>(app_.ModeControl));
    auto* power = new QGroupBox(captionText(QStringLiteral("Label6")));
    power->setObjectName(app_.GroupBox1.name());
    gui::bindCommon(power, app_.GroupBox1);
    gui::radioGroup(new QHBoxLayout(power), {&app_.powerLo, &app_.powerHi, &app_.powerDynamic});
    modeColumn->addWidget(power);
    modeRow->addLayout(modeColumn, 1);

    auto* diagram = new QLabel;
    diagram->setObjectName(app_.waveDiag.name());
    diagram->setFixedSize(100, 50);
    diagram->setAlignment(Qt::AlignCenter);
    auto showDiagram = [diagram, this] {
        const QString name = app_.waveDiag.backdrop();
        QPixmap picture(QStringLiteral(":/velto/modes/") + name + QStringLiteral(".png"));
        if (picture.isNull()) {
            diagram->setPixmap({});
            diagram->setText(name);
        } else {
            diagram->setPixmap(picture.scaled(diagram->size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
        }
    };
    showDiagram();
    gui::onModel(diagram, app_.waveDiag.changed, showDiagram);
    modeRow->addWidget(diagram, 0, Qt::AlignBottom);
    column->addLayout(modeRow);
    return panel;
}

QWidget* MainWindowView::buildStatus() {
    auto* panel = new QWidget;
    auto* row = new QHBoxLayout(panel);
    row->setContentsMargins(0, 0, 0, 0);

    auto* clock = bound<QGroupBox>(app_.GroupBox3);
    auto* clockColumn = new QVBoxLayout(clock);
    auto* ticks = bound<QLabel>(app_.tickCounter);
    QFont big = ticks->font();
    big.setPointSizeF(big.pointSizeF() * 2.2);
    big.setBold(true);
    ticks->setFont(big);
    ticks->setAlignment(Qt::AlignCenter);
    ticks->setMinimumSize(130, 44);
    ticks->setCursor(Qt::PointingHandCursor);
    ticks->installEventFilter(this);
    clockColumn->addWidget(ticks);
    auto* mode = bound<QLabel>(app_.randMode);
    mode->setAlignment(Qt::AlignCenter);
    clockColumn->addWidget(mode);
    row->addWidget(clock);

    auto* status = new QGroupBox(captionText(QStringLiteral("Label2")));
    auto* grid = new QGridLayout(status);
    grid->setVerticalSpacing(2);
    auto* veltoStatus = bound<QLabel>(app_.veltoStatus);
    veltoStatus->setTextInteractionFlags(Qt::TextSelectableByMouse);
    grid->addWidget(veltoStatus, 0, 0, 1, 2);
    grid->addWidget(bound<QLabel>(app_.batteryLabel), 1, 0);
    grid->addWidget(bound<QLabel>(app_.firmwareLabel), 1, 1);
    grid->addWidget(bound<QLabel>(app_.modeLabel), 2, 0);
    grid->addWidget(bound<QLabel>(app_.versionName), 2, 1);
    grid->addWidget(bound<QLabel>(app_.hostInfo), 3, 0, 1, 2);
    grid->addWidget(bound<QLabel>(app_.localAddr), 4, 0, 1, 2);
    grid->addWidget(bound<QLabel>(app_.lastCmd), 5, 0);
    auto* err = bound<QLabel>(app_.errText);
    err->setStyleSheet(QStringLiteral("color: #b00020;"));
    grid->addWidget(err, 5, 1);
    row->addWidget(status, 1);
    return panel;
}

QWidget* MainWindowView::buildAdjust() {
    auto* group = bound<QGroupBox>(app_.GroupBox2);
    auto* grid = new QGridLayout(group);
    grid->addWidget(caption(QStringLiteral("Label7")), 0, 0);
    grid->addWidget(shortField(app_.adjustA), 0, 1);
    grid->addWidget(caption(QStringLiteral("Label8")), 0, 2);
    grid->addWidget(shortField(app_.adjustB), 0, 3);
    grid->addWidget(caption(QStringLiteral("Label9")), 0, 4);
    grid->addWidget(shortField(app_.adjustTime), 0, 5);
    grid->addWidget(caption(QStringLiteral("Label10")), 0, 6);
    grid->setColumnStretch(7, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(bound<QPushButton>(app_.Adjust));
    buttons->addWidget(bound<QPushButton>(app_.halt));
    buttons->addStretch();
    grid->addLayout(buttons, 1, 0, 1, 8);
    return group;
}

QTabWidget* MainWindowView::buildTabs() {
    auto* tabs = new QTabWidget;
    tabs->setObjectName(app_.FavRand.name());
    tabs->addTab(buildFavouritesTab(), app_.FavRand.captions().value(0));
    tabs->addTab(buildRandomTab(), app_.FavRand.captions().value(1));
    tabs->addTab(buildEditTab(), app_.FavRand.captions().value(2));
    auto refresh = [tabs, this] {
        const QSignalBlocker block(tabs);
        tabs->setCurrentIndex(app_.FavRand.value());
    };
    refresh();
    gui::onModel(tabs, app_.FavRand.changed, refresh);
    connect(tabs, &QTabWidget::currentChanged, tabs, [this](int tab) { app_.FavRand.setValue(tab); });
    return tabs;
}

QWidget* MainWindowView::buildFavouritesTab() {
    auto* page = new QWidget;
    auto* grid = new QGridLayout(page);

    auto* table = new QTableView;
    table->setObjectName(app_.favsList.name());
    auto* model = new ListboxModel(app_.favsList, table);
    table->setModel(model);
    gui::bindCommon(table, app_.favsList);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::SelectedClicked |
                           QAbstractItemView::EditKeyPressed);
    table->setDragDropMode(QAbstractItemView::InternalMove);
    table->setDragEnabled(true);
    table->setAcceptDrops(true);
    table->setDropIndicatorShown(true);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(22);
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    auto layoutColumns = [table, model] {
        for (int c = 0; c < model->columnCount(); ++c) table->setColumnHidden(c, model->columnHidden(c));
    };
    layoutColumns();
    gui::onModel(table, app_.favsList.changed, layoutColumns);

    // Selection: the list's one selected row is the record; the view shows it.
    auto showSelection = [table, this] {
        const int row = app_.favsList.listIndex();
        const QSignalBlocker block(table->selectionModel());
        if (row < 0)
            table->clearSelection();
        else
            table->selectRow(row);
    };
    showSelection();
    connect(model, &QAbstractItemModel::modelReset, table, showSelection);
    gui::onModel(table, app_.favsList.changed, showSelection);
    connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, table, [table, this] {
        const QModelIndexList rows = table->selectionModel()->selectedRows();
        guarded([&] { app_.favsList.setListIndex(rows.isEmpty() ? -1 : rows.first().row()); });
    });
    grid->addWidget(table, 0, 0, 2, 1);
    grid->addWidget(bound<QLabel>(app_.favInfo), 2, 0, 1, 2);

    auto* buttons = new QVBoxLayout;
    for (PushButton* b : {&app_.saveCurrent, &app_.gotoSelected, &app_.adjustSelected, &app_.playSelected,
                          &app_.deleteSelected, &app_.createSequence, &app_.playbackStop})
        buttons->addWidget(bound<QPushButton>(*b));
    buttons->addStretch();
    grid->addLayout(buttons, 0, 1);
    grid->setColumnStretch(0, 1);
    return page;
}

QWidget* MainWindowView::buildRandomTab() {
    auto* page = new QWidget;
    auto* grid = new QGridLayout(page);
    int row = 0;
    grid->addWidget(bound<QCheckBox>(app_.delayFirst), row, 0);
    grid->addWidget(shortField(app_.firstDelay), row++, 2);

    grid->addWidget(bound<QCheckBox>(app_.delayBetween), row, 0);
    grid->addWidget(caption(QStringLiteral("Label15")), row, 1);
    grid->addWidget(shortField(app_.minDelay), row, 2);
    grid->addWidget(caption(QStringLiteral("Label11")), row, 3);
    grid->addWidget(shortField(app_.maxDelay), row++, 4);

    grid->addWidget(bound<QCheckBox>(app_.randomTimes), row, 0);
    grid->addWidget(caption(QStringLiteral("Label16")), row, 1);
    grid->addWidget(shortField(app_.minRun), row, 2);
    grid->addWidget(caption(QStringLiteral("Label12")), row, 3);
    grid->addWidget(shortField(app_.maxRun), row++, 4);

    grid->addWidget(bound<QCheckBox>(app_.randomPower), row++, 0, 1, 5);

    grid->addWidget(bound<QCheckBox>(app_.loopPower), row, 0);
    grid->addWidget(caption(QStringLiteral("Label14")), row, 1);
    grid->addWidget(shortField(app_.loopBoostA), row, 2);
    grid->addWidget(caption(QStringLiteral("Label13")), row, 3);
    grid->addWidget(shortField(app_.loopBoostB), row++, 4);

    grid->addWidget(bound<QCheckBox>(app_.loopTimeout), row, 0);
    grid->addWidget(shortField(app_.loopRuntime), row++, 2);

    auto* buttons = new QHBoxLayout;
    for (PushButton* b : {&app_.randomStart, &app_.randomLoop, &app_.randomStop})
        buttons->addWidget(bound<QPushButton>(*b));
    buttons->addStretch();
    buttons->addWidget(bound<QLabel>(app_.randomStatus));
    grid->addLayout(buttons, row++, 0, 1, 6);
    grid->setColumnStretch(5, 1);
    grid->setRowStretch(row, 1);
    return page;
}

QWidget* MainWindowView::buildEditTab() {
    auto* page = new QWidget;
    auto* grid = new QGridLayout(page);
    auto* intro = caption(QStringLiteral("Label17"));
    intro->setWordWrap(true);
    grid->addWidget(intro, 0, 0, 1, 8);
    grid->addWidget(bound<QComboBox>(app_.selectMode), 1, 0, 1, 4);
    grid->addWidget(bound<QComboBox>(app_.newPower), 1, 4, 1, 4);
    const std::pair<TextField*, UpDownArrows*> fields[] = {
        {&app_.newA, &app_.spinnerA}, {&app_.newB, &app_.spinnerB},
        {&app_.newC, &app_.spinnerC}, {&app_.newD, &app_.spinnerD}};
    const QString names[] = {QStringLiteral("Label18"), QStringLiteral("Label5"), QStringLiteral("Label21"),
                             QStringLiteral("Label20")};
    for (int i = 0; i < 4; ++i) {
        auto* cell = new QHBoxLayout;
        cell->addWidget(caption(names[i]));
        cell->addWidget(shortField(*fields[i].first));
        cell->addWidget(arrows(*fields[i].second));
        grid->addLayout(cell, 2, i * 2, 1, 2);
    }
    auto* add = bound<QPushButton>(app_.createNewFav);
    grid->addWidget(add, 3, 0, 1, 2);
    grid->setRowStretch(4, 1);
    grid->setColumnStretch(8, 1);
    return page;
}

void MainWindowView::buildMenus() {
    for (const Menu& menu : app_.MenuBar1.menus) {
        QMenu* qmenu = menuBar()->addMenu(menu.caption);
        qmenu->setObjectName(menu.name);
        if (menu.name == app_.MenuBar1.VeltoBroker.name())
            gui::onModel(qmenu, app_.MenuBar1.VeltoBroker.changed,
                         [qmenu, this] { qmenu->menuAction()->setEnabled(app_.MenuBar1.VeltoBroker.enabled()); });
        connect(qmenu, &QMenu::aboutToShow, this, [this] { guarded([this] { app_.Event_EnableMenuItems(); }); });
        for (MenuEntry* item : menu.items) {
            if (item->separator()) {
                qmenu->addSeparator();
                continue;
            }
            QAction* action = qmenu->addAction(item->caption());
            action->setObjectName(item->name());
            if (!item->shortcut().isEmpty()) action->setShortcut(QKeySequence(platformShortcut(item->shortcut())));
            // An item of the VeltoBroker menu is off, shortcut too, while the whole menu is.
            Control* whole = menu.name == app_.MenuBar1.VeltoBroker.name() ? &app_.MenuBar1.VeltoBroker : nullptr;
            auto refresh = [action, item, whole] { action->setEnabled(item->enabled() && (!whole || whole->enabled())); };
            refresh();
            const int id = item->changed.connect(refresh);
            connect(action, &QObject::destroyed, [item, id] { item->changed.disconnect(id); });
            if (whole) gui::onModel(qmenu, whole->changed, refresh);

            MenuBar& m = app_.MenuBar1;
            if (item == &m.FileQuit) {
                action->setMenuRole(QAction::QuitRole);
                connect(action, &QAction::triggered, qApp, &QApplication::quit);
            } else if (menu.name == QLatin1String("EditMenu")) {
                // The framework's editing items act on the focused text widget.
                static const std::pair<MenuEntry MenuBar::*, const char*> slots[] = {
                    {&MenuBar::EditUndo, "undo"},   {&MenuBar::EditCut, "cut"},
                    {&MenuBar::EditCopy, "copy"},   {&MenuBar::EditPaste, "paste"},
                    {&MenuBar::EditClear, "del"},   {&MenuBar::EditSelectAll, "selectAll"}};
                for (const auto& [member, slot] : slots)
                    if (&(m.*member) == item)
                        connect(action, &QAction::triggered, this, [slot = slot] {
                            if (QWidget* focus = QApplication::focusWidget())
                                QMetaObject::invokeMethod(focus, slot);
                        });
            } else {
                if (item == &m.prefsMenu) action->setMenuRole(QAction::PreferencesRole);
                else if (item == &m.aboutMenu) action->setMenuRole(QAction::AboutRole);
                else if (item == &m.FileCheckforupdate) action->setMenuRole(QAction::ApplicationSpecificRole);
                else action->setMenuRole(QAction::NoRole);
                connect(action, &QAction::triggered, this, [item] { item->push(); });
            }
        }
    }
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
        guarded([this] { app_.Event_Activate(); });
}

namespace {
// The keys of the window's own handler, and whether the focus is taking typed text.
bool isWindowKey(const QString& key) {
    static const QString keys = QStringLiteral("Kk+UuD-d<>Nn\x1b");
    return key.size() == 1 && keys.contains(key);
}

bool takesText(const QWidget* focus) {
    if (!focus) return false;
    if (qobject_cast<const QLineEdit*>(focus) || qobject_cast<const QAbstractSpinBox*>(focus) ||
        qobject_cast<const QTextEdit*>(focus) || qobject_cast<const QPlainTextEdit*>(focus))
        return !focus->property("readOnly").toBool();
    if (const auto* combo = qobject_cast<const QComboBox*>(focus)) return combo->isEditable();
    return false;
}
}  // namespace

bool MainWindowView::eventFilter(QObject* watched, QEvent* event) {
    // A click on the clock is the label's own event.
    if (event->type() == QEvent::MouseButtonPress && watched->objectName() == app_.tickCounter.name()) {
        guarded([this] { app_.tickCounter_MouseDown(); });
        return true;
    }
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (!widget || widget->window() != this) return QMainWindow::eventFilter(watched, event);
        auto* key = static_cast<QKeyEvent*>(event);
        const Qt::KeyboardModifiers chord = key->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
        if (event->type() == QEvent::ShortcutOverride) {
            // Menu items' enablement is brought up to date before a shortcut is matched, not
            // only when a menu opens.
            if (chord != Qt::NoModifier) guarded([this] { app_.Event_EnableMenuItems(); });
        } else if (const QString text = key->key() == Qt::Key_Escape ? QStringLiteral("\x1b") : key->text();
                   chord == Qt::NoModifier && isWindowKey(text) &&
                   (key->key() == Qt::Key_Escape || !takesText(QApplication::focusWidget()))) {
            // The window's keys act whichever control has the focus, unless text is being typed;
            // Escape, the stop key, acts even then.
            guarded([this, &text] { app_.Event_KeyDown(text); });
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindowView::closeEvent(QCloseEvent* event) {
    // Closing the main window ends the program, as quitting does.
    event->accept();
    qApp->quit();
}

}  // namespace velto
