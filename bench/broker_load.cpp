// Load on velto-broker from one process: logs in and links PAIRS masters and slaves over TLS on
// 127.0.0.1, holds them, then relays lines between them, first as fast as the broker takes
// them and then at a fixed rate with each line's time from send to receipt.
//
// Prints broker_pairs, broker_rss_kb_per_conn, broker_lines_per_s, broker_relay_p99_us (and
// the median beside it on standard error). Users are written with a single PBKDF2 iteration:
// the digest's cost is the login's, which is not measured here.

#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "broker/users.h"

namespace {

using velto::broker::Credential;
using velto::broker::Users;

qint64 nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

qint64 rssKb(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

/// CPU time of a process, user and system, in seconds.
double cpuSeconds(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return 0;
    const QByteArray text = stat.readAll();
    const QList<QByteArray> f = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return double(f.value(11).toLongLong() + f.value(12).toLongLong()) / double(sysconf(_SC_CLK_TCK));
}

void progress(const char* text) {
    std::fprintf(stderr, "  %s\n", text);
    std::fflush(stderr);
}

enum class Phase { Linking, Flood, Paced, Drain };

class Load;

/// One TLS client: a master or a slave of a pair.
struct Client {
    Load* load = nullptr;
    int pair = 0;
    bool master = false;
    QSslSocket socket;
    QByteArray buffer;
    bool linked = false;

    QByteArray id() const { return (master ? "m" : "s") + QByteArray::number(pair) + "@bench"; }
    QByteArray peerId() const { return (master ? "s" : "m") + QByteArray::number(pair) + "@bench"; }
    void line(const QByteArray& text) { socket.write(text + "\r\n"); }
};

class Load {
public:
    Load(int pairs, quint16 port, const QSslConfiguration& tls) : port_(port), tls_(tls) {
        clients_.resize(size_t(pairs) * 2);
        for (int i = 0; i < pairs * 2; ++i) {
            auto c = std::make_unique<Client>();
            c->load = this;
            c->pair = i / 2;
            c->master = i % 2 == 1;
            c->socket.setSslConfiguration(tls_);
            Client* raw = c.get();
            QObject::connect(&c->socket, &QIODevice::readyRead, [this, raw] { read(*raw); });
            // As the broker's own sockets: a line goes out when it is written.
            QObject::connect(&c->socket, &QAbstractSocket::connected,
                             [raw] { raw->socket.setSocketOption(QAbstractSocket::LowDelayOption, 1); });
            QObject::connect(&c->socket, &QAbstractSocket::disconnected, [this] { ++dropped_; });
            QObject::connect(&c->socket, &QAbstractSocket::errorOccurred, [this, raw] {
                if (raw->linked) return;
                ++failed_;
                std::fprintf(stderr, "  %s: %s\n", raw->id().constData(), qPrintable(raw->socket.errorString()));
            });
            clients_[size_t(i)] = std::move(c);
        }
    }

    /// Links the pairs, a window of them at a time; the number linked within `limitMs`.
    int link(int limitMs) {
        QElapsedTimer t;
        t.start();
        const int pairs = int(clients_.size() / 2);
        while (linkedPairs_ < pairs && t.elapsed() < limitMs) {
            while (started_ < pairs && started_ - linkedPairs_ - failed_ < kWindow) start(*slave(started_++));
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
            if (failed_ + linkedPairs_ >= pairs) break;
        }
        return linkedPairs_;
    }

    /// Pairs whose two connections are both still up; the traffic goes to these.
    int held() {
        active_.clear();
        for (int p = 0; p < int(clients_.size() / 2); ++p) {
            const Client& s = *slave(p);
            const Client& m = *master(p);
            if (s.linked && m.linked && s.socket.state() == QAbstractSocket::ConnectedState &&
                m.socket.state() == QAbstractSocket::ConnectedState)
                active_.push_back(p);
        }
        return int(active_.size());
    }

    /// Lines relayed a second with `window` lines under way on each of `pairs` pairs.
    double flood(int pairs, int window, int seconds) {
        phase_ = Phase::Flood;
        for (int p = 0; p < pairs; ++p)
            for (int w = 0; w < window; ++w) sender(p).line("T0");
        run(1000);  // warm-up
        const qint64 before = received_;
        QElapsedTimer t;
        t.start();
        run(seconds * 1000);
        const double rate = double(received_ - before) * 1000.0 / double(t.elapsed());
        phase_ = Phase::Drain;
        run(1000);
        return rate;
    }

    /// Sends `rate` lines a second round the pairs for `seconds` after a second of warm-up;
    /// the time of each from send to receipt, in µs, and whether every line arrived.
    std::vector<double> paced(int pairs, int rate, int seconds, qint64* lost) {
        phase_ = Phase::Paced;
        latencies_.clear();
        const qint64 sentBefore = sent_, receivedBefore = received_;
        QTimer tick;
        tick.setTimerType(Qt::PreciseTimer);
        QElapsedTimer t;
        t.start();
        qint64 sent = 0;
        int next = 0;
        QObject::connect(&tick, &QTimer::timeout, [&] {
            const qint64 due = t.elapsed() * rate / 1000;
            for (; sent < due; ++sent, next = (next + 1) % pairs) {
                measuring_ = t.elapsed() >= 1000;
                ++sent_;
                sender(next).line("T" + QByteArray::number(nowNs()));
            }
        });
        tick.start(1);
        run((seconds + 1) * 1000);
        tick.stop();
        phase_ = Phase::Drain;
        // Lines still on their way may arrive late; only those that never do are lost.
        QElapsedTimer drain;
        drain.start();
        while (received_ - receivedBefore < sent_ - sentBefore && drain.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        *lost = (sent_ - sentBefore) - (received_ - receivedBefore);
        return latencies_;
    }

    int dropped() const { return dropped_; }

private:
    static constexpr int kWindow = 64;

    Client* slave(int pair) const { return clients_[size_t(pair) * 2].get(); }
    Client* master(int pair) const { return clients_[size_t(pair) * 2 + 1].get(); }
    /// The n-th pair held. Masters send on even ones, slaves on odd ones: lines go both ways.
    Client& sender(int n) {
        const int pair = active_[size_t(n)];
        return n % 2 ? *slave(pair) : *master(pair);
    }

    void start(Client& c) { c.socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port_); }

    static void run(int ms) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }

    void read(Client& c) {
        c.buffer += c.socket.readAll();
        qsizetype at = 0;
        for (qsizetype end; (end = c.buffer.indexOf("\r\n", at)) >= 0; at = end + 2)
            take(c, QByteArray::fromRawData(c.buffer.constData() + at, end - at));
        c.buffer.remove(0, at);
    }

    void take(Client& c, const QByteArray& line) {
        if (line.startsWith('T')) {
            ++received_;
            if (phase_ == Phase::Paced && measuring_)
                latencies_.push_back(double(nowNs() - line.mid(1).toLongLong()) / 1000.0);
            if (phase_ == Phase::Flood) {
                ++sent_;
                c.line("T0");  // back the other way keeps the window full
            }
        } else if (line.startsWith(";info:")) {
            c.line(";register=" + c.id() + ";1;v2;bench");
        } else if (line.startsWith(";registered:")) {
            if (c.master)
                c.line(";connect=" + c.peerId());
            else
                start(*master(c.pair));
        } else if (line.startsWith(";connect=")) {
            c.line(";accept=" + c.peerId());
        } else if (line == ";connected") {
            c.linked = true;
            if (slave(c.pair)->linked && master(c.pair)->linked) ++linkedPairs_;
        } else if (line.startsWith(";failed") || line == ";busy" || line == ";unavailable") {
            ++failed_;
            std::fprintf(stderr, "  %s: %s\n", c.id().constData(), line.constData());
        }
    }

    quint16 port_;
    QSslConfiguration tls_;
    std::vector<std::unique_ptr<Client>> clients_;
    std::vector<int> active_;
    int started_ = 0, linkedPairs_ = 0, failed_ = 0, dropped_ = 0;
    Phase phase_ = Phase::Linking;
    bool measuring_ = false;
    qint64 sent_ = 0, received_ = 0;
    std::vector<double> latencies_;
};

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    int pairs = 1000, rate = 10000, seconds = 5;
    const QStringList args = app.arguments();
    for (qsizetype i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--pairs")) pairs = args[i + 1].toInt();
        else if (args[i] == QLatin1String("--rate")) rate = args[i + 1].toInt();
        else if (args[i] == QLatin1String("--seconds")) seconds = args[i + 1].toInt();
    }
    if (pairs < 2 || rate < 1 || seconds < 1) {
        std::fprintf(stderr, "usage: broker_load [--pairs N] [--rate LINES_PER_S] [--seconds S]\n");
        return 2;
    }
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }

    QTemporaryDir dir;
    Users users;
    const Credential cheap = Credential::make("1", 1);
    for (int i = 0; i < pairs; ++i) {
        users.set("m" + QByteArray::number(i) + "@bench", cheap);
        users.set("s" + QByteArray::number(i) + "@bench", cheap);
    }
    QFile file(dir.filePath(QStringLiteral("users")));
    if (!file.open(QIODevice::WriteOnly) || file.write(users.text()) < 0) return 1;
    file.close();

    const QString data = QStringLiteral(VELTO_TEST_DATA);
    QProcess broker;
    broker.setStandardErrorFile(dir.filePath(QStringLiteral("broker.log")));
    broker.start(QCoreApplication::applicationDirPath() + QStringLiteral("/velto-broker"),
                 {QStringLiteral("--cert"), data + QStringLiteral("/server.pem"), QStringLiteral("--key"),
                  data + QStringLiteral("/server.key"), QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                  QStringLiteral("--users"), file.fileName()});
    if (!broker.waitForReadyRead(10000)) {
        std::fprintf(stderr, "broker_load: velto-broker did not start\n");
        return 1;
    }
    const QByteArray listening = broker.readLine().trimmed();
    const quint16 port = quint16(listening.mid(listening.lastIndexOf(':') + 1).toUInt());
    QThread::msleep(200);
    const qint64 baseKb = rssKb(broker.processId());

    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.addCaCertificates(data + QStringLiteral("/ca.pem"));
    Load load(pairs, port, tls);
    progress("linking");
    QElapsedTimer linking;
    linking.start();
    const int linked = load.link(120000);
    std::fprintf(stderr, "  %d pairs linked in %.1f s\n", linked, double(linking.elapsed()) / 1000.0);
    QElapsedTimer hold;
    hold.start();
    while (hold.elapsed() < 2000) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    const int held = load.held();
    const qint64 heldKb = rssKb(broker.processId());
    std::printf("broker_pairs %d pairs\n", held);
    if (held > 0) std::printf("broker_rss_kb_per_conn %.1f kB\n", double(heldKb - baseKb) / (2.0 * held));
    std::fprintf(stderr, "  broker RSS %lld kB idle, %lld kB holding %d connections\n", (long long)baseKb,
                 (long long)heldKb, 2 * held);
    std::fflush(stdout);
    if (held < 2) return 1;

    progress("flooding");
    const double cpuBefore = cpuSeconds(broker.processId());
    QElapsedTimer flooding;
    flooding.start();
    const double perSecond = load.flood(std::min(held, 200), 4, seconds);
    std::printf("broker_lines_per_s %.0f lines/s\n", perSecond);
    std::fprintf(stderr, "  the broker used %.0f%% of a core meanwhile\n",
                 100.0 * (cpuSeconds(broker.processId()) - cpuBefore) * 1000.0 / double(flooding.elapsed()));
    std::fflush(stdout);

    std::fprintf(stderr, "  pacing %d lines/s\n", rate);
    qint64 lost = 0;
    const double cpuPaced = cpuSeconds(broker.processId());
    QElapsedTimer pacing;
    pacing.start();
    std::vector<double> us = load.paced(std::min(held, 200), rate, seconds, &lost);
    std::fprintf(stderr, "  the broker used %.0f%% of a core meanwhile\n",
                 100.0 * (cpuSeconds(broker.processId()) - cpuPaced) * 1000.0 / double(pacing.elapsed()));
    if (us.empty() || lost != 0) {
        std::fprintf(stderr, "broker_load: %lld lines lost at %d lines/s\n", (long long)lost, rate);
        return 1;
    }
    std::sort(us.begin(), us.end());
    std::printf("broker_relay_p99_us %.0f us\n", us[us.size() * 99 / 100]);
    std::fprintf(stderr, "  median %.0f us over %zu lines; %d connections dropped\n", us[us.size() / 2], us.size(),
                 load.dropped());
    broker.terminate();
    broker.waitForFinished(5000);
    return 0;
}
