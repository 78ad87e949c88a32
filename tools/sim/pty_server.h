#pragma once
// Serves a Sim2B on a pseudo-terminal. The server holds a slave descriptor of its own, so the
// line survives a client closing and reopening it, and it reads the line's speed from there: a
// client set to a rate other than the box's gets no answer, as on a real line.

#include <QByteArray>
#include <QString>
#include <csignal>
#include <deque>

#include "sim2b.h"

namespace velto::sim {

class PtyServer {
public:
    PtyServer(Sim2B& box, int gapMs) : box_(box), gapUs_(qint64(gapMs) * 1000) {}
    ~PtyServer();
    PtyServer(const PtyServer&) = delete;
    PtyServer& operator=(const PtyServer&) = delete;

    /// Creates the pseudo-terminal; on failure `error` says why.
    bool open(QString& error);
    /// The path a client opens.
    const QString& slavePath() const { return slavePath_; }

    /// Serves until `stop` becomes non-zero. The signals that set it must be blocked by the
    /// caller; they are let through only while the server waits, so none is missed. Returns
    /// the process exit code.
    int run(const volatile std::sig_atomic_t& stop);

    /// CLOCK_MONOTONIC in microseconds.
    static qint64 monotonicUs();

private:
    struct Pending {
        qint64 dueUs;
        QByteArray bytes;
    };
    bool readCommands(QString& error);
    void writeDue();
    int lineBaud() const;
    /// The line's rate at the last read.
    int lastBaud_ = 0;

    Sim2B& box_;
    qint64 gapUs_;
    int master_ = -1;
    int slave_ = -1;
    QString slavePath_;
    std::deque<Pending> pending_;
};

}  // namespace velto::sim
