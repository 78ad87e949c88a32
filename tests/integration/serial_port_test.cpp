// The real serial adapter on velto-sim's pseudo-terminal: how it tells a box that went away.

#include <gtest/gtest.h>

#include "platform/qt/qt_serial_port.h"
#include "support/sim_process.h"

using namespace velto;

TEST(QtSerialPort, OpensByNameAndAHungUpLineIsOneErrorThatClosesThePort) {
    SimProcess sim;
    QtSerialPort port;
    QByteArray received;
    int errors = 0;
    port.onDataAvailable = [&] { received += port.readAll(); };
    port.onError = [&] { ++errors; };
    port.setPortName(QStringLiteral("/dev/no-such-port"));
    EXPECT_FALSE(port.open());
    port.setPortName(sim.path);
    ASSERT_TRUE(port.open());
    port.write("V\r");
    port.xmitWait();
    ASSERT_TRUE(runUntil([&] { return received.contains('\n'); }, 5000));
    EXPECT_EQ(received, "700:0:0:100:100:0:L:0:2.106\n");

    // The box goes away: the read finds the line hung up, once, and the port stays shut.
    sim.process.terminate();
    ASSERT_TRUE(sim.process.waitForFinished(5000));
    ASSERT_TRUE(runUntil([&] { return errors > 0; }, 5000));
    EXPECT_FALSE(port.isOpen());
    runUntil([] { return false; }, 300);
    EXPECT_EQ(errors, 1);
    EXPECT_FALSE(port.open());
}
