#include "sim_link.h"

#include <algorithm>

#include "platform/clock.h"

namespace velto {

SimLink::SimLink(FakeSerialPort& port, Clock& clock) : port_(port), clock_(clock) {
    port_.device = [this](const QByteArray& bytes, int baud) { written(bytes, baud); };
}

SimLink::~SimLink() {
    *alive_ = false;
    port_.device = nullptr;
}

void SimLink::written(const QByteArray& bytes, int baud) {
    const std::vector<QByteArray> chunks = box.receiveAt(baud, bytes);
    const qint64 now = clock_.nowMs();
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        // A line is a queue: nothing overtakes the end of an earlier reply.
        lastDueMs_ = std::max(now + latencyMs + qint64(i) * gapMs, lastDueMs_);
        std::weak_ptr<bool> alive = alive_;
        FakeSerialPort* port = &port_;
        clock_.post(lastDueMs_ - now, [alive, port, chunk = chunks[i]] {
            if (auto live = alive.lock(); live && *live) port->deliver(chunk);
        });
    }
}

}  // namespace velto
