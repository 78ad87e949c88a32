#pragma once
// Records each script run with its parameters and the clock's time.

#include <vector>

#include "platform/clock.h"
#include "platform/script_runner.h"

namespace velto {

class RecordingScriptRunner final : public ScriptRunner {
public:
    explicit RecordingScriptRunner(const Clock& clock) : clock_(clock) {}

    struct Run {
        QString script;
        QStringList parameters;
        qint64 atMs;
    };

    void run(const QString& script, const QStringList& parameters) override {
        runs.push_back({script, parameters, clock_.nowMs()});
    }

    std::vector<Run> runs;

private:
    const Clock& clock_;
};

}  // namespace velto
