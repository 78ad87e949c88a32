// The Preferences window: filled at activation, Done against the close box, the mode buttons,
// the writer of "veltoprefs.ini" against its reader, the all-or-nothing save and the port scan.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#ifdef Q_OS_UNIX
#include <sys/resource.h>

#include <csignal>
#endif

#include "platform/qt/qt_serial_port.h"
#include "support/rig.h"

using namespace velto;

namespace {

const QString kPrefs = QStringLiteral("veltoprefs.ini");

QString readText(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return QStringLiteral("<missing>");
    return QString::fromUtf8(file.readAll());
}

QStringList filesIn(const Rig& rig) {
    return QDir(rig.prefsDir.path()).entryList(QDir::Files);
}

}  // namespace

TEST(PrefsWindow, ActivationShowsThePropertiesAndDropsTypedText) {
    Rig rig;
    MainApp& app = *rig;
    MainApp::PrefsWindow& w = app.prefsWindow;
    w.modeSolo.setValue(true);
    app.systemMode = QStringLiteral("SLAVE");
    app.slaveTimeout = 45;
    app.remotePort = 7900;
    app.remoteHostname = QStringLiteral("127.0.0.7");
    app.serialPortName = QStringLiteral("/dev/ttyUSB2");
    app.httpSlave = true;
    app.autoAdjust = false;
    app.brokerID = QStringLiteral("me@velto.example");
    app.brokerPIN = QStringLiteral("4321");
    app.useBroker = true;
    app.updateEvocam = true;
    app.evoCamName = QStringLiteral("Cam 2");
    app.checkResponses = true;
    w.portName.setVisible(false);
    w.comPorts.setVisible(true);

    w.window.activate();
    EXPECT_FALSE(w.modeSolo.value());
    EXPECT_FALSE(w.modeMaster.value());
    EXPECT_TRUE(w.modeSlave.value());
    EXPECT_EQ(w.timeoutPref.text(), QStringLiteral("45"));
    EXPECT_EQ(w.portNumber.text(), QStringLiteral("7900"));
    EXPECT_EQ(w.remoteHost.text(), QStringLiteral("127.0.0.7"));
    EXPECT_EQ(w.portName.text(), QStringLiteral("/dev/ttyUSB2"));
    EXPECT_TRUE(w.httpMode.value());
    EXPECT_FALSE(w.autoAdjustMove.value());
    EXPECT_EQ(w.brokerID.text(), QStringLiteral("me@velto.example"));
    EXPECT_EQ(w.brokerPIN.text(), QStringLiteral("4321"));
    EXPECT_TRUE(w.useBroker.value());
    EXPECT_TRUE(w.evoCamLink.value());
    EXPECT_EQ(w.evoCamName.text(), QStringLiteral("Cam 2"));
    EXPECT_TRUE(w.errorCorrect.value());
    EXPECT_TRUE(w.portName.visible());
    EXPECT_FALSE(w.comPorts.visible());
    // The button's Action ran as for a click, and wrote the mode in its own spelling.
    EXPECT_EQ(app.systemMode, QStringLiteral("slave"));

    // Typed but not taken over: the next activation puts the stored values back.
    w.portNumber.setText(QStringLiteral("8000"));
    w.brokerPIN.setText(QStringLiteral("0000"));
    w.errorCorrect.setValue(false);
    w.window.activate();
    EXPECT_EQ(w.portNumber.text(), QStringLiteral("7900"));
    EXPECT_EQ(w.brokerPIN.text(), QStringLiteral("4321"));
    EXPECT_TRUE(w.errorCorrect.value());

    // A mode that is no mode leaves the buttons as they were.
    app.systemMode = QStringLiteral("relay");
    w.window.activate();
    EXPECT_TRUE(w.modeSlave.value());
    EXPECT_EQ(app.systemMode, QStringLiteral("relay"));
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}

TEST(PrefsWindow, DoneTakesTheFieldsTheCloseBoxKeepsOnlyThePortNameAndTheBoxes) {
    Rig rig;
    MainApp& app = *rig;
    MainApp::PrefsWindow& w = app.prefsWindow;
    app.MenuBar1.prefsMenu.push();
    EXPECT_TRUE(w.window.visible());
    w.window.activate();

    // The close box: the port number, time-out, host and login are lost.
    w.portNumber.setText(QStringLiteral("8000"));
    w.timeoutPref.setText(QStringLiteral("30"));
    w.remoteHost.setText(QStringLiteral("127.0.0.3"));
    w.brokerID.setText(QStringLiteral("someone"));
    w.portName.setText(QStringLiteral("/dev/ttyACM0"));
    w.autoAdjustMove.setValue(false);
    w.httpMode.setValue(true);
    w.evoCamLink.setValue(true);
    w.evoCamName.setText(QStringLiteral("Cam"));
    w.window.close();
    EXPECT_FALSE(w.window.visible());
    EXPECT_EQ(app.remotePort, 7846);
    EXPECT_EQ(app.slaveTimeout, 600);
    EXPECT_TRUE(app.remoteHostname.isEmpty());
    EXPECT_TRUE(app.brokerID.isEmpty());
    EXPECT_EQ(app.serialPortName, QStringLiteral("/dev/ttyACM0"));
    EXPECT_FALSE(app.autoAdjust);
    EXPECT_TRUE(app.httpSlave);
    EXPECT_TRUE(app.updateEvocam);
    EXPECT_EQ(app.evoCamName, QStringLiteral("Cam"));
    const QString closed = readText(rig.prefPath(kPrefs));
    EXPECT_TRUE(
        closed.startsWith(QStringLiteral("serial=/dev/ttyACM0\nport=7846\nhost=\ntimeout=600\n")))
        << closed.toStdString();

    // Done: every field; a time-out that is no number is 0.
    app.httpResponse = true;
    w.window.show();
    w.window.activate();
    w.portNumber.setText(QStringLiteral("8000"));
    w.timeoutPref.setText(QStringLiteral("soon"));
    w.remoteHost.setText(QStringLiteral("127.0.0.3"));
    w.brokerID.setText(QStringLiteral("someone"));
    w.brokerPIN.setText(QStringLiteral("99"));
    w.useBroker.setValue(true);
    w.errorCorrect.setValue(true);
    w.settingsDone.push();
    EXPECT_FALSE(w.window.visible());
    EXPECT_EQ(app.remotePort, 8000);
    EXPECT_EQ(app.slaveTimeout, 0);
    EXPECT_EQ(app.remoteHostname, QStringLiteral("127.0.0.3"));
    EXPECT_EQ(app.brokerID, QStringLiteral("someone"));
    EXPECT_EQ(app.brokerPIN, QStringLiteral("99"));
    EXPECT_TRUE(app.useBroker);
    EXPECT_TRUE(app.checkResponses);
    EXPECT_TRUE(app.httpSlave &&
                app.httpResponse);  // a ticked HTTP box leaves the reply mode alone
    EXPECT_TRUE(readText(rig.prefPath(kPrefs))
                    .contains(QStringLiteral("\nport=8000\nhost=127.0.0.3\ntimeout=0\n")));

    // An unticked HTTP box ends HTTP mode and its reply mode.
    w.window.activate();
    w.httpMode.setValue(false);
    w.settingsDone.push();
    EXPECT_FALSE(app.httpSlave);
    EXPECT_FALSE(app.httpResponse);
    EXPECT_TRUE(rig.boundary.reports().isEmpty());

    // The broker's advanced options are a window still to come.
    w.brokerOptionsButton.push();
    EXPECT_EQ(rig.dialogs.messages,
              QStringList{QStringLiteral(
                  "The VeltoBroker options window is not available yet in this version.")});
}

TEST(PrefsWindow, ModeButtonsSetTheModeAndOnlySoloAndMasterStopTheIdleTimer) {
    Rig rig;
    MainApp& app = *rig;
    MainApp::PrefsWindow& w = app.prefsWindow;
    app.slaveIdle.setMode(Timer::Multiple);
    w.modeSlave.setValue(true);
    EXPECT_EQ(app.systemMode, QStringLiteral("slave"));
    EXPECT_EQ(app.slaveIdle.mode(), Timer::Multiple);
    w.modeSlave.setValue(false);
    w.modeMaster.setValue(true);
    EXPECT_EQ(app.systemMode, QStringLiteral("master"));
    EXPECT_EQ(app.slaveIdle.mode(), Timer::Off);
    app.slaveIdle.setMode(Timer::Multiple);
    w.modeMaster.setValue(false);
    w.modeSolo.setValue(true);
    EXPECT_EQ(app.systemMode, QStringLiteral("solo"));
    EXPECT_EQ(app.slaveIdle.mode(), Timer::Off);
    // No Connect yet: the network is untouched.
    EXPECT_EQ(rig.remoteControl.connects + rig.remoteControl.listens, 0);
}

TEST(PrefsWindow, TheFileIsWrittenLineByLineAndReadsBack) {
    Rig rig;
    MainApp& app = *rig;
    MainApp::PrefsWindow& w = app.prefsWindow;
    app.serialPortName = QStringLiteral("/dev/ttyUSB0");
    app.remotePort = 7901;
    app.remoteHostname = QStringLiteral("127.0.0.4");
    app.slaveTimeout = 120;
    app.systemMode = QStringLiteral("master");
    app.brokerID = QStringLiteral("me@velto.example");
    app.brokerPIN = QStringLiteral("12=34");
    app.brokerProfile = QStringLiteral("Hello = world");
    app.useBroker = true;
    app.httpSlave = true;
    app.autoAdjust = false;
    app.brokerauto = QStringLiteral("peer");
    app.brokerAccept = {QStringLiteral("ann"), QStringLiteral("bob")};
    app.brokerReject = {QStringLiteral("eve"), QStringLiteral("mallory")};
    app.updateEvocam = true;
    app.evoCamName = QStringLiteral("Cam 1");
    app.checkResponses = true;
    const QString favs = rig.prefPath(QStringLiteral("mine.qvf"));
    app.App.favsName = favs;
    w.window.activate();
    w.window.close();
    EXPECT_EQ(readText(rig.prefPath(kPrefs)), QStringLiteral("serial=/dev/ttyUSB0\n"
                                                             "port=7901\n"
                                                             "host=127.0.0.4\n"
                                                             "timeout=120\n"
                                                             "mode=master\n"
                                                             "brokerid=me@velto.example\n"
                                                             "brokerpin=12=34\n"
                                                             "brokerprofile=Hello = world\n"
                                                             "usebroker=true\n"
                                                             "http=true\n"
                                                             "autoadjust=false\n"
                                                             "brokerauto=peer\n"
                                                             "brokeraccept=ann\n"
                                                             "brokeraccept=bob\n"
                                                             "brokerreject=eve\n"
                                                             "brokerreject=mallory\n"
                                                             "evolink=true\n"
                                                             "evocam=Cam 1\n"
                                                             "errorcorrection=true\n"
                                                             "favsfile=") +
                                                  favs);
    EXPECT_EQ(filesIn(rig), QStringList{kPrefs});

    // The reader gets it all back, but for a value's tail after a second "=".
    Rig next;
    QFile::remove(next.prefPath(kPrefs));
    QFile::copy(rig.prefPath(kPrefs), next.prefPath(kPrefs));
    next.open();
    const MainApp& b = *next;
    EXPECT_EQ(b.serialPortName, app.serialPortName);
    EXPECT_EQ(b.remotePort, 7901);
    EXPECT_EQ(b.remoteHostname, app.remoteHostname);
    EXPECT_EQ(b.slaveTimeout, 120);
    EXPECT_EQ(b.systemMode, app.systemMode);
    EXPECT_EQ(b.brokerID, app.brokerID);
    EXPECT_EQ(b.brokerPIN, QStringLiteral("12"));
    EXPECT_EQ(b.brokerProfile, QStringLiteral("Hello "));
    EXPECT_TRUE(b.useBroker && b.httpSlave && b.updateEvocam && b.checkResponses);
    EXPECT_FALSE(b.autoAdjust);
    EXPECT_EQ(b.brokerauto, app.brokerauto);
    EXPECT_EQ(b.brokerAccept, app.brokerAccept);
    EXPECT_EQ(b.brokerReject, app.brokerReject);
    EXPECT_EQ(b.evoCamName, app.evoCamName);
    EXPECT_EQ(b.App.favsName, app.App.favsName);

    // Unticked boxes, no peer of its own, no lists; the EvoCam fields are taken over from the
    // window as the file is written.
    app.brokerauto.clear();
    app.brokerAccept.clear();
    app.brokerReject.clear();
    w.useBroker.setValue(false);
    w.httpMode.setValue(false);
    w.evoCamLink.setValue(false);
    w.errorCorrect.setValue(false);
    w.evoCamName.setText(QStringLiteral("Cam 9"));
    w.window.close();
    EXPECT_EQ(readText(rig.prefPath(kPrefs)).section(QStringLiteral("brokerprofile="), 1),
              QStringLiteral("Hello = world\n"
                             "usebroker=false\n"
                             "http=false\n"
                             "autoadjust=false\n"
                             "evolink=false\n"
                             "evocam=Cam 9\n"
                             "errorcorrection=false\n"
                             "favsfile=") +
                  favs);
    EXPECT_FALSE(app.updateEvocam);
    EXPECT_EQ(app.evoCamName, QStringLiteral("Cam 9"));
}

TEST(PrefsWindow, AFailedSaveLeavesTheOldFileAndNoFolderIsAFailure) {
    const QString old = QStringLiteral("mode=slave\nport=7000\n");
    {  // No Preferences folder: the close takes over the boxes, then fails through the boundary.
        Rig rig(false);
        rig->prefsWindow.portName.setText(QStringLiteral("/dev/ttyUSB5"));
        rig->prefsWindow.settingsDone.push();
        EXPECT_EQ(rig->serialPortName, QStringLiteral("/dev/ttyUSB5"));
        ASSERT_EQ(rig.boundary.reports().size(), 1);
        EXPECT_TRUE(rig.boundary.reports()[0].contains(QStringLiteral("NilObjectException")));
    }
    {  // A folder that is a file: nothing is made, nothing is said.
        Rig rig;
        rig.writePref(QStringLiteral("notafolder"), old);
        rig.platform->preferences = Preferences(rig.prefPath(QStringLiteral("notafolder")));
        rig->prefsWindow.evoCamName.setText(QStringLiteral("Cam"));
        rig->prefsWindow.window.close();
        EXPECT_TRUE(rig.boundary.reports().isEmpty());
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
        EXPECT_EQ(readText(rig.prefPath(QStringLiteral("notafolder"))), old);
        EXPECT_TRUE(rig->evoCamName.isEmpty());  // the file was never begun
    }
#ifdef Q_OS_UNIX
    {  // The disk refuses the write half-way (a file size limit holds even for root).
        Rig rig;
        rig.writePref(kPrefs, old);
        rig->prefsWindow.window.activate();
        rlimit saved{};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
        auto* previous = std::signal(SIGXFSZ, SIG_IGN);
        rlimit small = saved;
        small.rlim_cur = 64;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        rig->prefsWindow.window.close();
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previous);
        EXPECT_TRUE(rig.boundary.reports().isEmpty());
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
        EXPECT_EQ(readText(rig.prefPath(kPrefs)), old);
        EXPECT_EQ(filesIn(rig), QStringList{kPrefs});
        // With room again the same close goes through.
        rig->prefsWindow.window.close();
        EXPECT_TRUE(readText(rig.prefPath(kPrefs))
                        .startsWith(QStringLiteral("serial=/dev/tty.usbserial\n")));
    }
#endif
}

TEST(PrefsWindow, AutoDetectFindsUsbSerialPorts) {
    Rig rig;
    MainApp::PrefsWindow& w = rig->prefsWindow;
    w.portName.setText(QStringLiteral("/dev/mine"));

    // None: the message goes, the field stays.
    w.portsInfo.setText(QStringLiteral("Found: old"));
    rig.serialPorts.names = {QStringLiteral("Bluetooth-Incoming-Port"), QStringLiteral("ttyS0")};
    w.portAutoDetect.push();
    EXPECT_TRUE(w.portsInfo.text().isEmpty());
    EXPECT_EQ(w.portName.text(), QStringLiteral("/dev/mine"));

    // Two of the kind, the event loop let in after each port: the last one wins the field.
    rig.serialPorts.names = {QStringLiteral("usbserial-A1"), QStringLiteral("ttyS0"),
                             QStringLiteral("USBSerial-B2")};
    QStringList seen;
    rig.clock.post(0, [&] { seen << w.portName.text(); });
    w.portAutoDetect.push();
    EXPECT_EQ(seen, QStringList{QStringLiteral("/dev/tty.usbserial-A1")});
    EXPECT_EQ(w.portName.text(), QStringLiteral("/dev/tty.USBSerial-B2"));
    EXPECT_EQ(w.portsInfo.text(), QStringLiteral("Found: usbserial-A1, USBSerial-B2"));

    // Linux's USB adapters, by their full path; a built-in port or a look-alike is not one.
    rig.serialPorts.names = {QStringLiteral("ttyUSB0"), QStringLiteral("ttyS1"),
                             QStringLiteral("ttyACM1"), QStringLiteral("xttyUSB9")};
    w.portAutoDetect.push();
    EXPECT_EQ(w.portName.text(), QStringLiteral("/dev/ttyACM1"));
    EXPECT_EQ(w.portsInfo.text(), QStringLiteral("Found: ttyUSB0, ttyACM1"));

    // The Qt list: macOS's call-out and dial-in names of one device are one port.
    EXPECT_EQ(QtSerialPortList::listed({QStringLiteral("cu.usbserial-A1"),
                                        QStringLiteral("tty.usbserial-A1"),
                                        QStringLiteral("cu.Bluetooth"), QStringLiteral("ttyUSB0")}),
              (QStringList{QStringLiteral("usbserial-A1"), QStringLiteral("Bluetooth"),
                           QStringLiteral("ttyUSB0")}));
}
