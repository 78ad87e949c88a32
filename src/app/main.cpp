// The program: picks the adapters (a window, or none), builds MainApp, runs its start-up and
// the event loop. SIGINT and SIGTERM end it cleanly with status 0, the box stopped first.
//
// Two executables are built from this file. `velto` carries no widgets, so a headless box
// server starts without loading the whole GUI stack; asked for a window, it hands over to
// `velto-window` beside it, which is the same program with the widgets linked in.

#include <QCoreApplication>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSocketNotifier>
#include <QTimer>
#include <csignal>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

#include "app/command_line.h"
#include "device/main_app.h"
#include "platform/headless_dialogs.h"
#include "platform/qt/qt_clock.h"
#include "platform/qt/qt_https_client.h"
#include "platform/qt/qt_network_info.h"
#include "platform/qt/qt_serial_port.h"
#include "platform/qt/qt_ssl_socket.h"
#include "platform/qt/qt_tcp_socket.h"
#include "platform/qt/qt_udp_socket.h"
#include "remote/page_server.h"
#ifdef Q_OS_MACOS
#include "platform/qt/apple_script_runner.h"
#else
#include "platform/caption_files.h"
#endif

#ifdef VELTO_WITH_GUI
#include <QApplication>
#include <QIcon>

#include "gui/main_window_view.h"
#include "gui/qt_browser.h"
#include "gui/qt_dialogs.h"
#endif

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto n = ::write(signalPipe[1], &byte, 1);
}

// Signals become an event on the loop, where quitting is safe. They are caught from the first
// line of main; one that comes before the loop runs waits in the pipe and ends it at once.
void catchSignals() {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) return;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void quitOnSignals(QCoreApplication& app) {
    if (signalPipe[0] < 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [&app] {
        char byte;
        [[maybe_unused]] const auto n = ::read(signalPipe[0], &byte, 1);
        app.quit();
    });
}

void print(std::FILE* out, const QString& text) {
    std::fputs(text.toUtf8().constData(), out);
    std::fputc('\n', out);
    std::fflush(out);
}

// Without a display Qt would abort in QApplication with advice to reinstall; say what to do.
bool displayAvailable(const QStringList& arguments) {
#if defined(Q_OS_UNIX) && !defined(Q_OS_MACOS)
    if (arguments.contains(QLatin1String("-platform"))) return true;
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        if (!qEnvironmentVariableIsEmpty(name)) return true;
    return false;
#else
    Q_UNUSED(arguments);
    return true;
#endif
}

#if defined(VELTO_WINDOW_PROGRAM)
// Replaces this process by the windowed program beside it, with the same arguments.
[[noreturn]] void runWindowProgram(char** argv) {
    std::error_code error;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) self = std::filesystem::absolute(argv[0], error);
    const std::string window = (self.parent_path() / VELTO_WINDOW_PROGRAM).string();
    ::execv(window.c_str(), argv);
    std::fprintf(stderr, "velto: can't start %s for the window (%s); --headless runs without one\n",
                 window.c_str(), std::strerror(errno));
    std::exit(2);
}
#endif

}  // namespace

int main(int argc, char** argv) {
    catchSignals();
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments.append(QString::fromLocal8Bit(argv[i]));
    const velto::CommandLine cl = velto::CommandLine::parse(arguments);
    if (!cl.error.isEmpty()) {
        print(stderr, QStringLiteral("velto: ") + cl.error + QLatin1Char('\n') + velto::CommandLine::usage());
        return 2;
    }
    if (cl.help) {
        std::fputs(velto::CommandLine::usage().toUtf8().constData(), stdout);
        return 0;
    }
    if (cl.version) {
        print(stdout, QStringLiteral("Velto Control/Server ") + QString::fromLatin1(velto::MainApp::kVersion));
        return 0;
    }

    if (!cl.headless && !displayAvailable(arguments)) {
        print(stderr, QStringLiteral("no display: run velto --headless for a box server"));
        return 2;
    }
#if defined(VELTO_WINDOW_PROGRAM)
    if (!cl.headless) runWindowProgram(argv);
#endif

    // A box server needs no desktop integration: Qt's own event loop is leaner than GLib's, and
    // a line from a peer reaches the serial port sooner.
    if (cl.headless && qEnvironmentVariableIsEmpty("QT_NO_GLIB")) qputenv("QT_NO_GLIB", "1");

    std::unique_ptr<QCoreApplication> app;
#ifdef VELTO_WITH_GUI
    const bool windowed = !cl.headless;
    if (windowed) {
        app = std::make_unique<QApplication>(argc, argv);
        // The installed desktop entry and icon: the desktop shows the window under them.
        QGuiApplication::setDesktopFileName(QStringLiteral("example.velto.Velto"));
        QGuiApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("example.velto.Velto")));
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
#else
    const bool windowed = false;
    app = std::make_unique<QCoreApplication>(argc, argv);
#endif
    quitOnSignals(*app);
    QCoreApplication::setApplicationName(QStringLiteral("velto"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(velto::MainApp::kVersion));
    if (cl.caFile) {
        // Trusted by every TLS client of the program, the services' as well as the update check's.
        const QList<QSslCertificate> cas = QSslCertificate::fromPath(*cl.caFile, QSsl::Pem);
        if (cas.isEmpty()) {
            print(stderr, QStringLiteral("velto: no CA certificate could be read from ") + *cl.caFile);
            return 2;
        }
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.addCaCertificates(cas);
        QSslConfiguration::setDefaultConfiguration(tls);
    }

    velto::QtClock clock;
    velto::ExceptionBoundary boundary;
    velto::QtSerialPort serial;
    velto::QtSerialPortList serialPorts;
    velto::QtTcpSocket remoteControl;
    velto::QtSslSocket brokerSocket, connectSocket;
    velto::QtUdpSocket advertising;
    velto::QtUdpFactory udp;
    velto::QtNetworkInfo network;
    if (cl.broadcast) network.setBroadcastOverride(*cl.broadcast);
    if (cl.listen) {
        // The slave's port and its remote page, on that address only; advertised as its address.
        const QHostAddress address(*cl.listen);
        remoteControl.setListenAddress(address);
        if (address != QHostAddress::AnyIPv4 && address != QHostAddress::AnyIPv6)
            network.setLocalOverride(address.toString());
    }
    velto::QtHttpsClient https;
    // The remote page for browsers, built into the program; a slave serves it when asked to.
    velto::PageServer pageServer(clock);
    QFile page(QStringLiteral(":/web/remote.html"));
    if (page.open(QIODevice::ReadOnly))
        pageServer.setDocument(QStringLiteral("/"), {"text/html; charset=utf-8", page.readAll()});
    if (cl.listen) pageServer.setListenAddress(QHostAddress(*cl.listen));

    std::unique_ptr<velto::Dialogs> dialogs;
#ifdef VELTO_WITH_GUI
    if (windowed) dialogs = std::make_unique<velto::QtDialogs>();
#endif
    if (!dialogs) dialogs = std::make_unique<velto::HeadlessDialogs>();

    velto::Preferences preferences = cl.prefs ? velto::Preferences(*cl.prefs) : velto::Preferences::platformDefault();
    velto::Platform platform{clock,         boundary,    serial, remoteControl, brokerSocket,
                             connectSocket, advertising, udp,    network,       *dialogs,
                             preferences};
    platform.serialPorts = &serialPorts;
    // Captions go to the webcam application's scripts on macOS, to text files elsewhere.
#ifdef Q_OS_MACOS
    velto::AppleScriptRunner captions(velto::AppleScriptRunner::bundleResources());
#else
    velto::CaptionFiles captions(preferences);
#endif
    platform.scripts = &captions;

    velto::MainApp mainApp(platform);
    velto::HeadlessBrowser logBrowser([&mainApp](const QString& line) { mainApp.log(line); });
    platform.browser = &logBrowser;
#ifdef VELTO_WITH_GUI
    velto::QtBrowser desktopBrowser;
    if (windowed) platform.browser = &desktopBrowser;
#endif
    velto::Dialogs* reportTo = dialogs.get();
    boundary.setReporter([windowed, reportTo](const QString& what) {
        if (windowed)
            reportTo->message(what);
        else
            print(stderr, QStringLiteral("unhandled: ") + what);
    });
    if (!windowed) {
        mainApp.activityLog.lineLogged.connect([](const QString& line) { print(stdout, line); });
        mainApp.reopenGoneBox = true;
    }

    platform.https = &https;
    platform.pageServer = &pageServer;
    if (cl.updateUrl) mainApp.updateServiceUrl = *cl.updateUrl;
    if (cl.broker) {
        const auto [host, port] = *velto::CommandLine::hostPort(*cl.broker, velto::MainApp::kBrokerPort);
        mainApp.brokerHost = host;
        mainApp.brokerPort = port;
    }
    if (cl.connectService) {
        const auto [host, port] =
            *velto::CommandLine::hostPort(*cl.connectService, velto::MainApp::kConnectServicePort);
        mainApp.connectServiceHost = host;
        mainApp.connectServicePort = port;
    }
    if (cl.checkUpdate) {
        // The check alone: its message on standard error, its outcome in the exit status. A
        // reply it can't read is reported by the boundary and counts as a failed check.
        auto outcome = velto::MainApp::UpdateOutcome::Failed;
        boundary.run([&] { outcome = mainApp.offerUpdate(); });
        switch (outcome) {
            case velto::MainApp::UpdateOutcome::UpToDate: return 0;
            case velto::MainApp::UpdateOutcome::Offered: return 10;
            case velto::MainApp::UpdateOutcome::Failed: return 1;
        }
        return 1;
    }

    boundary.run([&] { mainApp.App_Event_Open(); });

#ifdef VELTO_WITH_GUI
    std::unique_ptr<velto::MainWindowView> view;
    if (windowed) {
        view = std::make_unique<velto::MainWindowView>(mainApp);
        view->show();
    }
#endif
    boundary.run([&] { mainApp.Event_Activate(); });
    if (cl.log) boundary.run([&] { mainApp._activityToggle_Action(); });
    if (cl.logSerial) mainApp.activityLog.logSerial.setValue(true);
    if (cl.connect) QTimer::singleShot(0, app.get(), [&] { mainApp.Connect.push(); });
    if (cl.connectKey) {
        // As typed into the connect window and Connect pressed: the same key check, the same
        // message when it fails.
        QTimer::singleShot(0, app.get(), [&] {
            boundary.run([&] {
                mainApp.MenuBar1.veltoConnect.push();
                mainApp.connectWindow.connectKey.setText(*cl.connectKey);
                mainApp.connectWindow.connectButton.push();
            });
        });
    }

    const int status = app->exec();
    // However the program ends (a signal, Quit, the window closed), the box is not left running.
    boundary.run([&] { mainApp.stopBoxForExit(200); });
    return status;
}
