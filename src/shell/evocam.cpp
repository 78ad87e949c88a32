// Captions on the picture of the webcam application: the box's state with each status line, and
// a peer's message for 20 seconds. They are carried by the platform's script runner.

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

namespace {

void runCaptionScript(ScriptRunner* scripts, const char* script, const QString& text,
                      const QString& camera) {
    if (scripts) scripts->run(QString::fromLatin1(script), {text, camera});
}

}  // namespace

void MainApp::evoCamCaption(const QString& status, const QString& camera) {
    const QStringList field = Split(status, QStringLiteral(":"));
    // The names the box reports by, which a new firmware may have changed since the last line.
    const QStringList names = modeTable(true);
    auto half = [&field](qsizetype i) { return Str(Val(at(field, i)) / 2.0); };
    const QString caption = at(names, ValInt(at(field, 5))) + QStringLiteral(" ") + at(field, 6) +
                            QStringLiteral(" A:") + half(1) + QStringLiteral(" B:") + half(2) +
                            QStringLiteral(" C:") + half(3) + QStringLiteral(" D:") + half(4);
    runCaptionScript(p_.scripts, kStatusCaptionScript, caption, camera);
}

void MainApp::evoCamMessage(const QString& text, const QString& camera) {
    runCaptionScript(p_.scripts, kMessageCaptionScript, text, camera);
    captionTimer.setPeriod(20000);
    captionTimer.setMode(Timer::Single);
    // A message that comes while the last one shows gets its own 20 seconds.
    captionTimer.reset();
}

void MainApp::captionTimer_Action() {
    // Captions turned off meanwhile leave the message where it is.
    if (updateEvocam && !evoCamName.isEmpty())
        runCaptionScript(p_.scripts, kMessageCaptionScript, QString(), evoCamName);
}

}  // namespace velto
