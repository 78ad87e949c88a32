// The main window and its Preferences and About windows, offscreen: widgets follow the models,
// the user's actions reach the handlers, and the windows keep no state of their own.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSlider>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "gui/main_window_view.h"
#include "gui/qt_dialogs.h"
#include "support/rig.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {
template <class W>
W* find(QWidget& window, const QString& name) {
    W* w = window.findChild<W*>(name);
    EXPECT_NE(w, nullptr) << name.toStdString();
    return w;
}
}  // namespace

TEST(MainWindowView, WidgetsAndModelsFollowEachOtherBothWaysAndKeysActAnywhereButInText) {
    Rig rig;
    rig.connect();
    const auto orphans = [] {
        return std::ranges::count(QApplication::topLevelWidgets(), nullptr, &QWidget::parentWidget);
    };
    const auto before = orphans();
    auto view = std::make_unique<MainWindowView>(*rig);
    view->show();
    EXPECT_EQ(orphans(), before + 1);  // a widget left out of its layout would be a window
    EXPECT_EQ(view->windowTitle(), u"Velto Control/Server for OS X"_s);
    // The box moves: the reply moves the slider widget.
    rig.box().setLevelA(42);
    rig.advance(2500);
    auto* sliderA = find<QSlider>(*view, "channelA");
    EXPECT_EQ(sliderA->value(), 42);
    EXPECT_FALSE(sliderA->hasTracking());  // one command per move, on release
    // The user moves a slider and presses buttons: the handlers send the commands.
    auto* diagram = find<QLabel>(*view, "waveDiag");
    const QImage pulse = diagram->pixmap().toImage();
    const size_t mark = rig.serial.writes.size();
    find<QSlider>(*view, "channelB")->setValue(17);
    find<QPushButton>(*view, "Reset")->click();
    find<QComboBox>(*view, "ModeControl")->activated(5);
    EXPECT_EQ(rig.commandsSince(mark).filter(QRegularExpression("^[^V]")),
              QStringList({"B17", "E", "M5"}));
    EXPECT_NE(diagram->pixmap().toImage(), pulse);  // the picture follows the mode
    // Power buttons are one group, decided by the models.
    find<QRadioButton>(*view, "powerHi")->click();
    EXPECT_TRUE(rig->powerHi.value() && !find<QRadioButton>(*view, "powerLo")->isChecked());
    rig.advance(100);  // the box zeroes the outputs
    find<QTabWidget>(*view, "FavRand")->setCurrentIndex(2);
    EXPECT_EQ(rig->FavRand.value(), 2);
    find<QPushButton>(*view, "saveCurrent")->click();
    auto* table = find<QTableView>(*view, "favsList");
    ASSERT_EQ(table->model()->rowCount(), 1);
    EXPECT_TRUE(table->isColumnHidden(5) && !table->isColumnHidden(4));
    // The Seq column shows the third state as it is.
    rig->favsList.setCellState(0, 4, 2);
    EXPECT_EQ(table->model()->index(0, 4).data(Qt::CheckStateRole).toInt(), Qt::PartiallyChecked);
    table->selectRow(0);
    EXPECT_EQ(rig->favsList.listIndex(), 0);
    table->model()->setData(table->model()->index(0, 0), u"Renamed"_s, Qt::EditRole);
    EXPECT_EQ(rig->favsList.cell(0, 0), u"Renamed"_s);
    // Text fields and check boxes of the Random tab write their models.
    QTest::keyClicks(find<QLineEdit>(*view, "minDelay"), u"12"_s);
    EXPECT_EQ(rig->minDelay.text(), u"12"_s);
    find<QCheckBox>(*view, "delayBetween")->click();
    EXPECT_TRUE(rig->delayBetween.value());
    // Keys act whichever control has the focus, but not while typing.
    QApplication::setActiveWindow(view.get());
    auto* popup = find<QComboBox>(*view, "ModeControl");
    auto* field = find<QLineEdit>(*view, "adjustA");
    auto press = [&](QWidget* focus, auto key) {
        focus->setFocus();
        const size_t from = rig.serial.writes.size();
        QTest::keyClick(focus, key);
        rig.advance(1000);
        return rig.commandsSince(from).filter(QRegularExpression("^[^V]"));
    };
    EXPECT_EQ(press(table, '+'), QStringList{"A1"});
    EXPECT_EQ(press(popup, 'N'), QStringList{"M6"});
    EXPECT_EQ(popup->currentIndex(), 6);  // moved by the box's reply, not by the key
    // Typed text stays text; Escape is the stop key, even while typing.
    EXPECT_EQ(press(field, '+'), QStringList{});
    EXPECT_EQ(rig->adjustA.text(), u"+"_s);
    EXPECT_EQ(press(field, Qt::Key_Escape).value(0), u"K"_s);
    // A shortcut finds its item's enablement up to date, though no menu was opened.
    MenuBar& m = rig->MenuBar1;
    int pushed = 0;
    m.disconnect.action.connect([&pushed] { ++pushed; });
    rig->Event_EnableMenuItems();
    rig->veltoKey = u"KEY"_s;
    rig.connectSocket.peerConnects();
    rig.advance(1);
    ASSERT_FALSE(m.disconnect.enabled());
    table->setFocus();
    QTest::keyClick(table, Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(pushed, 1);
    // Menus: the Activity item shows the log window, and its close box ends logging.
    auto* activity = find<QAction>(*view, "activityToggle");
    EXPECT_EQ(activity->shortcut(), QKeySequence(u"Ctrl+0"_s));
    activity->trigger();
    auto* logWindow = view->findChild<QWidget*>(u"activityLog"_s);
    ASSERT_TRUE(logWindow && logWindow->isVisible());
    rig->resetAll();
    EXPECT_TRUE(find<QPlainTextEdit>(*logWindow, "log")
                    ->toPlainText()
                    .contains("Mode change: timers reset"));
    logWindow->close();
    EXPECT_FALSE(rig->serverLogging);
    // The window holds nothing of its own: a new one shows the same state.
    view.reset();
    MainWindowView again(*rig);
    again.show();
    EXPECT_EQ(find<QLineEdit>(again, "minDelay")->text(), u"12"_s);
    auto* table2 = find<QTableView>(again, "favsList");
    EXPECT_EQ(table2->model()->index(0, 0).data().toString(), u"Renamed"_s);
    EXPECT_TRUE(table2->selectionModel()->isRowSelected(0, {}));
}

TEST(MainWindowView, FileDialogsShowTheirPrompt) {
    const QString prompt = u"Select a favourites file (.qvf) to load"_s;
    QString shown;
    QTimer::singleShot(0, [&shown] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        if (auto* label = dialog->findChild<QLabel*>(u"prompt"_s)) shown = label->text();
        dialog->close();
    });
    QtDialogs dialogs;
    EXPECT_FALSE(dialogs.openFile({u"Load"_s, prompt, QDir::tempPath(), {}, u"(*.qvf)"_s}));
    EXPECT_EQ(shown, prompt);
}

TEST(ChildWindowViews, PreferencesAndAboutComeWithTheirMenuItemsAndReachTheHandlers) {
    Rig rig;
    RecordingBrowser browser;
    rig.platform->browser = &browser;
    rig->remotePort = 7900;
    MainWindowView main(*rig);
    main.show();
    // Preferences: the menu item shows it, and its activation fills the fields.
    QWidget* prefs = find<QWidget>(main, "prefsWindow");
    auto* portNumber = find<QLineEdit>(*prefs, "portNumber");
    int closes = 0;
    rig->prefsWindow.window.closed.connect([&closes] { ++closes; });
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(prefs));
    EXPECT_EQ(portNumber->text(), u"7900"_s);
    // Widgets to models; Done takes the fields over and closes the window once.
    portNumber->selectAll();
    QTest::keyClicks(portNumber, u"8001"_s);
    find<QRadioButton>(*prefs, "modeSlave")->click();
    find<QPushButton>(*prefs, "settingsDone")->click();
    EXPECT_FALSE(prefs->isVisible());
    EXPECT_EQ(closes, 1);
    EXPECT_TRUE(rig->remotePort == 8001 && rig->systemMode == u"slave"_s);
    // The close box: the Close event once, and the model's window closes too.
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(prefs));
    prefs->close();
    EXPECT_EQ(closes, 2);
    // Return in a window's field presses its button.
    const std::pair<const char*, PushButton*> returns[] = {
        {"msgReply", &rig->msgWindow.sendReply}, {"connectKey", &rig->connectWindow.connectButton}};
    int pushes = 0;
    for (const auto& [field, button] : returns) {
        button->action.connect([&pushes] { ++pushes; });
        QTest::keyClick(find<QLineEdit>(main, field), Qt::Key_Return);
        EXPECT_EQ(std::exchange(pushes, 0), 1) << field;
    }
    // About: its texts and the built-in picture; the link and the buttons open their pages.
    QWidget* about = find<QWidget>(main, "aboutQTR");
    rig->MenuBar1.aboutMenu.push();
    EXPECT_TRUE(about->isVisible());
    EXPECT_EQ(find<QLabel>(*about, "buildInfo")->text(), u"Build: 260 (OS X)"_s);
    EXPECT_FALSE(find<QLabel>(*about, "Canvas1")->pixmap().isNull());
    QTest::mouseClick(find<QLabel>(*about, "changelog"), Qt::LeftButton);
    find<QPushButton>(*about, "docsButton")->click();
    EXPECT_EQ(browser.opened, (QStringList{QString::fromLatin1(MainApp::kChangesUrl),
                                           QString::fromLatin1(MainApp::kDocsUrl)}));
    // The close box closes the model's window, so the menu item can show it again.
    about->close();
    rig->MenuBar1.aboutMenu.push();
    EXPECT_TRUE(about->isVisible());
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}
