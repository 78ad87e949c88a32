#pragma once
// Everything MainApp gets from outside: time, the serial line, sockets, dialogs, files and
// randomness. The program fills it with Qt adapters; tests with fakes and virtual time.

#include <functional>
#include <optional>

#include "platform/boundary.h"
#include "platform/browser.h"
#include "platform/clock.h"
#include "platform/dialogs.h"
#include "platform/https_client.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "platform/script_runner.h"
#include "platform/serial_port.h"
#include "platform/ssl_socket.h"
#include "platform/tcp_socket.h"
#include "platform/udp_socket.h"

namespace velto {

class PageServer;

struct Platform {
    Clock& clock;
    ExceptionBoundary& boundary;
    SerialPort& serial;
    TcpSocket& remoteControl;
    SslSocket& brokerSocket;
    SslSocket& connectSocket;
    UdpSocket& advertising;
    UdpFactory& udp;
    NetworkInfo& network;
    Dialogs& dialogs;
    Preferences preferences;
    /// Seeds for Random objects, for repeatable runs; real randomness when empty.
    std::function<std::optional<quint64>()> seed = [] { return std::nullopt; };
    /// Where web pages open; none means they can't be shown.
    Browser* browser = nullptr;
    /// The serial ports the system knows of, for the port scan; none lists no ports.
    SerialPortList* serialPorts = nullptr;
    /// Where captions go; none means nowhere.
    ScriptRunner* scripts = nullptr;
    /// The update check's HTTPS; none means the service can't be reached.
    HttpsClient* https = nullptr;
    /// Serves the remote page to browsers; none means no page is offered.
    PageServer* pageServer = nullptr;
};

}  // namespace velto
