// The front panel: mode popup and its captions, the four sliders with plus and minus, power and
// join. Each user action is one command on the line, and the box's answer brings nothing back.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

QString face(Rig& rig) {
    return rig->cLabel.text() + "|" + rig->dLabel.text() + "|" + rig->waveDiag.backdrop();
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
        const char* face;  // C's caption, D's caption, the picture
    } rows[] = {
        // Each firmware from its last row up, so that every choice is a change.
        {"2.106", 13, "Jump range|Pulse feel|blank"}, {"2.106", 3, "Pulse speed|Pulse feel|split"},
        {"2.119", 14, "Jump range|Pulse feel|blank"}, {"2.119", 4, "Pulse speed|Pulse feel|split"},
        {"2.119", 3, "Pulse feel|n/a|continuous"},    {"2.119", 2, "Pulse feel|n/a|continuous"},
    };
    Rig older, newer;
    older.connectLogging(QStringLiteral("2.106"));
    newer.connectLogging(QStringLiteral("2.119"));
    for (const auto& row : rows) {
        Rig& rig = QLatin1String(row.firmware) == QLatin1String("2.106") ? older : newer;
        const size_t mark = rig.mark();
        rig->ModeControl.setListIndex(row.index);
        EXPECT_EQ(face(rig), row.face) << row.firmware << " " << row.index;
        rig.advance(20);  // the box's answer sends nothing back
        EXPECT_EQ(rig.commandsSince(mark), QStringList{QStringLiteral("M%1").arg(row.index)});
    }
    // An older box after a newer one: the popup keeps the newer rows, and the one index past
    // the older column changes no caption.
    newer.box().setFirmware(QStringLiteral("2.106"));
    newer.advance(2500);
    const size_t mark = newer.mark();
    newer->ModeControl.setListIndex(14);
    EXPECT_EQ(newer.commandsSince(mark), QStringList{"M14"});
    EXPECT_EQ(face(newer), "Pulse feel|n/a|continuous");
}

TEST(ModePanel, SlidersPlusMinusAndPowerSendTheirCommandAndNothingAtTheBounds) {
    Rig rig;
    rig.connectLogging();
    using M = MainApp;
    Slider* sliders[] = {&rig->channelA, &rig->channelB, &rig->channelC, &rig->channelD};
    Label* numbers[] = {&rig->settingA, &rig->settingB, &rig->settingC, &rig->settingD};
    const struct {
        PushButton M::*button;
        int channel, start, after;
        const char* command;  // nullptr: nothing is sent
    } cases[] = {
        {&M::aMinus, 0, 0, 0, nullptr},    {&M::aPlus, 0, 40, 41, "A41"},
        {&M::bPlus, 1, 99, 100, "B100"},   {&M::bMinus, 1, 0, 0, nullptr},
        {&M::cMinus, 2, 3, 2, "C2"},       {&M::cMinus, 2, 2, 2, nullptr},
        {&M::cPlus, 2, 100, 100, nullptr}, {&M::dMinus, 3, 2, 2, nullptr},
        {&M::dPlus, 3, 50, 51, "D51"},
    };
    for (const auto& c : cases) {
        sliders[c.channel]->setValue(c.start);
        rig.advance(20);
        const size_t mark = rig.mark();
        ((*rig).*c.button).push();
        rig.advance(20);  // sent at once, and the box's answer brings nothing back
        EXPECT_EQ(sliders[c.channel]->value(), c.after) << c.channel << " from " << c.start;
        EXPECT_EQ(numbers[c.channel]->text(), QString::number(c.after));
        EXPECT_EQ(rig.commandsSince(mark), c.command ? QStringList{c.command} : QStringList{});
    }
    // Joined channels are the box's business: the button moves its own channel only.
    rig->joinChannels.setValue(true);
    rig->channelB.setValue(40);
    const size_t mark = rig.mark();
    rig->aMinus.push();
    EXPECT_EQ(rig.commandsSince(mark), QStringList{"A40"});
    EXPECT_EQ(rig->channelB.value(), 40);
    // Power buttons send their letter, unless a reply is being copied in.
    for (const auto& [button, command] :
         {std::pair{&M::powerHi, "H"}, {&M::powerDynamic, "Y"}, {&M::powerLo, "L"}}) {
        const size_t before = rig.mark();
        choose(rig, button);
        EXPECT_EQ(rig.commandsSince(before), QStringList{command});
    }
    rig->systemRefresh = true;
    choose(rig, &M::powerHi);
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"A40", "H", "Y", "L"}));
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
