// The Preferences window on the offscreen platform: it comes with the menu item, fills itself
// when activated, its widgets and models follow each other, and Done and the close box each
// reach the window's Close event once.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>

#include "gui/main_window_view.h"
#include "support/rig.h"

using namespace velto;

namespace {
template <class W>
W* find(QWidget& window, const QString& name) {
    W* w = window.findChild<W*>(name);
    EXPECT_NE(w, nullptr) << name.toStdString();
    return w;
}

/// Replaces a field's text as a user does: select all, type.
void retype(QLineEdit* field, const QString& text) {
    field->selectAll();
    QTest::keyClicks(field, text);
}
}  // namespace

TEST(PrefsWindowView, FollowsItsModelsAndReachesTheHandlers) {
    Rig rig;
    rig->remotePort = 7900;
    rig->systemMode = QStringLiteral("master");
    MainWindowView main(*rig);
    main.show();
    auto* view = find<QWidget>(main, QStringLiteral("prefsWindow"));
    ASSERT_NE(view, nullptr);
    EXPECT_FALSE(view->isVisible());
    int closes = 0;
    rig->prefsWindow.window.closed.connect([&closes] { ++closes; });

    // The menu item shows it; its activation fills the fields.
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    EXPECT_EQ(view->windowTitle(), QStringLiteral("Preferences"));
    auto* portNumber = find<QLineEdit>(*view, QStringLiteral("portNumber"));
    EXPECT_EQ(portNumber->text(), QStringLiteral("7900"));
    EXPECT_TRUE(find<QRadioButton>(*view, QStringLiteral("modeMaster"))->isChecked());
    EXPECT_FALSE(find<QWidget>(*view, QStringLiteral("comPorts"))->isVisible());
    EXPECT_TRUE(find<QCheckBox>(*view, QStringLiteral("evoCamLink"))
                    ->toolTip()
                    .startsWith(QStringLiteral("Tick to enable HTTP (web) control mode.")));

    // Models to widgets.
    rig.serialPorts.names = {QStringLiteral("ttyUSB0")};
    find<QPushButton>(*view, QStringLiteral("portAutoDetect"))->click();
    EXPECT_EQ(find<QLabel>(*view, QStringLiteral("portsInfo"))->text(),
              QStringLiteral("Found: ttyUSB0"));
    EXPECT_EQ(find<QLineEdit>(*view, QStringLiteral("portName"))->text(),
              QStringLiteral("/dev/ttyUSB0"));
    auto* tabs = find<QTabWidget>(*view, QStringLiteral("brokerOpts"));
    rig->prefsWindow.brokerOpts.setValue(1);
    EXPECT_EQ(tabs->currentIndex(), 1);

    // Widgets to models: a typed port, a clicked mode and box, a tab.
    retype(portNumber, QStringLiteral("8001"));
    EXPECT_EQ(rig->prefsWindow.portNumber.text(), QStringLiteral("8001"));
    find<QRadioButton>(*view, QStringLiteral("modeSlave"))->click();
    EXPECT_EQ(rig->systemMode, QStringLiteral("slave"));
    EXPECT_FALSE(rig->prefsWindow.modeMaster.value());
    find<QCheckBox>(*view, QStringLiteral("useBroker"))->click();
    EXPECT_TRUE(rig->prefsWindow.useBroker.value());
    tabs->setCurrentIndex(0);
    EXPECT_EQ(rig->prefsWindow.brokerOpts.value(), 0);

    // Done: the fields are taken over, the window goes and the file is written.
    find<QPushButton>(*view, QStringLiteral("settingsDone"))->click();
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(rig->remotePort, 8001);
    EXPECT_EQ(rig->serialPortName, QStringLiteral("/dev/ttyUSB0"));
    EXPECT_TRUE(rig->useBroker);
    EXPECT_TRUE(QFile::exists(rig.prefPath(QStringLiteral("veltoprefs.ini"))));

    // The close box: the Close event once, and a typed port number is dropped.
    rig->MenuBar1.prefsMenu.push();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    EXPECT_EQ(portNumber->text(), QStringLiteral("8001"));
    retype(portNumber, QStringLiteral("9000"));
    view->close();
    EXPECT_FALSE(view->isVisible());
    EXPECT_FALSE(rig->prefsWindow.window.visible());
    EXPECT_EQ(closes, 2);
    EXPECT_EQ(rig->remotePort, 8001);
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}
