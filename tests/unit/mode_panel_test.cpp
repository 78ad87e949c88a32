// The front panel: mode popup and its captions, the four sliders with plus and minus, power and
// join. Each user action is one command on the line, and the box's answer brings nothing back.

#include <gtest/gtest.h>

#include <iterator>

#include "support/rig.h"

using namespace velto;

namespace {

struct ModeRow {
    const char* name;
    int older, newer;  // -1: the family has no such mode
    const char* c;
    const char* d;
    const char* picture;
    const char* newerPicture;
};

constexpr ModeRow kModes[] = {
    {"Pulse", 0, 0, "Pulse speed", "Pulse feel", "pulse", "pulse"},
    {"Bounce", 1, 1, "Pulse speed", "Pulse feel", "bounce", "bounce"},
    {"Continuous", 2, 2, "Pulse feel", "n/a", "continuous", "continuous"},
    {"Intense", -1, 3, "Pulse feel", "n/a", nullptr, "continuous"},
    {"A Split", 3, 4, "Pulse speed", "Pulse feel", "split", "split"},
    {"B Split", 4, 5, "Pulse speed", "Pulse feel", "split", "split"},
    {"Wave", 5, 6, "Rate change", "Pulse feel", "wave", "wave"},
    {"Waterfall", 6, 7, "Rate change", "Pulse feel", "waterfall", "waterfall"},
    {"Squeeze", 7, 8, "Pulse speed", "Pulse feel", "squeeze", "milk"},
    {"Milk", 8, 9, "Pulse speed", "Pulse feel", "milk", "milk"},
    {"Throb", 9, 10, "Throb range", "n/a", "throb", "throb"},
    {"Thrust", 10, 11, "Thrust range", "n/a", "thrust", "thrust"},
    {"Random", 11, 12, "Randomness", "Pulse feel", "blank", "blank"},
    {"Step", 12, 13, "Step range", "Pulse feel", "blank", "blank"},
    {"Training", 13, 14, "Jump range", "Pulse feel", "blank", "blank"},
};

void expectFace(Rig& rig, const char* c, const char* d, const char* picture) {
    EXPECT_EQ(rig->cLabel.text() + "|" + rig->dLabel.text() + "|" + rig->waveDiag.backdrop(),
              QStringLiteral("%1|%2|%3").arg(c, d, picture));
}

// Chooses a power button as a click in the group does: the others go off first.
void choose(Rig& rig, RadioButton MainApp::*button) {
    for (RadioButton MainApp::*b : {&MainApp::powerHi, &MainApp::powerLo, &MainApp::powerDynamic})
        if (b != button) ((*rig).*b).setValue(false);
    ((*rig).*button).setValue(true);
}

}  // namespace

TEST(ModePanel, ModeChangeSendsTheIndexAndCaptionsFromTheFirmwaresColumn) {
    for (const bool newer : {false, true}) {
        Rig rig;
        if (!newer) {
            // Before any reply the firmware is 0 and the older column holds.
            rig->ModeControl.setListIndex(3);
            expectFace(rig, "Pulse speed", "Pulse feel", "split");
        }
        rig.connectLogging(QLatin1String(newer ? "2.119" : "2.106"));
        ASSERT_EQ(rig->ModeControl.listIndex(), 0);
        // From the last row up, so that every choice is a change.
        for (auto it = std::rbegin(kModes); it != std::rend(kModes); ++it) {
            const int index = newer ? it->newer : it->older;
            if (index < 0) continue;
            const size_t mark = rig.mark();
            rig->ModeControl.setListIndex(index);
            EXPECT_EQ(rig->ModeControl.text(), it->name) << newer;
            EXPECT_EQ(rig->newMode, index);
            EXPECT_EQ(rig.commandsSince(mark), QStringList{QStringLiteral("M%1").arg(index)});
            expectFace(rig, it->c, it->d, newer ? it->newerPicture : it->picture);
            rig.advance(20);  // the box's answer sends nothing back
            EXPECT_EQ(rig.box().mode(), index);
            EXPECT_EQ(rig.commandsSince(mark).size(), 1);
        }
        if (!newer) continue;
        // An older box after a newer one: the popup keeps the newer rows, the captions follow the
        // older column by number, and the one index past that column changes nothing.
        rig.box().setFirmware(QStringLiteral("2.106"));
        rig.advance(2500);
        ASSERT_EQ(rig->ModeControl.listCount(), 15);
        rig->ModeControl.setListIndex(9);
        EXPECT_EQ(rig->ModeControl.text(), "Milk");
        expectFace(rig, "Throb range", "n/a", "throb");
        const size_t mark = rig.mark();
        rig->ModeControl.setListIndex(14);
        EXPECT_EQ(rig.commandsSince(mark), QStringList{"M14"});
        expectFace(rig, "Throb range", "n/a", "throb");
    }
}

TEST(ModePanel, SlidersSendTheirValueAndWriteTheirNumber) {
    Rig rig;
    rig.connectLogging();
    const struct {
        Slider MainApp::*slider;
        Label MainApp::*number;
        const char* command;
        int value;
        int (velto::sim::Sim2B::*onBox)() const;
    } cases[] = {
        {&MainApp::channelA, &MainApp::settingA, "A37", 37, &velto::sim::Sim2B::levelA},
        {&MainApp::channelB, &MainApp::settingB, "B64", 64, &velto::sim::Sim2B::levelB},
        {&MainApp::channelC, &MainApp::settingC, "C12", 12, &velto::sim::Sim2B::settingC},
        {&MainApp::channelD, &MainApp::settingD, "D99", 99, &velto::sim::Sim2B::settingD},
    };
    for (const auto& c : cases) {
        Slider& slider = (*rig).*c.slider;
        const size_t mark = rig.mark();
        rig->elapsedTime = 5;
        slider.setValue(c.value);
        EXPECT_EQ(rig.commandsSince(mark), QStringList{c.command});
        EXPECT_EQ(rig.serial.writes.back().timeMs, rig.clock.nowMs());
        EXPECT_EQ(((*rig).*c.number).text(), QString::number(c.value)) << c.command;
        EXPECT_EQ(rig->elapsedTime, 0);
        rig.advance(20);
        EXPECT_EQ((rig.box().*c.onBox)(), c.value);
        EXPECT_EQ(slider.value(), c.value);
        EXPECT_EQ(rig.commandsSince(mark).size(), 1);
    }
    // Moved while a reply is being copied in: the number follows, the box is not told.
    rig->systemRefresh = true;
    const size_t mark = rig.mark();
    rig->channelB.setValue(10);
    EXPECT_EQ(rig->settingB.text(), QStringLiteral("10"));
    EXPECT_EQ(rig.mark(), mark);
}

TEST(ModePanel, PlusAndMinusStepByOneAndSendNothingAtTheBounds) {
    Rig rig;
    rig.connectLogging();
    const struct {
        PushButton MainApp::*button;
        Slider MainApp::*slider;
        Label MainApp::*number;
        int start, after;
        const char* command;  // nullptr: nothing is sent
    } cases[] = {
        {&MainApp::aPlus, &MainApp::channelA, &MainApp::settingA, 40, 41, "A41"},
        {&MainApp::aMinus, &MainApp::channelA, &MainApp::settingA, 40, 39, "A39"},
        {&MainApp::aMinus, &MainApp::channelA, &MainApp::settingA, 0, 0, nullptr},
        {&MainApp::aPlus, &MainApp::channelA, &MainApp::settingA, 100, 100, nullptr},
        {&MainApp::bPlus, &MainApp::channelB, &MainApp::settingB, 99, 100, "B100"},
        {&MainApp::bMinus, &MainApp::channelB, &MainApp::settingB, 0, 0, nullptr},
        {&MainApp::cMinus, &MainApp::channelC, &MainApp::settingC, 3, 2, "C2"},
        {&MainApp::cMinus, &MainApp::channelC, &MainApp::settingC, 2, 2, nullptr},
        {&MainApp::cPlus, &MainApp::channelC, &MainApp::settingC, 100, 100, nullptr},
        {&MainApp::dMinus, &MainApp::channelD, &MainApp::settingD, 2, 2, nullptr},
        {&MainApp::dPlus, &MainApp::channelD, &MainApp::settingD, 50, 51, "D51"},
    };
    for (const auto& c : cases) {
        Slider& slider = (*rig).*c.slider;
        slider.setValue(c.start);
        const size_t mark = rig.mark();
        ((*rig).*c.button).push();
        EXPECT_EQ(slider.value(), c.after)
            << ((*rig).*c.button).name().toStdString() << " at " << c.start;
        EXPECT_EQ(((*rig).*c.number).text(), QString::number(c.after));
        EXPECT_EQ(rig.commandsSince(mark), c.command ? QStringList{c.command} : QStringList{});
    }
    // Joined channels are the box's business: the button moves its own channel only.
    rig->joinChannels.setValue(true);
    rig->channelB.setValue(40);
    const size_t mark = rig.mark();
    rig->aMinus.push();
    EXPECT_EQ(rig.commandsSince(mark), QStringList{"A99"});
    EXPECT_EQ(rig->channelB.value(), 40);
}

TEST(ModePanel, PowerButtonsSendTheirLetterAndTheBoxZeroesTheOutputs) {
    Rig rig;
    rig.connectLogging(QStringLiteral("2.119"));
    const struct {
        RadioButton MainApp::*button;
        const char* command;
    } cases[] = {{&MainApp::powerHi, "H"}, {&MainApp::powerDynamic, "Y"}, {&MainApp::powerLo, "L"}};
    for (const auto& c : cases) {
        rig->channelA.setValue(30);
        rig.advance(20);
        ASSERT_EQ(rig.box().levelA(), 30);
        const size_t mark = rig.mark();
        choose(rig, c.button);
        EXPECT_EQ(rig.commandsSince(mark), QStringList{c.command});
        rig.advance(20);  // the sliders follow the box's answer and tell it nothing
        EXPECT_EQ(rig->channelA.value(), 0);
        EXPECT_TRUE(((*rig).*c.button).value());
        EXPECT_EQ(rig.commandsSince(mark).size(), 1);
    }
    rig->systemRefresh = true;
    const size_t mark = rig.mark();
    choose(rig, &MainApp::powerHi);
    EXPECT_EQ(rig.mark(), mark);
}

TEST(ModePanel, JoinSendsItsStateOnlyAfterFirmware2104) {
    for (const char* firmware : {"2.000B", "2.104", "2.105", "2.119"}) {
        const bool sends = QLatin1String(firmware) >= QLatin1String("2.105");
        Rig rig;
        rig.connectLogging(QLatin1String(firmware));
        const size_t mark = rig.mark();
        rig->joinChannels.setValue(true);
        rig->joinChannels.setValue(false);
        // Unlike the other handlers, this one does not look at systemRefresh.
        rig->systemRefresh = true;
        rig->joinChannels.setValue(true);
        EXPECT_EQ(rig.commandsSince(mark), sends ? QStringList({"J1", "J0", "J1"}) : QStringList())
            << firmware;
    }
}
