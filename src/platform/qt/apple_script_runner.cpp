#include "platform/qt/apple_script_runner.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

namespace velto {

QString AppleScriptRunner::bundleResources() {
    QDir contents(QCoreApplication::applicationDirPath());
    contents.cdUp();
    return contents.filePath(QStringLiteral("Resources"));
}

void AppleScriptRunner::run(const QString& script, const QStringList& parameters) {
    QProcess process;
    // The script's printed result is not used, and would only clutter the program's output.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(interpreter_, QStringList{QDir(resources_).filePath(script)} + parameters);
    // Synchronous, as each caption is; a camera application that hangs must not hang us with it.
    if (process.waitForStarted() && !process.waitForFinished(kTimeLimitMs)) {
        process.kill();
        process.waitForFinished();
    }
}

}  // namespace velto
