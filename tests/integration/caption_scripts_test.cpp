// The caption scripts' runner with a shell standing in for the AppleScript interpreter: the
// script is found in the resources folder and gets the text and the camera as its arguments.

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "platform/qt/apple_script_runner.h"
#include "support/rig.h"

namespace velto {
namespace {

TEST(CaptionScripts, RunTheNamedScriptWithTextThenCamera) {
    QTemporaryDir resources;
    QFile script(resources.filePath(QString::fromLatin1(kMessageCaptionScript)));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("printf '%s|%s|%s' \"$#\" \"$1\" \"$2\" > \"$(dirname \"$0\")/out\"\n");
    script.close();

    AppleScriptRunner runner(resources.path(), QStringLiteral("/bin/sh"));
    const auto result = [&] { return readText(resources.filePath(QStringLiteral("out"))); };
    runner.run(kMessageCaptionScript, {"A:37.5 'quoted' text", "Desk cam"});
    EXPECT_EQ(result(), "2|A:37.5 'quoted' text|Desk cam");
    // The clearing: an empty text is still an argument of its own.
    runner.run(kMessageCaptionScript, {QString(), "Desk cam"});
    EXPECT_EQ(result(), "2||Desk cam");
}

}  // namespace
}  // namespace velto
