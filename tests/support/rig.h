#pragma once
// A MainApp on virtual time, with the simulated box behind the fake serial port, fake sockets,
// scripted dialogs and a throw-away Preferences folder. Tests drive it and read what crossed
// its edges.

#include <QTemporaryDir>
#include <memory>

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
    ~Rig();

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
    QString prefPath(const QString& name) const;
    /// Start-up as the program does it.
    void open() { app->App_Event_Open(); }
    /// Start-up, then Connect in the current mode, then lets the first replies in.
    void connect();
    /// Commands written to the serial line, from the `from`-th write on.
    QStringList commandsSince(size_t from) const;
    /// Lines of the activity log (time stamps removed).
    QStringList logLines() const;
    void advance(qint64 ms) { clock.advance(ms); }
};

}  // namespace velto
