// The front panel: mode popup and its captions, the four sliders with plus and minus, power and
// join. Each user action is one command on the line, and the box's answer brings nothing back.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

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
    const struct {
        const char* firmware;
        int index;
        const char *name, *c, *d, *picture;
    } rows[] = {
        // Each firmware from its last row up, so that every choice is a change.
        {"2.106", 13, "Training", "Jump range", "Pulse feel", "blank"},
        {"2.106", 3, "A Split", "Pulse speed", "Pulse feel", "split"},
        {"2.106", 2, "Continuous", "Pulse feel", "n/a", "continuous"},
        {"2.119", 14, "Training", "Jump range", "Pulse feel", "blank"},
        {"2.119", 8, "Squeeze", "Pulse speed", "Pulse feel", "milk"},
        {"2.119", 4, "A Split", "Pulse speed", "Pulse feel", "split"},
        {"2.119", 3, "Intense", "Pulse feel", "n/a", "continuous"},
        {"2.119", 2, "Continuous", "Pulse feel", "n/a", "continuous"},
    };
    Rig older, newer;
    // Before any reply the firmware is 0 and the older column holds.
    older->ModeControl.setListIndex(3);
    expectFace(older, "Pulse speed", "Pulse feel", "split");
    older.connectLogging(QStringLiteral("2.106"));
    newer.connectLogging(QStringLiteral("2.119"));
    for (const auto& row : rows) {
        Rig& rig = QLatin1String(row.firmware) == QLatin1String("2.106") ? older : newer;
        const size_t mark = rig.mark();
        rig->ModeControl.setListIndex(row.index);
        EXPECT_EQ(rig->ModeControl.text(), row.name) << row.firmware;
        EXPECT_EQ(rig.commandsSince(mark), QStringList{QStringLiteral("M%1").arg(row.index)});
        expectFace(rig, row.c, row.d, row.picture);
        rig.advance(20);  // the box's answer sends nothing back
        EXPECT_EQ(rig.box().mode(), row.index);
        EXPECT_EQ(rig.commandsSince(mark).size(), 1);
    }
    // An older box after a newer one: the popup keeps the newer rows, and the one index past
    // the older column changes no caption.
    newer.box().setFirmware(QStringLiteral("2.106"));
    newer.advance(2500);
    newer->ModeControl.setListIndex(9);
    const size_t mark = newer.mark();
    newer->ModeControl.setListIndex(14);
    EXPECT_EQ(newer.commandsSince(mark), QStringList{"M14"});
    expectFace(newer, "Throb range", "n/a", "throb");
}

TEST(ModePanel, SlidersPlusAndMinusSendTheirValueAndNothingAtTheBounds) {
    Rig rig;
    rig.connectLogging();
    using M = MainApp;
    const struct {
        PushButton M::*button;
        Slider M::*slider;
        Label M::*number;
        int start, after;
        const char* command;  // nullptr: nothing is sent
    } cases[] = {
        {&M::aMinus, &M::channelA, &M::settingA, 0, 0, nullptr},
        {&M::aPlus, &M::channelA, &M::settingA, 40, 41, "A41"},
        {&M::bPlus, &M::channelB, &M::settingB, 99, 100, "B100"},
        {&M::bMinus, &M::channelB, &M::settingB, 0, 0, nullptr},
        {&M::cMinus, &M::channelC, &M::settingC, 3, 2, "C2"},
        {&M::cMinus, &M::channelC, &M::settingC, 2, 2, nullptr},
        {&M::cPlus, &M::channelC, &M::settingC, 100, 100, nullptr},
        {&M::dMinus, &M::channelD, &M::settingD, 2, 2, nullptr},
        {&M::dPlus, &M::channelD, &M::settingD, 50, 51, "D51"},
    };
    for (const auto& c : cases) {
        Slider& slider = (*rig).*c.slider;
        slider.setValue(c.start);
        rig.advance(20);
        const size_t mark = rig.mark();
        ((*rig).*c.button).push();
        rig.advance(20);  // sent at once, and the box's answer brings nothing back
        EXPECT_EQ(slider.value(), c.after) << ((*rig).*c.button).name().toStdString() << c.start;
        EXPECT_EQ(((*rig).*c.number).text(), QString::number(c.after));
        EXPECT_EQ(rig.commandsSince(mark), c.command ? QStringList{c.command} : QStringList{});
    }
    // Joined channels are the box's business: the button moves its own channel only.
    rig->joinChannels.setValue(true);
    rig->channelB.setValue(40);
    const size_t mark = rig.mark();
    rig->aMinus.push();
    EXPECT_EQ(rig.commandsSince(mark), QStringList{"A40"});
    EXPECT_EQ(rig->channelB.value(), 40);
    // Moved while a reply is being copied in: the number follows, the box is not told.
    rig->systemRefresh = true;
    rig->channelB.setValue(10);
    EXPECT_EQ(rig->settingB.text(), QStringLiteral("10"));
    EXPECT_EQ(rig.mark(), mark + 1);
}

TEST(ModePanel, PowerButtonsSendTheirLetterAndTheBoxZeroesTheOutputs) {
    Rig rig;
    rig.connectLogging(QStringLiteral("2.119"));
    for (const auto& [button, command] : {std::pair{&MainApp::powerHi, "H"},
                                          {&MainApp::powerDynamic, "Y"},
                                          {&MainApp::powerLo, "L"}}) {
        rig->channelA.setValue(30);
        rig.advance(20);
        const size_t mark = rig.mark();
        choose(rig, button);
        EXPECT_EQ(rig.commandsSince(mark), QStringList{command});
        rig.advance(20);  // the sliders follow the box's answer and tell it nothing
        EXPECT_EQ(rig->channelA.value(), 0);
        EXPECT_EQ(rig.commandsSince(mark).size(), 1);
    }
    rig->systemRefresh = true;
    const size_t mark = rig.mark();
    choose(rig, &MainApp::powerHi);
    EXPECT_EQ(rig.mark(), mark);
}

TEST(ModePanel, JoinSendsItsStateOnlyAfterFirmware2104) {
    for (const auto& [firmware, sends] : {std::pair{"2.104", false}, {"2.105", true}}) {
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
