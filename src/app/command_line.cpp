#include "app/command_line.h"

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
        else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) cl.help = true;
        else if (arg == QLatin1String("--prefs")) value(cl.prefs);
        else if (arg == QLatin1String("--broadcast")) value(cl.broadcast);
        else if (arg.startsWith(QLatin1String("--prefs="))) cl.prefs = arg.mid(8);
        else if (arg.startsWith(QLatin1String("--broadcast="))) cl.broadcast = arg.mid(12);
        else if (arg.startsWith(QLatin1String("-platform")) || arg.startsWith(QLatin1String("-style"))) {
            ++i;  // Qt's own options, taken by QApplication
        } else {
            cl.error = QStringLiteral("unknown option: ") + arg;
        }
        if (!cl.error.isEmpty()) break;
    }
    return cl;
}

QString CommandLine::usage() {
    return QStringLiteral(
        "Usage: velto [--headless] [--prefs DIR] [--connect] [--log] [--log-serial]\n"
        "             [--broadcast ADDR] [--version] [--help]\n"
        "\n"
        "  --headless        run without a window, as a box server\n"
        "  --prefs DIR       read and write the settings files in DIR\n"
        "  --connect         press Connect once start-up has finished\n"
        "  --log             open the activity log (headless: printed on standard output)\n"
        "  --log-serial      open the log and trace the serial line too\n"
        "  --broadcast ADDR  send LAN advertisements to ADDR\n"
        "  --version         print the version and exit\n"
        "  --help            print this text and exit\n");
}

}  // namespace velto
