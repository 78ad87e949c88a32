// velto-broker: the brokering service, for anyone who wants to link a master and a slave that
// can't reach each other. It serves TLS on port 37846 and keeps its users in a file of PIN
// digests; the same program adds users and sends the operator's broadcasts.

#include <sys/resource.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

#include "broker/qt_server.h"

using namespace velto::broker;

namespace {

constexpr quint16 kDefaultPort = 37846;
const QString kDefaultUsers = QStringLiteral("velto-broker.users");

void say(std::FILE* out, const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), out);
    std::fputc('\n', out);
    std::fflush(out);
}

int fail(const QString& text, int status = 1) {
    say(stderr, QStringLiteral("velto-broker: ") + text);
    return status;
}

int signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto n = ::write(signalPipe[1], &byte, 1);
}

/// SIGINT and SIGTERM run `stop` on the event loop, where it is safe.
void onStopSignals(QCoreApplication& app, std::function<void()> stop) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) return;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [stop = std::move(stop)] {
        char byte;
        [[maybe_unused]] const auto n = ::read(signalPipe[0], &byte, 1);
        stop();
    });
}

/// Two thousand clients need more descriptors than the usual soft limit of 1024.
void raiseFileLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/// One line of standard input; on a terminal it asks first and doesn't echo.
std::optional<QByteArray> readPin(const QByteArray& id) {
    const bool terminal = ::isatty(STDIN_FILENO);
    termios saved{};
    if (terminal) {
        std::fprintf(stderr, "PIN for %s: ", id.constData());
        std::fflush(stderr);
        ::tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string line;
    const bool got = bool(std::getline(std::cin, line));
    if (terminal) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        std::fputc('\n', stderr);
    }
    if (!got) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return QByteArray::fromStdString(line);
}

int editUsers(const QString& path, const QStringList& add, const QStringList& remove) {
    UsersFile file(path);
    QString error;
    if (!file.load(&error)) return fail(error);
    for (const QString& idText : add) {
        const QByteArray id = idText.toUtf8();
        if (const QString problem = Users::idProblem(id); !problem.isEmpty())
            return fail(idText + QStringLiteral(": ") + problem, 2);
        const std::optional<QByteArray> pin = readPin(id);
        if (!pin) return fail(QStringLiteral("no PIN for ") + idText + QStringLiteral(" on standard input"));
        if (const QString problem = Users::pinProblem(*pin); !problem.isEmpty())
            return fail(idText + QStringLiteral(": ") + problem, 2);
        const bool known = file.users().find(id) != nullptr;
        file.users().set(id, Credential::make(*pin));
        say(stderr, (known ? QStringLiteral("changed the PIN of ") : QStringLiteral("added ")) + idText);
    }
    for (const QString& id : remove) {
        if (!file.users().remove(id.toUtf8())) return fail(id + QStringLiteral(" is not a user"));
        say(stderr, QStringLiteral("removed ") + id);
    }
    return file.save(&error) ? 0 : fail(error);
}

std::optional<QSslConfiguration> loadTls(const QString& certPath, const QString& keyPath, QString* error) {
    const QList<QSslCertificate> chain = QSslCertificate::fromPath(certPath, QSsl::Pem);
    if (chain.isEmpty()) {
        *error = certPath + QStringLiteral(": no PEM certificate could be read");
        return std::nullopt;
    }
    QFile keyFile(keyPath);
    if (!keyFile.open(QIODevice::ReadOnly)) {
        *error = keyPath + QStringLiteral(": ") + keyFile.errorString();
        return std::nullopt;
    }
    const QByteArray pem = keyFile.readAll();
    QSslKey key(pem, QSsl::Rsa);
    if (key.isNull()) key = QSslKey(pem, QSsl::Ec);
    if (key.isNull()) {
        *error = keyPath + QStringLiteral(": no unencrypted PEM RSA or EC key could be read");
        return std::nullopt;
    }
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setLocalCertificateChain(chain);
    tls.setPrivateKey(key);
    tls.setPeerVerifyMode(QSslSocket::VerifyNone);  // clients have no certificates
    tls.setProtocol(QSsl::TlsV1_2OrLater);
    return tls;
}

/// "ADDR", "ADDR:PORT", "[V6]:PORT", ":PORT" or a bare IPv6 address.
std::optional<std::pair<QHostAddress, quint16>> parseListen(const QString& text) {
    QString host = text;
    QString port;
    if (text.startsWith(QLatin1Char('['))) {
        const qsizetype close = text.indexOf(QLatin1Char(']'));
        if (close < 0) return std::nullopt;
        host = text.mid(1, close - 1);
        const QString rest = text.mid(close + 1);
        if (!rest.isEmpty()) {
            if (!rest.startsWith(QLatin1Char(':'))) return std::nullopt;
            port = rest.mid(1);
        }
    } else if (text.count(QLatin1Char(':')) == 1) {
        host = text.section(QLatin1Char(':'), 0, 0);
        port = text.section(QLatin1Char(':'), 1);
    }
    QHostAddress address = host.isEmpty() ? QHostAddress(QHostAddress::Any) : QHostAddress(host);
    bool ok = true;
    const uint number = port.isEmpty() ? kDefaultPort : port.toUInt(&ok);
    if (address.isNull() || !ok || number > 65535) return std::nullopt;
    return std::pair{address, quint16(number)};
}

}  // namespace

int main(int argc, char** argv) {
    // Qt's own event loop is leaner than GLib's, which a server has no use for.
    if (qEnvironmentVariableIsEmpty("QT_NO_GLIB")) qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velto-broker"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELTO_VERSION));

    QCommandLineParser cl;
    cl.setApplicationDescription(QStringLiteral(
        "The brokering service of Velto Control/Server: links a master and a slave that can't\n"
        "reach each other, over TLS.\n"
        "\n"
        "  velto-broker --cert FILE --key FILE [--listen ADDR[:PORT]] [--users FILE]\n"
        "  velto-broker [--users FILE] --add-user EMAIL...  (PINs on standard input, a line each)\n"
        "  velto-broker [--users FILE] --remove-user EMAIL...\n"
        "  velto-broker [--users FILE | --control PATH] --broadcast TEXT"));
    const QCommandLineOption cert(QStringLiteral("cert"),
                                  QStringLiteral("The server's certificate, PEM, the chain behind it."),
                                  QStringLiteral("FILE"));
    const QCommandLineOption key(QStringLiteral("key"), QStringLiteral("Its private key, PEM, unencrypted."),
                                 QStringLiteral("FILE"));
    const QCommandLineOption listen(QStringLiteral("listen"),
                                    QStringLiteral("Address and port to serve (default all addresses, port %1).")
                                        .arg(kDefaultPort),
                                    QStringLiteral("ADDR[:PORT]"));
    const QCommandLineOption users(QStringLiteral("users"),
                                   QStringLiteral("The users file (default %1).").arg(kDefaultUsers),
                                   QStringLiteral("FILE"));
    const QCommandLineOption addUser(QStringLiteral("add-user"),
                                     QStringLiteral("Add a user, or change its PIN, read from standard input."),
                                     QStringLiteral("EMAIL"));
    const QCommandLineOption removeUser(QStringLiteral("remove-user"), QStringLiteral("Remove a user."),
                                        QStringLiteral("EMAIL"));
    const QCommandLineOption broadcast(QStringLiteral("broadcast"),
                                       QStringLiteral("Send TEXT to every user of the running service."),
                                       QStringLiteral("TEXT"));
    const QCommandLineOption control(QStringLiteral("control"),
                                     QStringLiteral("The control socket of the running service (default the "
                                                    "users file's path with \".control\")."),
                                     QStringLiteral("PATH"));
    cl.addOptions({cert, key, listen, users, addUser, removeUser, broadcast, control});
    cl.addHelpOption();
    cl.addVersionOption();
    cl.process(app);
    if (!cl.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument: ") + cl.positionalArguments().first(), 2);

    const QString usersPath = cl.isSet(users) ? cl.value(users) : kDefaultUsers;
    const QString controlPath =
        cl.isSet(control) ? cl.value(control) : QFileInfo(usersPath).absoluteFilePath() + QStringLiteral(".control");

    if (cl.isSet(addUser) || cl.isSet(removeUser)) return editUsers(usersPath, cl.values(addUser), cl.values(removeUser));

    if (cl.isSet(broadcast)) {
        QString error;
        const int reached = ControlServer::sendBroadcast(controlPath, cl.value(broadcast).toUtf8(), &error);
        if (reached < 0) return fail(error);
        say(stdout, QStringLiteral("sent to %1 users").arg(reached));
        return 0;
    }

    if (!cl.isSet(cert) || !cl.isSet(key))
        return fail(QStringLiteral("serving needs --cert and --key (see --help)"), 2);
    const auto where = parseListen(cl.isSet(listen) ? cl.value(listen) : QString());
    if (!where) return fail(QStringLiteral("--listen needs ADDR[:PORT], not ") + cl.value(listen), 2);
    QString error;
    const std::optional<QSslConfiguration> tls = loadTls(cl.value(cert), cl.value(key), &error);
    if (!tls) return fail(error);
    UsersFile usersFile(usersPath);
    if (!usersFile.load(&error)) return fail(error);

    raiseFileLimit();
    std::signal(SIGPIPE, SIG_IGN);

    QtClock clock;
    ThreadPinCheck pins;
    TlsServer server(*tls);
    Broker broker(clock, pins, [&usersFile]() -> const Users& { return usersFile.current(); });
    broker.log = [](const QString& line) { say(stderr, line); };
    // Linked users hear that their link is lost; what is on its way gets a moment to go out.
    onStopSignals(app, [&app, &broker] {
        broker.closeAll();
        QTimer::singleShot(500, &app, &QCoreApplication::quit);
    });
    if (!server.listen(broker, where->first, where->second, &error))
        return fail(QStringLiteral("can't listen on %1: %2").arg(where->first.toString(), error));
    ControlServer controlServer(broker);
    const bool controlled = controlServer.listen(controlPath, &error);
    if (!controlled) say(stderr, QStringLiteral("velto-broker: no broadcasts: ") + error);

    const QString host = where->first.protocol() == QAbstractSocket::IPv6Protocol
                             ? QLatin1Char('[') + where->first.toString() + QLatin1Char(']')
                             : where->first.toString();
    say(stdout, QStringLiteral("listening on %1:%2").arg(host).arg(server.port()));
    say(stderr, QStringLiteral("velto-broker %1: %2 users in %3%4")
                    .arg(QStringLiteral(VELTO_VERSION))
                    .arg(usersFile.users().size())
                    .arg(usersPath, controlled ? QStringLiteral(", control socket ") + controlPath : QString()));
    return app.exec();
}
