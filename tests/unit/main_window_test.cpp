// The main window's model: the keys, the enablement of the menu items, and the menu bar.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {
/// The commands written since `mark`, the polls left out, and when each left.
QStringList sentSince(const Rig& rig, size_t mark, std::vector<qint64>* times = nullptr) {
    QStringList out;
    for (size_t i = mark; i < rig.serial.writes.size(); ++i) {
        const QString c = QString::fromLatin1(rig.serial.writes[i].bytes).trimmed();
        if (c == QLatin1String("V")) continue;
        out.append(c);
        if (times) times->push_back(rig.serial.writes[i].timeMs);
    }
    return out;
}
}  // namespace

TEST(MainWindow, KeysMoveTheChannelsStepTheModeAndStop) {
    Rig rig;
    rig.box().setFirmware(QStringLiteral("2.104"));  // the join box stays a local mark
    rig.connect();
    rig.box().setLevelA(10);
    rig.advance(2500);
    size_t mark = rig.mark();
    for (const char* key : {"+", "u", "<", "x"})
        EXPECT_FALSE(rig->Event_KeyDown(QLatin1String(key))) << key;
    EXPECT_EQ(sentSince(rig, mark), QStringList({"A11", "A12", "A11"}));
    // Joined: B follows 500 ms later, through pause, while the event loop runs on. At the top
    // the sliders ignore the step, and the pause still runs.
    for (const int start : {10, 100}) {
        rig->channelA.setValue(start), rig->channelB.setValue(start);
        rig.advance(100);
        rig->joinChannels.setValue(true);  // the box's replies untick it on this firmware
        mark = rig.mark();
        const qint64 t0 = rig.clock.nowMs();
        std::vector<qint64> at;
        rig->Event_KeyDown(QStringLiteral(">"));
        EXPECT_EQ(rig.clock.nowMs(), t0 + 501);
        EXPECT_EQ(sentSince(rig, mark, &at),
                  start == 10 ? QStringList({"A11", "B11"}) : QStringList());
        EXPECT_EQ(at, (start == 10 ? std::vector<qint64>{t0, t0 + 501} : std::vector<qint64>{}));
    }
    // N steps the mode round the popup without moving it; the reply does that.
    rig->joinChannels.setValue(false);
    rig->ModeControl.setListIndex(13);
    rig.advance(100);
    mark = rig.mark();
    rig->Event_KeyDown(QStringLiteral("n"));
    EXPECT_EQ(rig->ModeControl.listIndex(), 13);
    EXPECT_EQ(sentSince(rig, mark), QStringList{"M0"});
    rig.advance(50);
    EXPECT_EQ(rig->ModeControl.listIndex(), 0);
    // K stops: "K", then playbackStop's two; with STOP hidden, only the one.
    rig->overrideTimeout = true;
    mark = rig.mark();
    rig->Event_KeyDown(QStringLiteral("k"));
    EXPECT_FALSE(rig->overrideTimeout);
    rig.advance(1000);
    EXPECT_EQ(sentSince(rig, mark), QStringList({"K", "K", "K"}));
    rig->allStop.setVisible(false);
    mark = rig.mark();
    rig->Event_KeyDown(QStringLiteral("K"));
    rig.advance(1000);
    EXPECT_EQ(sentSince(rig, mark), QStringList{"K"});
}

TEST(MainWindow, BrokerItemsFollowTheTableOnlyWithAKeyAndALogin) {
    Rig rig;
    rig.open();
    MenuBar& m = rig->MenuBar1;
    auto states = [&m] {
        return std::vector<bool>{m.vbConnect.enabled(), m.vbQuit.enabled(),
                                 m.vbDisconnect.enabled(), m.vbBlock.enabled(),
                                 m.vbRequest.enabled()};
    };
    const std::vector<bool> initial = states();
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
    rig->systemMode = QStringLiteral("solo");
    m.vbConnect.setEnabled(false);
    rig->Event_EnableMenuItems();
    EXPECT_FALSE(m.vbConnect.enabled());  // solo touches none of the five
    // Disconnect: a key and a connected link both needed.
    EXPECT_FALSE(m.disconnect.enabled());
    rig.peerJoins(rig.connectSocket);
    rig->Event_EnableMenuItems();
    EXPECT_TRUE(m.disconnect.enabled());
    rig->veltoKey.clear();
    rig->Event_EnableMenuItems();
    EXPECT_FALSE(m.disconnect.enabled());
}

TEST(MainWindow, NewMessageActsInMasterOnly) {
    Rig rig;
    rig.open();
    rig->MenuBar1.FileNewmessage.push();
    EXPECT_FALSE(rig->compose.window.visible());
    rig->systemMode = QStringLiteral("master");
    rig->MenuBar1.FileNewmessage.push();
    EXPECT_TRUE(rig->compose.window.visible());
}
