// One set of expectations for every SerialPort: the in-memory fake with the simulated box behind
// it in virtual time, and the Qt port on a pseudo-terminal served by velto-sim. The fake is what
// the unit tests trust, so whatever the real line does that it doesn't shows up here.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QTimer>
#include <algorithm>
#include <memory>

#include "platform/qt/qt_serial_port.h"
#include "platform/virtual_clock.h"
#include "sim_options.h"
#include "support/sim_link.h"

namespace velto {
namespace {

constexpr int kWaitMs = 5000;
const QString kNoSuchPort = QStringLiteral("/dev/velto-no-such-port");

/// A serial port with a box on the far end, and a way to let time pass for it.
class Bench {
public:
    virtual ~Bench() = default;
    /// Starts a box with velto-sim's options; returns the name of its port.
    virtual QString start(const QStringList& options) = 0;
    virtual SerialPort& port() = 0;
    /// Runs events until `done` holds or `timeoutMs` have passed; returns done().
    virtual bool runUntil(const std::function<bool()>& done, int timeoutMs) = 0;
    /// The box goes away.
    virtual void unplug() = 0;
};

class FakeBench final : public Bench {
public:
    QString start(const QStringList& options) override {
        link_ = std::make_unique<SimLink>(port_, clock_);
        sim::SimOptions parsed;
        const QString error = sim::applyOptions(options, link_->box, parsed);
        EXPECT_TRUE(error.isEmpty()) << error.toStdString();
        link_->gapMs = parsed.gapMs;
        port_.existing = {QStringLiteral("/dev/sim2b")};
        return QStringLiteral("/dev/sim2b");
    }
    SerialPort& port() override { return port_; }
    bool runUntil(const std::function<bool()>& done, int timeoutMs) override {
        const qint64 end = clock_.nowMs() + timeoutMs;
        while (!done() && clock_.nowMs() < end) clock_.advance(1);
        return done();
    }
    void unplug() override { port_.vanish(); }

private:
    VirtualClock clock_;
    FakeSerialPort port_{clock_};
    std::unique_ptr<SimLink> link_;
};

class PtyBench final : public Bench {
public:
    ~PtyBench() override {
        port_.close();
        stopSim();
    }
    QString start(const QStringList& options) override {
        sim_.setProgram(QStringLiteral(VELTO_SIM_PATH));
        sim_.setArguments(options + QStringList{"--exit-with-parent"});
        sim_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        sim_.start();
        QDeadlineTimer deadline(kWaitMs);
        while (!sim_.canReadLine() && !deadline.hasExpired())
            if (!sim_.waitForReadyRead(int(deadline.remainingTime()))) break;
        const QString path = QString::fromLocal8Bit(sim_.readLine()).trimmed();
        EXPECT_FALSE(path.isEmpty()) << "velto-sim printed no path";
        return path;
    }
    SerialPort& port() override { return port_; }
    bool runUntil(const std::function<bool()>& done, int timeoutMs) override {
        QDeadlineTimer deadline(timeoutMs, Qt::PreciseTimer);
        QTimer wake;  // ends the last wait at the deadline
        wake.setSingleShot(true);
        wake.setTimerType(Qt::PreciseTimer);
        while (!done() && !deadline.hasExpired()) {
            wake.start(int(std::max<qint64>(1, deadline.remainingTime())));
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return done();
    }
    void unplug() override { stopSim(); }

private:
    void stopSim() {
        if (sim_.state() == QProcess::NotRunning) return;
        sim_.terminate();
        if (!sim_.waitForFinished(kWaitMs)) sim_.kill(), sim_.waitForFinished(kWaitMs);
    }

    QProcess sim_;
    QtSerialPort port_;
};

template <class B>
class SerialContract : public testing::Test {
protected:
    void SetUp() override {
        port().onDataAvailable = [this] { reads.push_back(port().readAll()); };
        port().onError = [this] { ++errors; };
    }
    SerialPort& port() { return bench.port(); }

    void plugIn(const QStringList& options = {}) { openOn(bench.start(options)); }
    void openOn(const QString& name) {
        port().setPortName(name);
        port().setBaudRate(9600);
        ASSERT_TRUE(port().open());
    }
    void send(const QByteArray& command) {
        port().write(command + '\r');
        port().xmitWait();
        port().flush();
    }
    QByteArray received() const {
        QByteArray all;
        for (const QByteArray& chunk : reads) all += chunk;
        return all;
    }
    bool awaitLines(qsizetype lines, int timeoutMs = kWaitMs) {
        return bench.runUntil([&] { return received().count('\n') >= lines; }, timeoutMs);
    }
    // Ample time for a box that would answer.
    void settle() { bench.runUntil([] { return false; }, 300); }

    B bench;
    std::vector<QByteArray> reads;
    int errors = 0;
};

class BenchNames {
public:
    template <class B>
    static std::string GetName(int) {
        return std::is_same_v<B, FakeBench> ? "Fake" : "Pty";
    }
};

using Benches = testing::Types<FakeBench, PtyBench>;
TYPED_TEST_SUITE(SerialContract, Benches, BenchNames);

TYPED_TEST(SerialContract, OpensByNameAnswersEachCommandAndSwitchesRateAndVanishes) {
    const QString name = this->bench.start({"--firmware", "2.119"});
    this->port().setPortName(kNoSuchPort);
    EXPECT_FALSE(this->port().open());
    EXPECT_FALSE(this->port().isOpen());
    this->openOn(name);
    EXPECT_TRUE(this->port().isOpen());
    this->send("V");
    ASSERT_TRUE(this->awaitLines(1));
    this->send("A10");
    this->send("");
    ASSERT_TRUE(this->awaitLines(3));
    EXPECT_EQ(this->received(), "700:0:0:100:100:0:L:0:2.119\n" "700:20:0:100:100:0:L:0:2.119\n"
              "700:20:0:100:100:0:L:0:2.119\n");
    // Nothing written to a closed port reaches the box.
    this->port().close();
    EXPECT_FALSE(this->port().isOpen());
    this->port().write("A30\r");
    EXPECT_TRUE(this->port().readAll().isEmpty());
    ASSERT_TRUE(this->port().open());
    this->reads.clear();
    // After the rate switch a port left at 9600 is not answered...
    this->send("Z");
    this->send("V");
    this->settle();
    EXPECT_TRUE(this->received().isEmpty()) << "a port left at 9600 was answered";
    // ... and one switched as the program does it (close, new rate, reset, open) is.
    this->port().close();
    this->port().setBaudRate(57600);
    this->port().reset();
    ASSERT_TRUE(this->port().open());
    EXPECT_EQ(this->port().baudRate(), 57600);
    this->send("V");
    ASSERT_TRUE(this->awaitLines(1));
    EXPECT_EQ(this->received(), "700:20:0:100:100:0:L:0:2.119\n");
    // The box goes away: one error, the port closed, writes dropped, no reopening.
    this->bench.unplug();
    ASSERT_TRUE(this->bench.runUntil([&] { return this->errors > 0; }, kWaitMs));
    EXPECT_EQ(this->errors, 1);
    EXPECT_FALSE(this->port().isOpen());
    this->send("V");
    this->port().reset();
    EXPECT_TRUE(this->port().readAll().isEmpty());
    EXPECT_FALSE(this->port().open());
    EXPECT_EQ(this->errors, 1);
}

TYPED_TEST(SerialContract, TornReplyComesInPiecesThatJoin) {
    this->plugIn({"--split", "--gap", "150"});
    this->send("V");
    ASSERT_TRUE(this->awaitLines(1));
    ASSERT_GE(this->reads.size(), 2u);
    EXPECT_FALSE(this->reads.front().contains('\n'));
    EXPECT_EQ(this->received(), "700:0:0:100:100:0:L:0:2.106\n");
}

TYPED_TEST(SerialContract, TwoRepliesCanComeInOneRead) {
    this->plugIn({"--double"});
    this->send("A10");
    this->send("A20");
    ASSERT_TRUE(this->awaitLines(2));
    ASSERT_EQ(this->reads.size(), 1u);
    EXPECT_EQ(this->reads.front(), "700:20:0:100:100:0:L:0:2.106\n700:40:0:100:100:0:L:0:2.106\n");
}

}  // namespace
}  // namespace velto
