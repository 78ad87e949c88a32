#pragma once
// A MainApp on virtual time, with the simulated box behind the fake serial port, fake sockets,
// scripted dialogs and a throw-away Preferences folder. Tests drive it and read what crossed
// its edges.

#include <QTemporaryDir>
#include <memory>
#include <ostream>

#include "device/main_app.h"
#include "platform/fake/fake_https_client.h"
#include "platform/fake/fake_serial_port.h"
#include "platform/fake/fake_tcp_socket.h"
#include "platform/fake/fake_udp.h"
#include "platform/fake/recording_script_runner.h"
#include "platform/fake/scripted_dialogs.h"
#include "platform/virtual_clock.h"
#include "sim_link.h"

namespace velto {

struct Rig {
    /// `withPrefs` false: a platform with no Preferences folder at all.
    explicit Rig(bool withPrefs = true);

    VirtualClock clock;
    ExceptionBoundary boundary;
    FakeSerialPort serial{clock};
    FakeSerialPortList serialPorts;
    SimLink link{serial, clock};
    FakeTcpSocket remoteControl{clock};
    FakeTcpSocket brokerSocket{clock};
    FakeTcpSocket connectSocket{clock};
    FakeUdpFactory udp{clock};
    FakeUdpSocket advertising{clock, udp.record};
    FixedNetworkInfo network{QStringLiteral("127.0.0.1"), QStringLiteral("127.255.255.255")};
    ScriptedDialogs dialogs;
    RecordingScriptRunner scripts{clock};
    FakeHttpsClient https{clock};
    QTemporaryDir prefsDir;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<MainApp> app;

    sim::Sim2B& box() { return link.box; }
    MainApp& operator*() { return *app; }
    MainApp* operator->() { return app.get(); }

    /// Writes a file into the Preferences folder.
    void writePref(const QString& name, const QString& content);
    /// Writes "veltoprefs.ini".
    void settings(const QString& content) { writePref(QStringLiteral("veltoprefs.ini"), content); }
    QString prefPath(const QString& name) const;
    /// Start-up as the program does it.
    void open() { app->App_Event_Open(); }
    /// Start-up, then Connect in the current mode, then lets the first replies in.
    void connect();
    /// The same to a box of `firmware`, with the log open, so that on a 2.119 box the switch to
    /// the high rate completes and the line goes on answering.
    void connectLogging(const QString& firmware = QStringLiteral("2.106"));
    /// A peer arrives on `socket` and its Connected event runs.
    void peerJoins(FakeTcpSocket& socket, const QString& from = QStringLiteral("127.0.0.1")) {
        socket.peerConnects(from);
        advance(1);
    }
    /// Commands written to the serial line, from the `from`-th write on.
    QStringList commandsSince(size_t from) const;
    /// The same without the "V" polls.
    QStringList commandsAfter(size_t from) const;
    size_t mark() const { return serial.writes.size(); }
    /// Lines of the activity log (time stamps removed).
    QStringList logLines() const;
    void advance(qint64 ms) { clock.advance(ms); }
};

/// A favourite's cells; the defaults are a ticked Pulse, A 40, B 20, C 50, D 60, low power, with
/// Rise 30, Run 180 and Fall 10 seconds.
struct Fav {
    QString name = "fav", rise = "30", run = "180", fall = "10", mode = "Pulse";
    QString a = "40", b = "20", c = "50", d = "60", power = "L";
    bool ticked = true;
};

/// Adds `f` to the end of the list; its row.
int addFav(MainApp& app, const Fav& f);
inline int addFav(Rig& rig, const Fav& f) {
    return addFav(*rig, f);
}

/// The file's text, or "<missing>".
QString readText(const QString& path);

}  // namespace velto

/// Failure messages show texts as texts.
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
