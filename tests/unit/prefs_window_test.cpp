// The Preferences window: activation and Done against the close box, the mode buttons, the
// writer of "veltoprefs.ini" against its reader, the all-or-nothing save and the port scan.

#include <gtest/gtest.h>

#include <QFile>

#include "platform/qt/qt_serial_port.h"
#include "support/rig.h"

using namespace velto;

namespace {
const QString kPrefs = QStringLiteral("veltoprefs.ini");
}  // namespace

TEST(PrefsWindow, WhatIsReadIsShownAndDoneWritesItBackLineForLine) {
    Rig rig;
    MainApp::PrefsWindow& w = rig->prefsWindow;
    const QString file =
        QStringLiteral(
            "serial=/dev/ttyUSB0\nport=7901\nhost=127.0.0.4\ntimeout=120\nmode=master\n"
            "brokerid=me@velto.example\nbrokerpin=1234\nbrokerprofile=Hello world\n"
            "usebroker=true\nhttp=false\nautoadjust=false\nbrokerauto=peer\n"
            "brokeraccept=ann\nbrokeraccept=bob\nbrokerreject=eve\nbrokerreject=mallory\n"
            "evolink=true\nevocam=Cam 1\nerrorcorrection=true\nfavsfile=") +
        rig.prefPath(QStringLiteral("mine.qvf")) + QStringLiteral("\nwebpage=true");
    rig.writePref(kPrefs, file);
    rig.open();
    w.window.activate();
    EXPECT_TRUE(w.modeMaster.value() && !w.modeSolo.value() && !w.modeSlave.value());
    QFile::remove(rig.prefPath(kPrefs));
    w.settingsDone.push();
    EXPECT_FALSE(w.window.visible());
    EXPECT_EQ(readText(rig.prefPath(kPrefs)), file);
    // No peer of its own, no page: no such lines. A mode that is no mode leaves the buttons alone.
    rig->brokerauto.clear();
    rig->webpage = false;
    rig->systemMode = QStringLiteral("relay");
    w.window.activate();
    EXPECT_TRUE(w.modeMaster.value());
    w.window.close();
    const QString again = readText(rig.prefPath(kPrefs));
    EXPECT_FALSE(again.contains(QStringLiteral("brokerauto")) ||
                 again.contains(QStringLiteral("webpage")));
}

TEST(PrefsWindow, ModeButtonsAndTheCloseBoxWhichKeepsThePortNameButNotTheTypedFields) {
    Rig rig;
    MainApp& app = *rig;
    MainApp::PrefsWindow& w = app.prefsWindow;
    // The mode buttons set the mode; only solo and master stop the idle timer, and nothing
    // connects until Connect.
    for (RadioButton* button : {&w.modeSlave, &w.modeMaster, &w.modeSolo}) {
        app.slaveIdle.setMode(Timer::Multiple);
        button->setValue(true);
        EXPECT_EQ(app.systemMode, button->caption().toLower());
        EXPECT_EQ(app.slaveIdle.mode(), button == &w.modeSlave ? Timer::Multiple : Timer::Off);
    }
    EXPECT_EQ(rig.remoteControl.connects + rig.remoteControl.listens, 0);
    w.window.activate();
    w.portNumber.setText(QStringLiteral("8000"));
    w.timeoutPref.setText(QStringLiteral("soon"));
    w.portName.setText(QStringLiteral("/dev/ttyACM0"));
    w.httpMode.setValue(true);
    w.window.close();
    EXPECT_EQ(app.remotePort, 7846);
    EXPECT_EQ(app.slaveTimeout, 600);
    EXPECT_TRUE(app.httpSlave && app.serialPortName == QStringLiteral("/dev/ttyACM0"));
    // The next activation puts the stored value back in the field.
    w.window.activate();
    EXPECT_EQ(w.portNumber.text(), QStringLiteral("7846"));
    // Done takes the fields: a time-out that is no number is 0; a ticked HTTP box leaves the
    // reply mode alone, an unticked one ends both.
    app.httpResponse = true;
    w.portNumber.setText(QStringLiteral("8000"));
    w.timeoutPref.setText(QStringLiteral("soon"));
    w.settingsDone.push();
    EXPECT_EQ(app.remotePort, 8000);
    EXPECT_EQ(app.slaveTimeout, 0);
    EXPECT_TRUE(app.httpSlave && app.httpResponse);
    w.httpMode.setValue(false);
    w.settingsDone.push();
    EXPECT_FALSE(app.httpSlave || app.httpResponse);
}

TEST(PrefsWindow, NoFolderIsAFailureOnceTheFieldsAreTakenOver) {
    Rig rig(false);
    rig->prefsWindow.portName.setText(QStringLiteral("/dev/ttyUSB5"));
    rig->prefsWindow.settingsDone.push();
    EXPECT_EQ(rig->serialPortName, QStringLiteral("/dev/ttyUSB5"));
    ASSERT_EQ(rig.boundary.reports().size(), 1);
    EXPECT_TRUE(rig.boundary.reports()[0].contains(QStringLiteral("NilObjectException")));
}

TEST(PrefsWindow, AutoDetectFindsUsbSerialPorts) {
    Rig rig;
    MainApp::PrefsWindow& w = rig->prefsWindow;
    // Any case of the name; the last one wins.
    rig.serialPorts.names = {QStringLiteral("usbserial-A1"), QStringLiteral("ttyS0"),
                             QStringLiteral("USBSerial-B2")};
    w.portAutoDetect.push();
    EXPECT_EQ(w.portName.text(), QStringLiteral("/dev/tty.USBSerial-B2"));
    EXPECT_EQ(w.portsInfo.text(), QStringLiteral("Found: usbserial-A1, USBSerial-B2"));
    // Linux's USB adapters, by their full path; a built-in port or a look-alike is not one.
    rig.serialPorts.names = {QStringLiteral("ttyUSB0"), QStringLiteral("ttyS1"),
                             QStringLiteral("ttyACM1"), QStringLiteral("xttyUSB9")};
    w.portAutoDetect.push();
    EXPECT_EQ(w.portName.text(), QStringLiteral("/dev/ttyACM1"));
    EXPECT_EQ(w.portsInfo.text(), QStringLiteral("Found: ttyUSB0, ttyACM1"));
    // The Qt list: macOS's call-out and dial-in names of one device are one port.
    EXPECT_EQ(
        QtSerialPortList::listed({QStringLiteral("cu.usbserial-A1"),
                                  QStringLiteral("tty.usbserial-A1"), QStringLiteral("ttyUSB0")}),
        QStringList({"usbserial-A1", "ttyUSB0"}));
}
