// The main window's model: the front panel (each user action one command on the line, and the
// box's answer brings nothing back), the keys, and the enablement of the menu items.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace Qt::StringLiterals;
using namespace velto::playback_test;

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
    older.connectLogging(u"2.106"_s);
    newer.connectLogging(u"2.119"_s);
    for (const auto& row : rows) {
        Rig& rig = QLatin1String(row.firmware) == QLatin1String("2.106") ? older : newer;
        const size_t mark = rig.mark();
        rig->ModeControl.setListIndex(row.index);
        EXPECT_EQ(face(rig), row.face) << row.firmware << " " << row.index;
        rig.advance(20);  // the box's answer sends nothing back
        EXPECT_EQ(rig.commandsSince(mark), QStringList{u"M%1"_s.arg(row.index)});
    }
    // An older box after a newer one: the popup keeps the newer rows, and the one index past
    // the older column changes no caption.
    newer.box().setFirmware(u"2.106"_s);
    newer.advance(2500);
    const size_t mark = newer.mark();
    newer->ModeControl.setListIndex(14);
    EXPECT_EQ(newer.commandsSince(mark), QStringList{"M14"});
    EXPECT_EQ(face(newer), "Pulse feel|n/a|continuous");
}

TEST(ModePanel, SlidersPlusMinusAndPowerSendTheirCommandAndNothingAtTheBounds) {
    Rig rig;
    rig.connectLogging(u"2.105"_s);
    using M = MainApp;
    Slider* sliders[] = {&rig->channelA, &rig->channelB, &rig->channelC, &rig->channelD};
    const struct {
        PushButton M::*button;
        int channel, start, after;
        const char* command;  // nullptr: nothing is sent
    } cases[] = {
        {&M::aMinus, 0, 0, 0, nullptr},    {&M::bPlus, 1, 99, 100, "B100"},
        {&M::cMinus, 2, 3, 2, "C2"},       {&M::cMinus, 2, 2, 2, nullptr},
        {&M::cPlus, 2, 100, 100, nullptr}, {&M::dPlus, 3, 50, 51, "D51"},
    };
    for (const auto& c : cases) {
        sliders[c.channel]->setValue(c.start);
        rig.advance(20);
        const size_t mark = rig.mark();
        ((*rig).*c.button).push();
        rig.advance(20);  // sent at once, and the box's answer brings nothing back
        EXPECT_EQ(sliders[c.channel]->value(), c.after) << c.channel << " from " << c.start;
        EXPECT_EQ(rig.commandsSince(mark), c.command ? QStringList{c.command} : QStringList{});
    }
    // Join is sent from firmware 2105 on; joining is the box's business: a button moves its own.
    const size_t mark = rig.mark();
    rig->joinChannels.setValue(true);
    rig->channelB.setValue(40);
    rig->aPlus.push();
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"J1", "B40", "A1"}));
    // Power buttons send their letter.
    for (const auto& [button, command] :
         {std::pair{&M::powerHi, "H"}, {&M::powerDynamic, "Y"}, {&M::powerLo, "L"}}) {
        const size_t before = rig.mark();
        choose(rig, button);
        EXPECT_EQ(rig.commandsSince(before), QStringList{command});
    }
    // A reply being copied in stops them, but not the join box's.
    rig->systemRefresh = true;
    choose(rig, &M::powerHi);
    rig->joinChannels.setValue(false);
    EXPECT_EQ(rig.commandsSince(mark), QStringList({"J1", "B40", "A1", "H", "Y", "L", "J0"}));
}

TEST(MainWindow, KeysMoveTheChannelsStepTheModeAndStop) {
    Rig rig;
    rig.box().setFirmware(u"2.104"_s);  // the join box stays a local mark
    rig.connect();
    rig.box().setLevelA(10);
    rig.advance(2500);
    size_t mark = rig.mark();
    for (const char* key : {"+", "u", "<", "x"})
        EXPECT_FALSE(rig->Event_KeyDown(QLatin1String(key))) << key;
    EXPECT_EQ(rig.commandsAfter(mark), QStringList({"A11", "A12", "A11"}));
    // Joined: B follows 500 ms later, through pause; at the top nothing moves, yet it pauses.
    for (const int start : {10, 100}) {
        rig->channelA.setValue(start), rig->channelB.setValue(start);
        rig.advance(100);
        mark = rig.mark();
        rig->joinChannels.setValue(true);  // not sent on this firmware, and its replies untick it
        const qint64 t0 = rig.clock.nowMs();
        rig->Event_KeyDown(u">"_s);
        EXPECT_EQ(rig.clock.nowMs(), t0 + 501);
        EXPECT_EQ(sentSince(rig, mark, t0),
                  start == 10 ? timed("0 A11, 501 B11") : std::vector<Sent>{});
    }
    // N steps the mode round the popup without moving it; the reply does that.
    rig->ModeControl.setListIndex(13);
    rig.advance(100);
    mark = rig.mark();
    rig->Event_KeyDown(u"n"_s);
    EXPECT_EQ(rig->ModeControl.listIndex(), 13);
    EXPECT_EQ(rig.commandsAfter(mark), QStringList{"M0"});
    // K stops: "K", then playbackStop's two; with STOP hidden, only the one.
    mark = rig.mark();
    rig->Event_KeyDown(u"k"_s);
    rig.advance(1000);
    EXPECT_EQ(rig.commandsAfter(mark), QStringList({"K", "K", "K"}));
    rig->allStop.setVisible(false);
    mark = rig.mark();
    rig->Event_KeyDown(u"K"_s);
    rig.advance(1000);
    EXPECT_EQ(rig.commandsAfter(mark), QStringList{"K"});
}

TEST(MainWindow, MenuItemsFollowTheTableOnlyWithAKeyAndALogin) {
    Rig rig;
    rig.open();
    MenuBar& m = rig->MenuBar1;
    auto states = [&m] {
        return std::vector<bool>{m.vbConnect.enabled(), m.vbQuit.enabled(),
                                 m.vbDisconnect.enabled(), m.vbBlock.enabled(),
                                 m.vbRequest.enabled()};
    };
    const std::vector<bool> initial = states();
    m.FileNewmessage.push();  // acts in master only
    EXPECT_FALSE(rig->compose.window.visible());
    rig->systemMode = u"slave"_s;
    rig->brokerID = u"me@example.org"_s;
    rig->brokerPIN = u"1234"_s;
    rig->Event_EnableMenuItems();
    EXPECT_EQ(states(), initial);  // no Connect Key: left as they were
    rig->veltoKey = u"KEY"_s;
    struct Row {
        bool socketUp, brokerConnected;
        const char* mode;
        std::vector<bool> expected;  // connect, quit, disconnect, block, request
    } rows[] = {
        {false, true, "slave", {true, false, false, false, false}},
        {true, false, "slave", {false, true, false, false, true}},
        {true, true, "slave", {false, true, true, true, false}},
        {true, true, "master", {false, true, true, false, false}},
    };
    for (const Row& row : rows) {
        if (row.socketUp && !rig.brokerSocket.isConnected()) rig.peerJoins(rig.brokerSocket);
        rig->brokerConnected = row.brokerConnected;
        rig->systemMode = QString::fromLatin1(row.mode);
        rig->Event_EnableMenuItems();
        EXPECT_EQ(states(), row.expected) << row.mode << row.socketUp << row.brokerConnected;
    }
    // Disconnect wants a connected link, and a key (with both, the main window's view test).
    EXPECT_FALSE(m.disconnect.enabled());
    rig.peerJoins(rig.connectSocket);
    rig->veltoKey.clear();
    rig->Event_EnableMenuItems();
    EXPECT_FALSE(m.disconnect.enabled());
}
