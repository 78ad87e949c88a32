#include "app/command_line.h"

#include <QHostAddress>
#include <QUrl>

namespace velto {

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine cl;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& arg = arguments[i];
        auto value = [&](std::optional<QString>& into) {
            if (i + 1 >= arguments.size() || arguments[i + 1].startsWith(QLatin1String("--"))) {
                cl.error = arg + QStringLiteral(" needs a value");
                return;
            }
            into = arguments[++i];
        };
        if (arg == QLatin1String("--headless")) cl.headless = true;
        else if (arg == QLatin1String("--connect")) cl.connect = true;
        else if (arg == QLatin1String("--log")) cl.log = true;
        else if (arg == QLatin1String("--log-serial")) cl.log = cl.logSerial = true;
        else if (arg == QLatin1String("--version")) cl.version = true;
        else if (arg == QLatin1String("--check-update")) cl.checkUpdate = true;
        else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) cl.help = true;
        else if (arg == QLatin1String("--prefs")) value(cl.prefs);
        else if (arg == QLatin1String("--broadcast")) value(cl.broadcast);
        else if (arg == QLatin1String("--listen")) value(cl.listen);
        else if (arg == QLatin1String("--broker")) value(cl.broker);
        else if (arg == QLatin1String("--connect-service")) value(cl.connectService);
        else if (arg == QLatin1String("--connect-key")) value(cl.connectKey);
        else if (arg == QLatin1String("--update-url")) value(cl.updateUrl);
        else if (arg == QLatin1String("--ca-file")) value(cl.caFile);
        else if (arg.startsWith(QLatin1String("--prefs="))) cl.prefs = arg.mid(8);
        else if (arg.startsWith(QLatin1String("--broadcast="))) cl.broadcast = arg.mid(12);
        else if (arg.startsWith(QLatin1String("--listen="))) cl.listen = arg.mid(9);
        else if (arg.startsWith(QLatin1String("--broker="))) cl.broker = arg.mid(9);
        else if (arg.startsWith(QLatin1String("--connect-service="))) cl.connectService = arg.mid(18);
        else if (arg.startsWith(QLatin1String("--connect-key="))) cl.connectKey = arg.mid(14);
        else if (arg.startsWith(QLatin1String("--update-url="))) cl.updateUrl = arg.mid(13);
        else if (arg.startsWith(QLatin1String("--ca-file="))) cl.caFile = arg.mid(10);
        else if (arg.startsWith(QLatin1String("-platform")) || arg.startsWith(QLatin1String("-style"))) {
            ++i;  // Qt's own options, taken by QApplication
        } else {
            cl.error = QStringLiteral("unknown option: ") + arg;
        }
        if (!cl.error.isEmpty()) break;
    }
    if (cl.error.isEmpty() && cl.updateUrl) {
        const QUrl url(*cl.updateUrl, QUrl::StrictMode);
        if (!url.isValid() || url.scheme() != QLatin1String("https") || url.host().isEmpty())
            cl.error = QStringLiteral("--update-url needs https://HOST[:PORT], not ") + *cl.updateUrl;
    }
    if (cl.error.isEmpty() && cl.listen && QHostAddress(*cl.listen).isNull())
        cl.error = QStringLiteral("--listen needs an IP address, not ") + *cl.listen;
    if (cl.error.isEmpty() && cl.broker && !hostPort(*cl.broker, 37846))
        cl.error = QStringLiteral("--broker needs HOST[:PORT], not ") + *cl.broker;
    if (cl.error.isEmpty() && cl.connectService && !hostPort(*cl.connectService, 57846))
        cl.error = QStringLiteral("--connect-service needs HOST[:PORT], not ") + *cl.connectService;
    // The check is a one-shot run with no window.
    if (cl.checkUpdate) cl.headless = true;
    return cl;
}

std::optional<std::pair<QString, int>> CommandLine::hostPort(const QString& text, int defaultPort) {
    // A URL reads "[::1]:5" and "host:5" alike; a bare IPv6 address has more than one colon.
    const QUrl url(QStringLiteral("tls://") + text, QUrl::StrictMode);
    if (url.isValid() && !url.host().isEmpty() && url.path().isEmpty() && url.userInfo().isEmpty())
        return std::pair<QString, int>{url.host(), url.port(defaultPort)};
    return std::nullopt;
}

QString CommandLine::usage() {
    return QStringLiteral(
        "Usage: velto [--headless] [--prefs DIR] [--connect] [--log] [--log-serial]\n"
        "             [--broadcast ADDR] [--listen ADDR] [--broker HOST[:PORT]]\n"
        "             [--update-url URL] [--connect-service HOST[:PORT]]\n"
        "             [--connect-key KEY] [--ca-file FILE] [--check-update] [--version] [--help]\n"
        "\n"
        "  --headless        run without a window, as a box server\n"
        "  --prefs DIR       read and write the settings files in DIR\n"
        "  --connect         press Connect once start-up has finished\n"
        "  --log             open the activity log (headless: printed on standard output)\n"
        "  --log-serial      open the log and trace the serial line too\n"
        "  --broadcast ADDR  send LAN advertisements to ADDR\n"
        "  --listen ADDR     as a slave, listen on the address ADDR only (127.0.0.1: this\n"
        "                    machine alone, as behind an SSH tunnel); all by default\n"
        "  --broker HOST[:PORT]\n"
        "                    log in to the brokering service at HOST (port 37846)\n"
        "  --connect-service HOST[:PORT]\n"
        "                    use the connect service at HOST (port 57846)\n"
        "  --connect-key KEY enter KEY, a Connect Key or link, as in the Velto Connect\n"
        "                    window, once start-up has finished\n"
        "  --update-url URL  ask the update service at https://HOST[:PORT]\n"
        "  --ca-file FILE    trust the CA certificates in the PEM file FILE too\n"
        "  --check-update    check for a newer build and exit: 0 up to date, 10 newer\n"
        "                    build offered, 1 check failed\n"
        "  --version         print the version and exit\n"
        "  --help            print this text and exit\n");
}

}  // namespace velto
