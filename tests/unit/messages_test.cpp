// Messages between the two users (a master's new message, replies and the links they take), and
// the activity log: its line format, the logging rule, and the life of its window.

#include <gtest/gtest.h>

#include <QLocale>

#include "support/rig.h"

using namespace velto;

TEST(Messages, AMasterComposesAndEachMessageGoesOutOnItsOwnLine) {
    Rig m;
    m.settings(QStringLiteral("mode=master\nhost=127.0.0.1\n"));
    m.connect();
    m.peerJoins(m.remoteControl);
    m.remoteControl.sent.clear();
    m->MenuBar1.FileNewmessage.push();
    m->compose.composeBox.setText(QStringLiteral("Ready: level=3?"));
    m->compose.sendMsg.push();
    EXPECT_FALSE(m->compose.window.visible());
    // The box is empty at the next New message, and an empty box is sent as it is.
    m->MenuBar1.FileNewmessage.push();
    m->compose.sendMsg.push();
    EXPECT_EQ(m.remoteControl.sent, QByteArray(";MSG=Ready: level=3?\r\n;MSG=\r\n"));
    EXPECT_TRUE(m->msgWindow.messageBox.text().isEmpty());  // a sent message isn't kept here
}

TEST(Messages, ARepliesOnlyOnALanOrBrokerLinkAndKeepsATranscript) {
    Rig r;
    r.open();
    MainApp::MessagesWindow& w = r->msgWindow;
    // Only the connect service: nothing at all happens.
    w.msgReply.setText(QStringLiteral("Hello"));
    r.peerJoins(r.connectSocket);
    const qsizetype opening = r.connectSocket.sent.size();
    w.sendReply.push();
    EXPECT_EQ(r.connectSocket.sent.size(), opening);
    EXPECT_TRUE(w.messageBox.text().isEmpty());
    // A LAN peer: the line with CR LF, the field emptied; an empty field then sends nothing.
    r.connectSocket.peerDrops();
    r.peerJoins(r.remoteControl);
    r.remoteControl.sent.clear();
    w.sendReply.push();
    w.sendReply.push();
    EXPECT_EQ(r.remoteControl.sent, QByteArray(";MSG=Hello\r\n"));
    // The broker comes first when it links the two.
    r.peerJoins(r.brokerSocket);
    r->brokerConnected = true;
    w.msgReply.setText(QStringLiteral("Via broker"));
    w.sendReply.push();
    EXPECT_TRUE(r.brokerSocket.sent.endsWith(";MSG=Via broker\r\n"));
    EXPECT_EQ(w.messageBox.text(), QStringLiteral("\rSent: Hello\rSent: Via broker"));
}

TEST(ActivityLog, ALineIsTheLocalLongTimeTheTrimmedTextAndCrLf) {
    Rig rig;
    rig.advance(3723000);  // one hour, two minutes and three seconds after noon
    const QString time = QLocale::system().toString(QTime(13, 2, 3), QLocale::LongFormat);
    ActivityLog& log = rig->activityLog;
    QStringList echoed;
    log.lineLogged.connect([&](const QString& line) { echoed.append(line); });
    log.logItem(QStringLiteral("Connecting to broker\r\n"));
    log.logItem(QStringLiteral("two\rparts\ninside"));
    EXPECT_EQ(log.log.text(), time + QStringLiteral(": Connecting to broker\r\n") + time +
                                  QStringLiteral(": two\rparts\ninside\r\n"));
    EXPECT_EQ(echoed.first(), time + QStringLiteral(": Connecting to broker"));
    // Only the last ten thousand lines are kept.
    for (int i = 0; i < 25000; ++i) log.logItem(QStringLiteral("line ") + QString::number(i));
    EXPECT_LE(log.log.lineCount(), ActivityLog::kMaxLines);
    EXPECT_TRUE(log.log.text().endsWith(QStringLiteral(": line 24999\r\n")));
    EXPECT_TRUE(log.log.text().contains(QStringLiteral(": line 16000\r\n")));
    EXPECT_FALSE(log.log.text().contains(QStringLiteral(": line 9999\r\n")));
}

TEST(ActivityLog, LogsOnlyWhileOpenAndForgetsItsTextWhenClosed) {
    Rig rig;
    rig.connect();
    rig->resetAll();
    EXPECT_TRUE(rig->activityLog.log.text().isEmpty());  // logging is off at start
    rig->_activityToggle_Action();
    rig->resetAll();
    rig->activityLog.logSerial.setValue(true);
    rig.advance(2500);
    EXPECT_EQ(rig.logLines().mid(0, 2),
              QStringList({"Mode change: timers reset", "2B raw 700:0:0:100:100:0:L:0:2.106"}));
    // Off and on again: an empty log, the serial trace unticked.
    rig->_activityToggle_Action();
    rig->_activityToggle_Action();
    EXPECT_TRUE(rig->activityLog.log.text().isEmpty());
    EXPECT_FALSE(rig->activityLog.logSerial.value());
    // The user's close inverts the flag, as the toggle's does.
    rig->activityLog.window.close();
    EXPECT_FALSE(rig->serverLogging);
}
