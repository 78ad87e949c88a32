// The Preferences window: activation and Done against the close box, the mode buttons, the
// writer of "veltoprefs.ini" against its reader, the all-or-nothing save and the port scan.

#include <gtest/gtest.h>

#include <QFile>

#include "platform/qt/qt_serial_port.h"
#include "support/rig.h"

using namespace velto;
using namespace Qt::StringLiterals;

namespace {
const QString kPrefs = u"veltoprefs.ini"_s;
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
        rig.prefPath(u"mine.qvf"_s) + u"\nwebpage=true"_s;
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
    rig->systemMode = u"relay"_s;
    w.window.activate();
    EXPECT_TRUE(w.modeMaster.value());
    w.window.close();
    const QString again = readText(rig.prefPath(kPrefs));
    EXPECT_FALSE(again.contains(u"brokerauto"_s) || again.contains(u"webpage"_s));
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
    w.portNumber.setText(u"8000"_s);
    w.timeoutPref.setText(u"soon"_s);
    w.portName.setText(u"/dev/ttyACM0"_s);
    w.httpMode.setValue(true);
    w.window.close();
    EXPECT_EQ(app.remotePort, 7846);
    EXPECT_EQ(app.slaveTimeout, 600);
    EXPECT_TRUE(app.httpSlave && app.serialPortName == u"/dev/ttyACM0"_s);
    // The next activation puts the stored value back in the field.
    w.window.activate();
    EXPECT_EQ(w.portNumber.text(), u"7846"_s);
    // Done takes the fields: a time-out that is no number is 0; a ticked HTTP box leaves the
    // reply mode alone, an unticked one ends both.
    app.httpResponse = true;
    w.portNumber.setText(u"8000"_s);
    w.timeoutPref.setText(u"soon"_s);
    w.settingsDone.push();
    EXPECT_EQ(app.remotePort, 8000);
    EXPECT_EQ(app.slaveTimeout, 0);
    EXPECT_TRUE(app.httpSlave && app.httpResponse);
    w.httpMode.setValue(false);
    w.settingsDone.push();
    EXPECT_FALSE(app.httpSlave || app.httpResponse);
}

TEST(PrefsWindow, AutoDetectFindsUsbSerialPortsAndDoneWithNoFolderFailsOnceTheFieldsAreTaken) {
    Rig rig(false);
    MainApp::PrefsWindow& w = rig->prefsWindow;
    // Any case of the name; the last one wins.
    rig.serialPorts.names = {u"usbserial-A1"_s, u"ttyS0"_s, u"USBSerial-B2"_s};
    w.portAutoDetect.push();
    EXPECT_EQ(w.portName.text(), u"/dev/tty.USBSerial-B2"_s);
    EXPECT_EQ(w.portsInfo.text(), u"Found: usbserial-A1, USBSerial-B2"_s);
    // Linux's USB adapters, by their full path; a built-in port or a look-alike is not one.
    rig.serialPorts.names = {u"ttyUSB0"_s, u"ttyS1"_s, u"ttyACM1"_s, u"xttyUSB9"_s};
    w.portAutoDetect.push();
    EXPECT_EQ(w.portName.text(), u"/dev/ttyACM1"_s);
    EXPECT_EQ(w.portsInfo.text(), u"Found: ttyUSB0, ttyACM1"_s);
    // The Qt list: macOS's call-out and dial-in names of one device are one port.
    EXPECT_EQ(QtSerialPortList::listed({u"cu.usbserial-A1"_s, u"tty.usbserial-A1"_s, u"ttyUSB0"_s}),
              QStringList({"usbserial-A1", "ttyUSB0"}));
    // With no Preferences folder, Done takes the fields over and then fails.
    w.settingsDone.push();
    EXPECT_EQ(rig->serialPortName, u"/dev/ttyACM1"_s);
    ASSERT_EQ(rig.boundary.reports().size(), 1);
    EXPECT_TRUE(rig.boundary.reports()[0].contains(u"NilObjectException"_s));
}
