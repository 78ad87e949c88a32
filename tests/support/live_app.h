#pragma once
// A MainApp for the integration tests: the real LAN, broker and advertising sockets (the LAN
// one bound to loopback), the simulated box behind a fake serial port, and its own Preferences
// folder holding `settings` as "veltoprefs.ini". Its timers run on real time.

#include <QFile>
#include <QTemporaryDir>
#include <memory>

#include "device/main_app.h"
#include "platform/fake/fake_serial_port.h"
#include "platform/fake/fake_tcp_socket.h"
#include "platform/fake/fake_udp.h"
#include "platform/fake/scripted_dialogs.h"
#include "platform/qt/qt_clock.h"
#include "platform/qt/qt_ssl_socket.h"
#include "platform/qt/qt_tcp_socket.h"
#include "platform/qt/qt_udp_socket.h"
#include "sim_link.h"

namespace velto {

struct LiveApp {
    /// `configure` runs on the app before its start-up.
    explicit LiveApp(const QString& settings, const std::function<void(MainApp&)>& configure = {}) {
        QFile file(prefs.filePath(QStringLiteral("veltoprefs.ini")));
        if (file.open(QIODevice::WriteOnly)) file.write(settings.toUtf8());
        file.close();
        remoteControl.setListenAddress(QHostAddress::LocalHost);
        platform = std::make_unique<Platform>(Platform{clock, boundary, serial, remoteControl,
                                                       broker, connect, advertising, udp, network,
                                                       dialogs, Preferences(prefs.path())});
        app = std::make_unique<MainApp>(*platform);
        if (configure) configure(*app);
        app->App_Event_Open();
    }
    MainApp* operator->() { return app.get(); }
    sim::Sim2B& box() { return link.box; }

    QTemporaryDir prefs;
    QtClock clock;
    ExceptionBoundary boundary;
    FakeSerialPort serial{clock};
    SimLink link{serial, clock};
    QtTcpSocket remoteControl;
    QtSslSocket broker;
    FakeTcpSocket connect{clock};
    QtUdpSocket advertising;
    QtUdpFactory udp;
    FixedNetworkInfo network{QStringLiteral("127.0.0.1"), QStringLiteral("127.255.255.255")};
    ScriptedDialogs dialogs;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<MainApp> app;
};

}  // namespace velto
