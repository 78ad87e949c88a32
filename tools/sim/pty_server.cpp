#include "pty_server.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <pthread.h>
#include <signal.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace velto::sim {

namespace {

int baudOf(speed_t speed) {
    switch (speed) {
        case B1200:
            return 1200;
        case B2400:
            return 2400;
        case B4800:
            return 4800;
        case B9600:
            return 9600;
        case B19200:
            return 19200;
        case B38400:
            return 38400;
        case B57600:
            return 57600;
        case B115200:
            return 115200;
        default:
            return 0;
    }
}

QString systemError(const char* what) {
    return QStringLiteral("%1: %2").arg(QLatin1String(what),
                                        QString::fromLocal8Bit(std::strerror(errno)));
}

}  // namespace

PtyServer::~PtyServer() {
    if (slave_ >= 0) ::close(slave_);
    if (master_ >= 0) ::close(master_);
}

qint64 PtyServer::monotonicUs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return qint64(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

bool PtyServer::open(QString& error) {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (master_ < 0) return error = systemError("posix_openpt"), false;
    if (grantpt(master_) != 0) return error = systemError("grantpt"), false;
    if (unlockpt(master_) != 0) return error = systemError("unlockpt"), false;
    char name[128] = {};
    if (ptsname_r(master_, name, sizeof name) != 0) return error = systemError("ptsname"), false;
    slavePath_ = QString::fromLocal8Bit(name);
    slave_ = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave_ < 0) return error = systemError("open slave"), false;
    // A raw 8N1 line at the box's starting rate, until a client sets its own.
    termios tio{};
    if (tcgetattr(slave_, &tio) != 0) return error = systemError("tcgetattr"), false;
    cfmakeraw(&tio);
    tio.c_cflag |= CLOCAL | CREAD;
    cfsetispeed(&tio, B9600);
    cfsetospeed(&tio, B9600);
    if (tcsetattr(slave_, TCSANOW, &tio) != 0) return error = systemError("tcsetattr"), false;
    return true;
}

int PtyServer::lineBaud() const {
    termios tio{};
    if (tcgetattr(slave_, &tio) != 0) return 0;
    return baudOf(cfgetospeed(&tio));
}

int PtyServer::run(const volatile std::sig_atomic_t& stop) {
    sigset_t waitMask;
    pthread_sigmask(SIG_SETMASK, nullptr, &waitMask);
    sigdelset(&waitMask, SIGINT);
    sigdelset(&waitMask, SIGTERM);
    while (!stop) {
        timespec timeout{};
        timespec* wait = nullptr;
        if (!pending_.empty()) {
            const qint64 left = std::max<qint64>(0, pending_.front().dueUs - monotonicUs());
            timeout.tv_sec = left / 1000000;
            timeout.tv_nsec = (left % 1000000) * 1000;
            wait = &timeout;
        }
        pollfd pfd{master_, POLLIN, 0};
        const int ready = ppoll(&pfd, 1, wait, &waitMask);
        if (ready < 0 && errno != EINTR) {
            std::fprintf(stderr, "velto-sim: %s\n", qPrintable(systemError("poll")));
            return 1;
        }
        if (ready > 0 && (pfd.revents & (POLLIN | POLLHUP | POLLERR))) {
            QString error;
            if (!readCommands(error)) {
                std::fprintf(stderr, "velto-sim: %s\n", qPrintable(error));
                return 1;
            }
        }
        writeDue();
    }
    return 0;
}

bool PtyServer::readCommands(QString& error) {
    char buffer[4096];
    const ssize_t n = ::read(master_, buffer, sizeof buffer);
    if (n < 0) {
        // EIO would mean no slave is open, which our own descriptor rules out.
        if (errno == EAGAIN || errno == EINTR) return true;
        error = systemError("read");
        return false;
    }
    QByteArray bytes(buffer, n);
    const int baud = lineBaud();
    std::vector<QByteArray> chunks;
    // A pty tells only the rate now, not the rate bytes were written at. The switch command that
    // a program writes just before it changes the rate may be read after the change (a busy
    // machine lets the program run first): it was written at the rate of the last read, and a
    // real line would have carried it at that rate.
    static const QByteArray kSwitch = QByteArrayLiteral("Z\r");
    if (lastBaud_ != 0 && baud != lastBaud_ && bytes.startsWith(kSwitch)) {
        chunks = box_.receiveAt(lastBaud_, kSwitch);
        bytes.remove(0, kSwitch.size());
    }
    lastBaud_ = baud;
    for (QByteArray& chunk : box_.receiveAt(baud, bytes)) chunks.push_back(std::move(chunk));
    const qint64 now = monotonicUs();
    for (const QByteArray& chunk : chunks) {
        // Pieces of one answer, or answers to commands sent together, go out one gap apart.
        const qint64 due = pending_.empty() ? now : std::max(now, pending_.back().dueUs + gapUs_);
        pending_.push_back({due, chunk});
    }
    return true;
}

void PtyServer::writeDue() {
    const qint64 now = monotonicUs();
    while (!pending_.empty() && pending_.front().dueUs <= now) {
        const QByteArray bytes = pending_.front().bytes;
        pending_.pop_front();
        // A box transmits whether or not anyone listens: what the line can't take is lost.
        qsizetype done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::write(master_, bytes.constData() + done, bytes.size() - done);
            if (n <= 0) break;
            done += n;
        }
    }
}

}  // namespace velto::sim
