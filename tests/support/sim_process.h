#pragma once
// velto-sim in a child process for the integration tests: its pseudo-terminal's path, and the
// commands the box took from its trace file.

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <utility>
#include <vector>

#include "support/run_until.h"

namespace velto {

struct SimProcess {
    explicit SimProcess(const QStringList& options = {}) {
        process.setProgram(QStringLiteral(VELTO_SIM_PATH));
        process.setArguments(options + QStringList{QStringLiteral("--trace"),
                                                   dir.filePath(QStringLiteral("trace")),
                                                   QStringLiteral("--exit-with-parent")});
        process.start();
        runUntil([&] { return process.canReadLine(); }, 5000);
        path = QString::fromLocal8Bit(process.readLine()).trimmed();
    }
    ~SimProcess() {
        process.terminate();
        if (!process.waitForFinished(3000)) process.kill(), process.waitForFinished(3000);
    }
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    /// The commands the box took, each with its CLOCK_MONOTONIC stamp in µs.
    std::vector<std::pair<qint64, QString>> stamped() const {
        QFile file(dir.filePath(QStringLiteral("trace")));
        std::vector<std::pair<qint64, QString>> out;
        if (!file.open(QIODevice::ReadOnly)) return out;
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.isEmpty()) continue;
            const qsizetype space = line.indexOf(' ');
            out.emplace_back(line.left(space).toLongLong(),
                             space < 0 ? QString() : QString::fromLatin1(line.mid(space + 1)));
        }
        return out;
    }
    QStringList commands() const {
        QStringList out;
        for (const auto& [stamp, command] : stamped()) out.append(command);
        return out;
    }
    /// Waits until the box has taken `command`.
    bool took(const QString& command, int timeoutMs = 5000) const {
        return runUntil([&] { return commands().contains(command); }, timeoutMs);
    }

    QTemporaryDir dir;
    QProcess process;
    QString path;
};

}  // namespace velto
