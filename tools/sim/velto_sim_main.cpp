// velto-sim: a simulated 2B box on a pseudo-terminal, for integration tests, benchmarks and
// trying the program without the hardware. The first line of output is the path to open.

#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <memory>

#include "pty_server.h"
#include "sim_options.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int) {
    stopRequested = 1;
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

int main(int argc, char** argv) {
    using namespace velto::sim;
    QStringList args;
    for (int i = 1; i < argc; ++i) args << QString::fromLocal8Bit(argv[i]);

    Sim2B box;
    SimOptions options;
    const QString error = applyOptions(args, box, options);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "velto-sim: %s\n%s", qPrintable(error), qPrintable(usage()));
        return 2;
    }
    if (options.help) {
        std::fputs(qPrintable(usage()), stdout);
        return 0;
    }
    // A child of a test should not outlive it if the test dies.
    if (options.exitWithParent) prctl(PR_SET_PDEATHSIG, SIGTERM);

    std::unique_ptr<std::FILE, FileCloser> trace;
    if (!options.trace.isEmpty()) {
        trace.reset(std::fopen(qPrintable(options.trace), "a"));
        if (!trace) {
            std::perror("velto-sim: --trace");
            return 1;
        }
        box.onCommand = [file = trace.get()](const QString& command) {
            std::fprintf(file, "%lld %s\n", static_cast<long long>(PtyServer::monotonicUs()),
                         qPrintable(command));
            std::fflush(file);
        };
    }

    // The stop signals stay blocked except while the server waits, so none slips in unseen.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    PtyServer server(box, options.gapMs);
    QString openError;
    if (!server.open(openError)) {
        std::fprintf(stderr, "velto-sim: %s\n", qPrintable(openError));
        return 1;
    }
    std::printf("%s\n", qPrintable(server.slavePath()));
    std::fflush(stdout);
    return server.run(stopRequested);
}
