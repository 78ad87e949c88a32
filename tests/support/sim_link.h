#pragma once
// Puts a simulated 2B behind a FakeSerialPort. What the program writes reaches the box with the
// port's baud rate; bytes at a rate other than the box's are noise to it and get no answer. Each
// reply chunk arrives as its own data event, `latencyMs` after the write, the pieces of a torn
// reply `gapMs` apart, all on the Clock, so replies come in virtual time in unit tests.

#include <memory>

#include "platform/fake/fake_serial_port.h"
#include "sim2b.h"

namespace velto {

class Clock;

class SimLink {
public:
    static constexpr qint64 kDefaultLatencyMs = 10;
    static constexpr qint64 kDefaultGapMs = 2;

    /// Takes over `port.device`; the link must go before the port does.
    SimLink(FakeSerialPort& port, Clock& clock);
    /// Replies still in flight are not delivered.
    ~SimLink();
    SimLink(const SimLink&) = delete;
    SimLink& operator=(const SimLink&) = delete;

    /// The box; set its state and arm its faults freely.
    sim::Sim2B box;

    qint64 latencyMs = kDefaultLatencyMs;
    qint64 gapMs = kDefaultGapMs;

private:
    void written(const QByteArray& bytes, int baud);

    FakeSerialPort& port_;
    Clock& clock_;
    qint64 lastDueMs_ = 0;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace velto
