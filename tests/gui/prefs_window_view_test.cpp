// The Preferences window on the offscreen platform: it comes with the menu item, fills itself
// when activated, its widgets and models follow each other, and Done and the close box each
// reach the window's Close event once.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include "gui/main_window_view.h"
#include "support/rig.h"

using namespace velto;

TEST(PrefsWindowView, FollowsItsModelsAndReachesTheHandlers) {
    Rig rig;
    rig->remotePort = 7900;
    MainWindowView main(*rig);
    main.show();
    QWidget* view = main.findChild<QWidget*>(QStringLiteral("prefsWindow"));
    ASSERT_NE(view, nullptr);
    auto* portNumber = view->findChild<QLineEdit*>(QStringLiteral("portNumber"));
    auto* comPorts = view->findChild<QWidget*>(QStringLiteral("comPorts"));
    ASSERT_TRUE(portNumber && comPorts);
    int closes = 0;
    rig->prefsWindow.window.closed.connect([&closes] { ++closes; });
    auto retype = [portNumber](const QString& text) {
        portNumber->selectAll();
        QTest::keyClicks(portNumber, text);
    };
    // The menu item shows it; its activation fills the fields.
    EXPECT_FALSE(view->isVisible());
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    EXPECT_EQ(portNumber->text(), QStringLiteral("7900"));
    EXPECT_FALSE(comPorts->isVisible());
    // Widgets to models.
    retype(QStringLiteral("8001"));
    EXPECT_EQ(rig->prefsWindow.portNumber.text(), QStringLiteral("8001"));
    view->findChild<QRadioButton*>(QStringLiteral("modeSlave"))->click();
    EXPECT_EQ(rig->systemMode, QStringLiteral("slave"));
    view->findChild<QCheckBox*>(QStringLiteral("useBroker"))->click();
    EXPECT_TRUE(rig->prefsWindow.useBroker.value());
    // Done takes the fields over and closes the window once.
    view->findChild<QPushButton*>(QStringLiteral("settingsDone"))->click();
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(rig->remotePort, 8001);
    EXPECT_TRUE(rig->useBroker);
    // The close box: the Close event once, and the typed port number is dropped.
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    retype(QStringLiteral("9000"));
    view->close();
    EXPECT_FALSE(view->isVisible() || rig->prefsWindow.window.visible());
    EXPECT_EQ(closes, 2);
    EXPECT_EQ(rig->remotePort, 8001);
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}
