#include "sim_options.h"

namespace velto::sim {

namespace {

bool number(const QString& text, int& out) {
    bool ok = false;
    out = text.toInt(&ok);
    return ok;
}

}  // namespace

QString applyOptions(const QStringList& args, Sim2B& box, SimOptions& options) {
    using Fault = Sim2B::Fault;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        // Options that take a value.
        if (arg == QLatin1String("--firmware") || arg == QLatin1String("--battery") ||
            arg == QLatin1String("--drop") || arg == QLatin1String("--trace") ||
            arg == QLatin1String("--gap")) {
            if (i + 1 == args.size()) return arg + QStringLiteral(" needs a value");
            const QString& value = args[++i];
            int n = 0;
            if (arg == QLatin1String("--firmware")) {
                box.setFirmware(value);
            } else if (arg == QLatin1String("--trace")) {
                options.trace = value;
            } else if (!number(value, n) || (n < 0 && arg != QLatin1String("--battery"))) {
                return QStringLiteral("bad number for %1: %2").arg(arg, value);
            } else if (arg == QLatin1String("--battery")) {
                box.setBattery(n);
            } else if (arg == QLatin1String("--drop")) {
                box.inject(Fault::DropReply, n);
            } else {
                options.gapMs = n;
            }
        } else if (arg == QLatin1String("--bad-length")) {
            box.inject(Fault::BadLength);
        } else if (arg == QLatin1String("--lone-question")) {
            box.inject(Fault::LoneQuestion);
        } else if (arg == QLatin1String("--split")) {
            box.inject(Fault::SplitReply);
        } else if (arg == QLatin1String("--double")) {
            box.inject(Fault::DoubleReply);
        } else if (arg == QLatin1String("--wrong-level")) {
            box.inject(Fault::WrongLevel);
        } else if (arg == QLatin1String("--exit-with-parent")) {
            options.exitWithParent = true;
        } else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            options.help = true;
        } else {
            return QStringLiteral("unknown option: ") + arg;
        }
    }
    return {};
}

QString usage() {
    return QStringLiteral(
        "Usage: velto-sim [options]\n"
        "Serves a simulated 2B box on a new pseudo-terminal and prints its path first.\n"
        "\n"
        "  --firmware TEXT   firmware text of the box (default 2.106)\n"
        "  --battery N       raw battery value (default 700)\n"
        "  --drop N          send no answer to the next N commands\n"
        "  --bad-length      answer once with eight fields\n"
        "  --lone-question   answer once with a lone \"?\" line\n"
        "  --split           send one answer in two writes, --gap ms apart\n"
        "  --double          hold one answer back and send it with the next, in one write\n"
        "  --wrong-level     take no notice of the next A/B/C/D command and answer one off\n"
        "  --gap MS          time between the writes of a split answer (default 20)\n"
        "  --trace FILE      append \"microseconds command\" for each command taken\n"
        "                    (CLOCK_MONOTONIC)\n"
        "  --exit-with-parent\n"
        "                    end when the parent process ends\n"
        "  --help            this text\n"
        "Each fault option may be given more than once to arm it that many times.\n"
        "The box answers only while the line's speed matches its own rate: 9600 baud,\n"
        "57600 after \"Z\". SIGINT or SIGTERM ends it.\n");
}

}  // namespace velto::sim
