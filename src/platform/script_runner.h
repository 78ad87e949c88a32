#pragma once
// Runs the caption scripts of the webcam application. A script is named by its file name; the
// parameters are the caption's text and the camera's name, in that order. Nothing comes back.

#include <QString>
#include <QStringList>

namespace velto {

/// Sets the status caption of a camera.
inline constexpr const char* kStatusCaptionScript = "EvoCam.scpt";
/// Sets the message caption of a camera; an empty text removes it.
inline constexpr const char* kMessageCaptionScript = "EvoCamMessageCaption.scpt";

class ScriptRunner {
public:
    virtual ~ScriptRunner() = default;
    virtual void run(const QString& script, const QStringList& parameters) = 0;
};

}  // namespace velto
