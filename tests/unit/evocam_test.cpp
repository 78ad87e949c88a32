// Captions for the webcam application: the status caption of each status line, the message
// caption and its clearing, and the caption files used where there is no such application.

#include <gtest/gtest.h>

#include <QFile>
#include <algorithm>
#include <iterator>

#include "platform/caption_files.h"
#include "support/slave_rig.h"

using namespace velto;

namespace {

std::vector<RecordingScriptRunner::Run> messageRuns(const Rig& rig) {
    std::vector<RecordingScriptRunner::Run> out;
    std::copy_if(
        rig.scripts.runs.begin(), rig.scripts.runs.end(), std::back_inserter(out),
        [](const auto& run) { return run.script == QLatin1String(kMessageCaptionScript); });
    return out;
}

}  // namespace

TEST(EvoCamCaptions, StatusCaptionNamesTheModeByFirmwareAndHalvesTheLevels) {
    Rig rig;
    rig->updateEvocam = true;
    rig->evoCamName = QStringLiteral("Desk cam");
    rig->highSpeedEnabled = true;  // no switch of the line: there is no box behind this rig
    const struct {
        const char* line;
        const char* caption;
    } cases[] = {
        // The firmware field of the line itself picks the table: 2.119 has "Intense" at 3.
        {"512:75:40:100:101:3:L:0:2.119", "Intense L A:37.5 B:20 C:50 D:50.5"},
        {"512:0:1:2:3:14:D:1:2.119", "Training D A:0 B:0.5 C:1 D:1.5"},
        // ... and is built anew when the firmware goes back.
        {"512:75:40:100:101:3:L:0:2.118", "Asplit L A:37.5 B:20 C:50 D:50.5"},
        // Seven fields are enough for a caption, though not for the window: last line's firmware.
        {"x:2:4:6:8:1:D", "Bounce D A:1 B:2 C:3 D:4"},
    };
    for (const auto& c : cases) {
        rig.boundary.run([&] { rig->statusRefresh(QString::fromLatin1(c.line)); });
        ASSERT_FALSE(rig.scripts.runs.empty());
        EXPECT_EQ(rig.scripts.runs.back().script, QLatin1String(kStatusCaptionScript));
        EXPECT_EQ(rig.scripts.runs.back().parameters,
                  (QStringList{QString::fromLatin1(c.caption), QStringLiteral("Desk cam")}))
            << c.line;
    }
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
    // A line too short for the caption, or a mode past the table's end, is reported; no caption.
    const size_t runs = rig.scripts.runs.size();
    for (const char* line :
         {"512:75:40:100:101:3", "512:0:0:0:0:14:L:0:2.118", "512:0:0:0:0:-1:L:0:2.118"}) {
        rig.boundary.clearReports();
        rig.boundary.run([&] { rig->statusRefresh(QString::fromLatin1(line)); });
        EXPECT_EQ(rig.boundary.reports().size(), 1) << line;
    }
    EXPECT_EQ(rig.scripts.runs.size(), runs);
    // No camera name: no script at all.
    rig->evoCamName.clear();
    rig->statusRefresh(QStringLiteral("512:0:0:0:0:1:L:0:2.118"));
    EXPECT_EQ(rig.scripts.runs.size(), runs);
}

TEST(EvoCamCaptions, MessageClearsTwentySecondsAfterTheLastOne) {
    SlaveRig s(QStringLiteral("evocam=Cam 1\nevolink=true\n"));
    s.send(";MSG=Hello");  // a TCP peer's line arrives upper-cased
    s.advance(15000 - 1);
    s.send(";MSG=Again");
    s.advance(19990);
    EXPECT_EQ(messageRuns(s).size(), 2u);
    // Cleared 20 s after the second message, for the camera named now.
    s->evoCamName = QStringLiteral("Cam 2");
    s.advance(100);
    const auto messages = messageRuns(s);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[1].parameters, QStringList({"AGAIN", "Cam 1"}));
    EXPECT_EQ(messages[2].parameters, (QStringList{QString(), QStringLiteral("Cam 2")}));
    EXPECT_EQ(messages[2].atMs - messages[1].atMs, 20000);
    s.advance(60000);
    EXPECT_EQ(messageRuns(s).size(), 3u);
    // Captions turned off inside the 20 s leave the message on the picture.
    s.send(";MSG=Stays");
    s->updateEvocam = false;
    s.advance(30000);
    EXPECT_EQ(messageRuns(s).size(), 4u);
    EXPECT_TRUE(s.boundary.reports().isEmpty());
}

TEST(CaptionFiles, CaptionsMessageAndClearingReachTheirFilesWhole) {
    Rig rig;
    CaptionFiles files(rig.platform->preferences);
    rig.platform->scripts = &files;
    rig->updateEvocam = true;
    rig->evoCamName = QStringLiteral("Desk cam");
    const QString status = rig.prefPath(QString::fromLatin1(CaptionFiles::kStatusFile));
    const QString message = rig.prefPath(QString::fromLatin1(CaptionFiles::kMessageFile));
    rig->statusRefresh(QStringLiteral("512:75:40:100:101:0:L:0:2.118"));
    EXPECT_EQ(readText(status), QStringLiteral("Pulse L A:37.5 B:20 C:50 D:50.5"));
    EXPECT_FALSE(QFile::exists(message));
    rig->evoCamMessage(QString::fromUtf8("Grüße from the far end"), rig->evoCamName);
    EXPECT_EQ(readText(message), QString::fromUtf8("Grüße from the far end"));
    rig.advance(20000);
    EXPECT_EQ(readText(message), QString());
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}
