#pragma once
// The caption scripts as compiled AppleScripts in the application bundle's "Resources" folder,
// each run by the system's script interpreter with the parameters as its arguments.

#include "platform/script_runner.h"

namespace velto {

class AppleScriptRunner final : public ScriptRunner {
public:
    /// `resources`: the folder of the compiled scripts.
    explicit AppleScriptRunner(QString resources,
                               QString interpreter = QStringLiteral("/usr/bin/osascript"))
        : resources_(std::move(resources)), interpreter_(std::move(interpreter)) {}

    /// The bundle's "Resources": the executable's folder (Contents/MacOS), its parent, "Resources".
    static QString bundleResources();

    /// Runs "<resources>/<script> <text> <camera>" and waits for it to end. The result isn't used.
    void run(const QString& script, const QStringList& parameters) override;

    /// How long a script may hold the event loop before it is ended.
    static constexpr int kTimeLimitMs = 5000;

private:
    QString resources_;
    QString interpreter_;
};

}  // namespace velto
