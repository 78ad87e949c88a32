// The About window on the offscreen platform: it follows its model's window, shows the texts,
// and its link and buttons reach the handlers.

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "gui/main_window_view.h"
#include "support/rig.h"

using namespace velto;

TEST(AboutView, ShowsWithItsModelAndItsLinksOpenPages) {
    Rig rig;
    RecordingBrowser browser;
    rig.platform->browser = &browser;
    MainWindowView main(*rig);
    auto* about = main.findChild<QWidget*>(QStringLiteral("aboutQTR"));
    ASSERT_NE(about, nullptr);
    EXPECT_FALSE(about->isVisible());
    rig->MenuBar1.aboutMenu.push();
    EXPECT_TRUE(about->isVisible());
    EXPECT_EQ(about->windowTitle(), QStringLiteral("About this app"));
    EXPECT_EQ(about->findChild<QLabel*>(QStringLiteral("buildInfo"))->text(),
              QStringLiteral("Build: 260 (OS X)"));
    // The picture comes from the built-in resources.
    EXPECT_FALSE(about->findChild<QLabel*>(QStringLiteral("Canvas1"))->pixmap().isNull());
    QTest::mouseClick(about->findChild<QLabel*>(QStringLiteral("changelog")), Qt::LeftButton);
    about->findChild<QPushButton*>(QStringLiteral("docsButton"))->click();
    about->findChild<QPushButton*>(QStringLiteral("aboutVBbutton"))->click();
    EXPECT_EQ(browser.opened, (QStringList{QString::fromLatin1(MainApp::kChangesUrl),
                                           QString::fromLatin1(MainApp::kDocsUrl),
                                           QString::fromLatin1(MainApp::kServiceAboutUrl)}));
    // The close box closes the model's window, so the menu item can show it again.
    about->close();
    EXPECT_FALSE(rig->aboutQTR.window.visible());
    rig->MenuBar1.aboutMenu.push();
    EXPECT_TRUE(about->isVisible());
}
