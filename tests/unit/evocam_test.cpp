// Captions for the webcam application, and the caption files used where there is none.

#include <gtest/gtest.h>

#include "platform/caption_files.h"
#include "support/slave_rig.h"

using namespace velto;

TEST(EvoCamCaptions, StatusCaptionNamesTheModeByFirmwareAndHalvesTheLevelsInScriptOrFile) {
    Rig rig;
    rig->updateEvocam = true;
    rig->evoCamName = QStringLiteral("Desk cam");
    rig->highSpeedEnabled = true;  // no switch of the line: there is no box behind this rig
    // The line's own firmware field picks the table (2.119 has "Intense" at 3), built anew when
    // it goes back. Seven fields make a caption, though not a window line: the last firmware.
    const std::pair<const char*, const char*> cases[] = {
        {"512:75:40:100:101:3:L:0:2.119", "Intense L A:37.5 B:20 C:50 D:50.5"},
        {"512:0:1:2:3:14:D:1:2.119", "Training D A:0 B:0.5 C:1 D:1.5"},
        {"512:75:40:100:101:3:L:0:2.118", "Asplit L A:37.5 B:20 C:50 D:50.5"},
        {"x:2:4:6:8:1:D", "Bounce D A:1 B:2 C:3 D:4"},
    };
    for (const auto& [line, caption] : cases) {
        rig->statusRefresh(QString::fromLatin1(line));
        ASSERT_FALSE(rig.scripts.runs.empty());
        EXPECT_EQ(rig.scripts.runs.back().parameters,
                  (QStringList{QString::fromLatin1(caption), QStringLiteral("Desk cam")}));
    }
    // A line too short for the caption, or a mode past either end of the table, is reported.
    const size_t runs = rig.scripts.runs.size();
    for (const char* line : {"5:7:4:1:1:3", "5:0:0:0:0:14:L:0:2.118", "5:0:0:0:0:-1:L:0:2.118"})
        rig.boundary.run([&] { rig->statusRefresh(QString::fromLatin1(line)); });
    EXPECT_EQ(rig.boundary.reports().size(), 3);
    rig->evoCamName.clear();  // no camera name: no script at all
    rig->statusRefresh(QStringLiteral("512:0:0:0:0:1:L:0:2.118"));
    EXPECT_EQ(rig.scripts.runs.size(), runs);
    // Where there is no webcam application the captions go to their files (by script), whole.
    CaptionFiles files(rig.platform->preferences);
    rig.platform->scripts = &files;
    rig->evoCamName = QStringLiteral("Desk cam");
    rig->statusRefresh(QStringLiteral("512:75:40:100:101:0:L:0:2.118"));
    EXPECT_EQ(readText(rig.prefPath(QString::fromLatin1(CaptionFiles::kStatusFile))),
              QStringLiteral("Pulse L A:37.5 B:20 C:50 D:50.5"));
    rig->evoCamMessage(QString::fromUtf8("Grüße from the far end"), rig->evoCamName);
    EXPECT_EQ(readText(rig.prefPath(QString::fromLatin1(CaptionFiles::kMessageFile))),
              QString::fromUtf8("Grüße from the far end"));
}

TEST(EvoCamCaptions, MessageClearsTwentySecondsAfterTheLastOne) {
    SlaveRig s(QStringLiteral("evocam=Cam 1\nevolink=true\n"));
    const auto messageRuns = [&] {
        std::vector<RecordingScriptRunner::Run> out;
        for (const auto& run : s.scripts.runs)
            if (run.script == QLatin1String(kMessageCaptionScript)) out.push_back(run);
        return out;
    };
    s.send(";MSG=Hello");  // a TCP peer's line arrives upper-cased
    s.advance(15000 - 1);
    s.send(";MSG=Again");
    s.advance(19990);
    // Cleared 20 s after the second message, for the camera named now.
    s->evoCamName = QStringLiteral("Cam 2");
    s.advance(100);
    const auto messages = messageRuns();
    EXPECT_EQ(messages.at(1).parameters, QStringList({"AGAIN", "Cam 1"}));
    EXPECT_EQ(messages.at(2).parameters, (QStringList{QString(), QStringLiteral("Cam 2")}));
    EXPECT_EQ(messages[2].atMs - messages[1].atMs, 20000);
    s.advance(60000);
    EXPECT_EQ(messageRuns().size(), 3u);  // once only
}
