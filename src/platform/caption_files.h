#pragma once
// Captions as text files, for systems without the webcam application: the status caption goes
// to "captions.txt" and the message caption to "message-caption.txt" in the Preferences folder,
// where streaming software can show them as text sources.

#include "platform/preferences.h"
#include "platform/script_runner.h"

namespace velto {

class CaptionFiles final : public ScriptRunner {
public:
    static constexpr const char* kStatusFile = "captions.txt";
    static constexpr const char* kMessageFile = "message-caption.txt";

    explicit CaptionFiles(Preferences preferences) : preferences_(std::move(preferences)) {}

    /// Replaces the file of `script` with the text (the first parameter), all or nothing.
    /// Failures are silent, as the scripts' results are.
    void run(const QString& script, const QStringList& parameters) override;

private:
    Preferences preferences_;
};

}  // namespace velto
