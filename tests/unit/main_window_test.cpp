// The main window's model: the keys, the enablement of the menu items, and the menu bar.

#include <gtest/gtest.h>

#include "playback_support.h"

using namespace velto;
using namespace velto::playback_test;

TEST(MainWindow, KeysMoveTheChannelsStepTheModeAndStop) {
    Rig rig;
    rig.box().setFirmware(QStringLiteral("2.104"));  // the join box stays a local mark
    rig.connect();
    rig.box().setLevelA(10);
    rig.advance(2500);
    size_t mark = rig.mark();
    for (const char* key : {"+", "u", "<", "x"})
        EXPECT_FALSE(rig->Event_KeyDown(QLatin1String(key))) << key;
    EXPECT_EQ(commandsOnly(sentSince(rig, mark, 0)), QStringList({"A11", "A12", "A11"}));
    // Joined: B follows 500 ms later, through pause, while the event loop runs on. At the top
    // the sliders ignore the step, and the pause still runs.
    for (const int start : {10, 100}) {
        rig->channelA.setValue(start), rig->channelB.setValue(start);
        rig.advance(100);
        rig->joinChannels.setValue(true);  // the box's replies untick it on this firmware
        mark = rig.mark();
        const qint64 t0 = rig.clock.nowMs();
        rig->Event_KeyDown(QStringLiteral(">"));
        EXPECT_EQ(rig.clock.nowMs(), t0 + 501);
        EXPECT_EQ(sentSince(rig, mark, t0),
                  start == 10 ? timed("0 A11, 501 B11") : std::vector<Sent>{});
    }
    // N steps the mode round the popup without moving it; the reply does that.
    rig->joinChannels.setValue(false);
    rig->ModeControl.setListIndex(13);
    rig.advance(100);
    mark = rig.mark();
    rig->Event_KeyDown(QStringLiteral("n"));
    EXPECT_EQ(rig->ModeControl.listIndex(), 13);
    EXPECT_EQ(commandsOnly(sentSince(rig, mark, 0)), QStringList{"M0"});
    rig.advance(50);
    EXPECT_EQ(rig->ModeControl.listIndex(), 0);
    // K stops: "K", then playbackStop's two; with STOP hidden, only the one.
    rig->overrideTimeout = true;
    mark = rig.mark();
    rig->Event_KeyDown(QStringLiteral("k"));
    EXPECT_FALSE(rig->overrideTimeout);
    rig.advance(1000);
    EXPECT_EQ(commandsOnly(sentSince(rig, mark, 0)), QStringList({"K", "K", "K"}));
    rig->allStop.setVisible(false);
    mark = rig.mark();
    rig->Event_KeyDown(QStringLiteral("K"));
    rig.advance(1000);
    EXPECT_EQ(commandsOnly(sentSince(rig, mark, 0)), QStringList{"K"});
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
    // New message acts in master only.
    m.FileNewmessage.push();
    EXPECT_FALSE(rig->compose.window.visible());
    rig->systemMode = QStringLiteral("master");
    m.FileNewmessage.push();
    EXPECT_TRUE(rig->compose.window.visible());
    rig->systemMode = QStringLiteral("slave");
    rig->brokerID = QStringLiteral("me@example.org");
    rig->brokerPIN = QStringLiteral("1234");
    rig->Event_EnableMenuItems();
    EXPECT_EQ(states(), initial);  // no Connect Key: left as they were
    rig->veltoKey = QStringLiteral("KEY");
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
