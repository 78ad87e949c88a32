#pragma once
// The real programs as children of an integration test, on throw-away settings folders, ended
// by their own ids.

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include "run_until.h"

namespace velto {

inline void stop(QProcess& process) {
    if (process.state() == QProcess::NotRunning) return;
    process.terminate();  // SIGTERM: the program quits cleanly
    if (!process.waitForFinished(5000)) process.kill();
    process.waitForFinished(3000);
}

/// `velto` with `options`, its Preferences folder holding `settings` as "veltoprefs.ini", no
/// proxy between it and the stand-ins; its output read while the test waits.
struct VeltoProcess {
    explicit VeltoProcess(const QStringList& options, const QString& settings = {}) {
        QFile file(prefs.filePath(QStringLiteral("veltoprefs.ini")));
        if (!settings.isEmpty() && file.open(QIODevice::WriteOnly)) file.write(settings.toUtf8());
        file.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char* name :
             {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            env.remove(QString::fromLatin1(name));
        env.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(VELTO_APP_PATH),
                      options + QStringList{QStringLiteral("--prefs"), prefs.path()});
    }
    ~VeltoProcess() { stop(process); }

    /// Waits until its standard output or error holds `text`.
    bool said(const QString& text, int timeoutMs = 15000) {
        return runUntil(
            [&] {
                read();
                return out.contains(text) || err.contains(text);
            },
            timeoutMs);
    }
    /// Waits for its end: the exit code, or -1 when it did not end by itself.
    int exitCode() {
        const bool ended = runUntil([&] { return process.state() == QProcess::NotRunning; }, 60000);
        read();
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    void read() {
        out += QString::fromUtf8(process.readAllStandardOutput());
        err += QString::fromUtf8(process.readAllStandardError());
    }

    QTemporaryDir prefs;
    QProcess process;
    QString out, err;
};

}  // namespace velto
