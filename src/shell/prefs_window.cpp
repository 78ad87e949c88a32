// The Preferences window and the writer of "veltoprefs.ini". The window keeps nothing of its
// own: it is filled from the properties at each activation, Done takes the typed fields back,
// and every close takes over the port name and the boxes and writes the file whole.

#include <algorithm>
#include <stdexcept>

#include "device/main_app.h"
#include "platform/save_file.h"
#include "platform/text.h"

namespace velto {

namespace {

/// What the framework raised on a file reference into a folder that isn't there.
class NilObject : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace

void MainApp::wirePrefsWindow() {
    ExceptionBoundary& b = p_.boundary;
    auto on = [&b](Signal<>& event, std::function<void()> handler) {
        event.connect(b.wrap(std::move(handler)));
    };
    PrefsWindow& w = prefsWindow;
    on(w.window.activated, [this] { prefsWindow_Activate(); });
    on(w.window.closed, [this] { prefsWindow_Close(); });
    on(w.settingsDone.action, [this] { settingsDone_Action(); });
    on(w.modeSolo.action, [this] { modeSolo_Action(); });
    on(w.modeMaster.action, [this] { modeMaster_Action(); });
    on(w.modeSlave.action, [this] { modeSlave_Action(); });
    on(w.portAutoDetect.action, [this] { portAutoDetect_Action(); });
    on(w.brokerOptionsButton.action, [this] { brokerOptionsButton_Action(); });
    // The scan button is wired with the rest of discovery.

    w.comPorts.setVisible(false);
    w.GroupBox1.setHelpTag(
        QStringLiteral("Set the operation mode for the software. Solo is for normal use; Master "
                       "and Slave allow use over a network or the internet"));
    w.portAutoDetect.setHelpTag(
        QStringLiteral("Click to try and auto-detect the serial port to use"));
    w.autoAdjustMove.setHelpTag(
        QStringLiteral("Tick to automatically fix the 'Adjust' times, lengthening the time "
                       "period where necessary, based on the number of steps"));
    const QString httpTag =
        QStringLiteral("Tick to enable HTTP (web) control mode. Web pages that drive a slave: ") +
        QString::fromLatin1(kWebScriptsUrl);
    w.httpMode.setHelpTag(httpTag);
    // The EvoCam box has always carried the HTTP box's tag; it stays as users know it.
    w.evoCamLink.setHelpTag(httpTag);
}

void MainApp::prefsWindow_Activate() {
    PrefsWindow& w = prefsWindow;
    RadioButton* chosen = nullptr;
    if (same(systemMode, QStringLiteral("solo")))
        chosen = &w.modeSolo;
    else if (same(systemMode, QStringLiteral("master")))
        chosen = &w.modeMaster;
    else if (same(systemMode, QStringLiteral("slave")))
        chosen = &w.modeSlave;
    // Any other word leaves the buttons as they are. Turning one on runs its Action, as a click
    // would; that sets the mode it already has.
    if (chosen) {
        for (RadioButton* button : {&w.modeSolo, &w.modeMaster, &w.modeSlave})
            if (button != chosen) button->setValue(false);
        chosen->setValue(true);
    }

    w.timeoutPref.setText(Str(slaveTimeout));
    w.maxLevelA.setText(Str(maxLevelA));
    w.maxLevelB.setText(Str(maxLevelB));
    w.portNumber.setText(Str(remotePort));
    w.remoteHost.setText(remoteHostname);
    w.portName.setText(serialPortName);

    w.httpMode.setValue(httpSlave);
    w.autoAdjustMove.setValue(autoAdjust);

    w.brokerID.setText(brokerID);
    w.brokerPIN.setText(brokerPIN);
    w.useBroker.setValue(useBroker);

    w.portName.setVisible(true);
    w.portAutoDetect.setVisible(true);
    w.comPorts.setVisible(false);
    w.evoCamLink.setVisible(true);
    w.evoCamName.setVisible(true);

    w.evoCamLink.setValue(updateEvocam);
    w.evoCamName.setText(evoCamName);

    w.errorCorrect.setValue(checkResponses);
}

void MainApp::settingsDone_Action() {
    PrefsWindow& w = prefsWindow;
    slaveTimeout = ValInt(w.timeoutPref.text());
    remotePort = ValInt(w.portNumber.text());
    remoteHostname = w.remoteHost.text();
    brokerID = w.brokerID.text();
    brokerPIN = w.brokerPIN.text();
    useBroker = w.useBroker.value();
    // Only the unticked box acts here; a ticked one reaches httpSlave in the close.
    if (!w.httpMode.value()) {
        httpSlave = false;
        httpResponse = false;
    }
    checkResponses = w.errorCorrect.value();
    w.window.close();
}

void MainApp::prefsWindow_Close() {
    PrefsWindow& w = prefsWindow;
    // The close box comes here too: these are kept, the fields Done takes are not.
    serialPortName = w.portName.text();
    httpSlave = w.httpMode.value();
    autoAdjust = w.autoAdjustMove.value();
    useBroker = w.useBroker.value();
    checkResponses = w.errorCorrect.value();
    // A cap is for safety: the close box keeps it as Done does.
    maxLevelA = std::clamp<qint64>(ValInt(w.maxLevelA.text()), 0, 100);
    maxLevelB = std::clamp<qint64>(ValInt(w.maxLevelB.text()), 0, 100);

    if (!p_.preferences.available())
        throw NilObject("NilObjectException: no Preferences folder to write \"veltoprefs.ini\" in");
    QString out;
    auto line = [&out](const char* key, const QString& value) {
        out += QLatin1String(key) + QLatin1Char('=') + value + QLatin1Char('\n');
    };
    line("serial", serialPortName);
    line("port", Str(remotePort));
    line("host", remoteHostname);
    line("timeout", Str(slaveTimeout));
    line("mode", systemMode);
    line("brokerid", brokerID);
    line("brokerpin", brokerPIN);
    line("brokerprofile", brokerProfile);
    line("usebroker", checkboxToText(w.useBroker));
    line("http", checkboxToText(w.httpMode));
    line("autoadjust", checkboxToText(w.autoAdjustMove));
    if (!brokerauto.isEmpty()) line("brokerauto", brokerauto);
    for (const QString& peer : brokerAccept) line("brokeraccept", peer);
    for (const QString& peer : brokerReject) line("brokerreject", peer);
    line("evolink", checkboxToText(w.evoCamLink));
    line("evocam", w.evoCamName.text());
    evoCamName = w.evoCamName.text();
    updateEvocam = w.evoCamLink.value();
    line("errorcorrection", checkboxToText(w.errorCorrect));
    // The caps are written only when set, so that a file without them stays as it was.
    if (maxLevelA < 100) line("maxlevela", Str(maxLevelA));
    if (maxLevelB < 100) line("maxlevelb", Str(maxLevelB));
    out += QStringLiteral("favsfile=") + App.favsName;  // the file ends without a line break
    if (webpage) out += QStringLiteral("\nwebpage=true");

    saveWhole(p_.preferences.child(QStringLiteral("veltoprefs.ini")), out.toUtf8());  // I/O errors pass in silence
}

void MainApp::modeSolo_Action() {
    systemMode = QStringLiteral("solo");
    slaveIdle.setMode(Timer::Off);
}

void MainApp::modeMaster_Action() {
    systemMode = QStringLiteral("master");
    slaveIdle.setMode(Timer::Off);
}

// The network follows at the next Connect; the idle stop is armed by the peer's lines.
void MainApp::modeSlave_Action() {
    systemMode = QStringLiteral("slave");
}

void MainApp::portAutoDetect_Action() {
    PrefsWindow& w = prefsWindow;
    const QStringList ports = p_.serialPorts ? p_.serialPorts->portNames() : QStringList();
    QString message;
    for (const QString& name : ports) {
        QString device;
        if (InStr(name, QStringLiteral("usbserial")) > 0)
            device = QStringLiteral("/dev/tty.") + name;
        // Linux names its USB serial adapters ttyUSBn (FTDI and the like) or ttyACMn (CDC).
        else if (name.startsWith(QLatin1String("ttyUSB")) ||
                 name.startsWith(QLatin1String("ttyACM")))
            device = QStringLiteral("/dev/") + name;
        if (!device.isEmpty()) {
            w.portName.setText(device);
            message +=
                (message.isEmpty() ? QStringLiteral("Found: ") : QStringLiteral(", ")) + name;
        }
        p_.clock.yield();
    }
    w.portsInfo.setText(message);
}

void MainApp::brokerOptionsButton_Action() { showBrokerOptions(); }

}  // namespace velto
