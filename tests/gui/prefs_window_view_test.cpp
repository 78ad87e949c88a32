// The Preferences window on the offscreen platform: it comes with the menu item, fills itself
// when activated, its widgets reach the models, and Done and the close box each reach the
// window's Close event once.

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
    ASSERT_NE(portNumber, nullptr);
    int closes = 0;
    rig->prefsWindow.window.closed.connect([&closes] { ++closes; });
    // The menu item shows it; its activation fills the fields.
    EXPECT_FALSE(view->isVisible());
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    EXPECT_EQ(portNumber->text(), QStringLiteral("7900"));
    // Widgets to models; Done takes the fields over and closes the window once.
    portNumber->selectAll();
    QTest::keyClicks(portNumber, QStringLiteral("8001"));
    view->findChild<QRadioButton*>(QStringLiteral("modeSlave"))->click();
    EXPECT_EQ(rig->systemMode, QStringLiteral("slave"));
    view->findChild<QCheckBox*>(QStringLiteral("useBroker"))->click();
    view->findChild<QPushButton*>(QStringLiteral("settingsDone"))->click();
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(closes, 1);
    EXPECT_TRUE(rig->remotePort == 8001 && rig->useBroker);
    // The close box: the Close event once, and the model's window closes too.
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    view->close();
    EXPECT_FALSE(rig->prefsWindow.window.visible());
    EXPECT_EQ(closes, 2);
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}
